/* The log of a development host, an implementation of printk_syslog_ext.h. */
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
 * Selects the destination. Any thread may call it. Without a call the first line reads the
 * environment variable AAA_HOST_LOG: "stderr" (the default), "syslog" or "none".
 *
 * One message is one line: its line end is replaced by the destination's, line ends inside it by
 * spaces, and it is truncated to 2,000 bytes. Logging preserves errno and is not a cancellation
 * point.
 */
void host_log_to(host_log_destination destination);

/* Reads AAA_HOST_LOG again. No thread may change the environment during the call. */
void host_log_from_environment(void);

#ifdef __cplusplus
}
#endif

#endif
