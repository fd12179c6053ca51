/* The platform's logging library. */
#ifndef PLATFORM_PRINTK_SYSLOG_EXT_H
#define PLATFORM_PRINTK_SYSLOG_EXT_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Writes one line. `priority` is a syslog(3) level; `module` and `submodule` name the source;
 * `kind` belongs to the platform. Lines bring their own line end. May be called on any thread.
 */
void printk_syslog_ext(int priority, const char* module, const char* submodule, int kind,
                       const char* format, ...) __attribute__((format(printf, 5, 6)));

#ifdef __cplusplus
}
#endif

#endif
