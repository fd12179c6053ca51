#include "host_log.h"

#include <errno.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "printk_syslog_ext.h"

enum { MESSAGE_SIZE = 2001, LINE_SIZE = MESSAGE_SIZE + 64 };

static pthread_once_t environment_read = PTHREAD_ONCE_INIT;
static atomic_int chosen = HOST_LOG_STDERR;

static host_log_destination destination_named(const char* name) {
  if (name != NULL && strcmp(name, "syslog") == 0) return HOST_LOG_SYSLOG;
  if (name != NULL && strcmp(name, "none") == 0) return HOST_LOG_NONE;
  return HOST_LOG_STDERR;
}

static void choose_from_environment(void) {
  atomic_store(&chosen, (int)destination_named(getenv("AAA_HOST_LOG")));
}

static host_log_destination current_destination(void) {
  pthread_once(&environment_read, choose_from_environment);
  return (host_log_destination)atomic_load(&chosen);
}

void host_log_to(host_log_destination destination) {
  /* The environment is read first, so that the first line does not override this call. */
  pthread_once(&environment_read, choose_from_environment);
  atomic_store(&chosen, (int)destination);
}

void host_log_from_environment(void) {
  pthread_once(&environment_read, choose_from_environment);
  choose_from_environment();
}

static int is_line_end(char c) {
  return c == '\r' || c == '\n';
}

static void make_one_line(char* text) {
  size_t length = strlen(text);
  while (length > 0 && is_line_end(text[length - 1]))
    --length;
  text[length] = '\0';
  for (char* c = text; *c != '\0'; ++c) {
    if (is_line_end(*c)) *c = ' ';
  }
}

/* One write per line, so that lines of several threads and processes do not interleave. */
static void write_line(const char* module, const char* submodule, const char* message) {
  char line[LINE_SIZE];
  const int length = snprintf(line, sizeof line, "%.24s/%.24s: %s\n", module, submodule, message);
  ssize_t written;
  do {
    written = write(STDERR_FILENO, line, (size_t)length);
  } while (written < 0 && errno == EINTR);
}

static void emit(host_log_destination destination, int priority, const char* module,
                 const char* submodule, const char* message) {
  int cancel_state;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
  if (destination == HOST_LOG_SYSLOG) {
    syslog(LOG_PRI(priority), "%s/%s: %s", module, submodule, message);
  } else {
    write_line(module, submodule, message);
  }
  pthread_setcancelstate(cancel_state, &cancel_state);
}

void printk_syslog_ext(int priority, const char* module, const char* submodule, int kind,
                       const char* format, ...) {
  (void)kind;
  const host_log_destination destination = current_destination();
  if (destination == HOST_LOG_NONE) return;

  const int saved_errno = errno;
  char message[MESSAGE_SIZE];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  if (length >= 0) {
    make_one_line(message);
    emit(destination, priority, module, submodule, message);
  }
  errno = saved_errno;
}
