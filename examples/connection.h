/* Registers with a time limit, and deregisters. */
#ifndef EXAMPLES_CONNECTION_H
#define EXAMPLES_CONNECTION_H

#include <aaa_client.h>
#include <pthread.h>
#include <stdatomic.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "answers.h"
#include "work_directory.h"

static inline long long now_ms(void) {
  struct timespec now;
  (void)clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

enum { STILL_REGISTERING = 1 };

/* Static, because the thread can outlive the wait for it. */
static struct {
  reg_info record;
  atomic_int result; /* of aaa_svr_reg() */
} registration = {.result = STILL_REGISTERING};

static inline void* register_in_thread(void* unused) {
  (void)unused;
  atomic_store(&registration.result, aaa_svr_reg(&registration.record));
  return NULL;
}

/* In a thread, because aaa_svr_reg() blocks for long when aaad accepts but does not answer. */
static inline int start_registering(const char* model_name) {
  pthread_t thread;
  (void)strncpy(registration.record.model_name, model_name, AAA_MODEL_NAME_SIZE - 1);
  return pthread_create(&thread, NULL, register_in_thread, NULL) == 0 &&
         pthread_detach(thread) == 0;
}

typedef enum connection { CONNECTED, WAITING, REFUSED_BY_AAAD, UNREGISTERED } connection;

static inline connection connection_now(void) {
  const int result = atomic_load(&registration.result);
  if (result == STILL_REGISTERING) return WAITING;
  if (result != 0) return UNREGISTERED;
  if (aaa_is_alive()) return CONNECTED;
  return aaad_refuses() ? REFUSED_BY_AAAD : WAITING;
}

static inline connection wait_for_connection(unsigned long seconds) {
  const long long deadline = now_ms() + (long long)seconds * 1000;
  connection now;
  while ((now = connection_now()) == WAITING && now_ms() < deadline)
    (void)usleep(50000);
  return now;
}

static inline void print_missing_connection(const char* program, connection reached,
                                            unsigned long seconds) {
  if (reached == UNREGISTERED) {
    print_registration_failure(program);
  } else if (reached == REFUSED_BY_AAAD) {
    fprintf(stderr, "%s: refused by aaad\n", program);
  } else if (tmpdir_is_at_least(TMPDIR_WITHOUT_AAAD)) {
    print_tmpdir_size(program);
  } else {
    fprintf(stderr, "%s: aaad does not answer within %lu seconds\n", program, seconds);
  }
}

/*
 * Registers under the name of the program. Returns 1 when aaad has answered. Returns 0, after
 * printing the reason, when it has not: the process must then exit.
 */
static inline int connect_to_aaad(const char* program, unsigned long seconds) {
  if (!start_registering(program)) {
    fprintf(stderr, "%s: cannot register: no thread left\n", program);
    return 0;
  }
  const connection reached = wait_for_connection(seconds);
  if (reached == CONNECTED) return 1;
  print_missing_connection(program, reached, seconds);
  return 0;
}

/* Returns 1; 0, with a message, when aaad did not confirm. */
static inline int disconnect_from_aaad(const char* program) {
  if (aaa_svr_dereg() == 0) return 1;
  fprintf(stderr, "%s: aaad did not confirm the deregistration\n", program);
  return 0;
}

#endif
