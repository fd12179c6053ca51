/* The platform's logging library. */
#ifndef PLATFORM_PRINTK_SYSLOG_EXT_H
#define PLATFORM_PRINTK_SYSLOG_EXT_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Writes one line, whose line end is part of the format. `priority` is a syslog(3) level; `module`
 * and `submodule` name the source; the platform defines `kind`. Any thread may call.
 */
void printk_syslog_ext(int priority, const char* module, const char* submodule, int kind,
                       const char* format, ...) __attribute__((format(printf, 5, 6)));

#ifdef __cplusplus
}
#endif

#endif
