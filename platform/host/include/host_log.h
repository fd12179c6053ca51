/* Where a development host's log lines go: printk_syslog_ext() of printk_syslog_ext.h. */
#ifndef PLATFORM_HOST_LOG_H
#define PLATFORM_HOST_LOG_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum host_log_destination {
  HOST_LOG_STDERR, /* "AAA/CLIENT: message" and a newline, with one write */
  HOST_LOG_SYSLOG, /* syslog(3), at the priority of the line */
  HOST_LOG_NONE
} host_log_destination;

/*
 * The first line that is logged reads the environment variable AAA_HOST_LOG: "stderr", "syslog" or
 * "none"; standard error without it or with another value. Whatever line end a message brings is
 * replaced by the destination's own, and line ends inside it by spaces: one message, one line.
 * A message is cut at 2,000 bytes. Logging keeps errno and is never cut short by cancellation.
 *
 * This call overrides the environment. Any thread may call it.
 */
void host_log_to(host_log_destination destination);

/* Reads AAA_HOST_LOG again. No thread may change the environment meanwhile. */
void host_log_from_environment(void);

#ifdef __cplusplus
}
#endif

#endif
