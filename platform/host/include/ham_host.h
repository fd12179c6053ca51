/*
 * The watchdog table of a development host, which stands behind ham_client.h. It watches nobody: it
 * remembers who registered and who reported, for tests and people to ask.
 *
 * Any thread may call any function. A child process starts with an empty table.
 */
#ifndef PLATFORM_HAM_HOST_H
#define PLATFORM_HAM_HOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Threads that can be registered at once; one more is refused with ENOSPC. */
enum { HAM_HOST_CAPACITY = 128 };

/* Monotonic times are nanoseconds of CLOCK_MONOTONIC. */
typedef struct ham_host_entry {
  int32_t pid;
  int32_t tid;
  uint32_t interval; /* as last registered or reported */
  uint32_t tolerance;
  uint32_t reports;         /* since registration */
  int64_t registered_at_ns; /* monotonic */
  int64_t reported_at_ns;   /* monotonic; the registration counts as the first report */
} ham_host_entry;

/*
 * Copies at most `capacity` entries, in order of registration, and returns how many threads are
 * registered, which may be more. `entries` may be null when `capacity` is 0.
 */
size_t ham_host_entries(ham_host_entry* entries, size_t capacity);

/* Copies the entry of one thread. Returns 1, or 0 and changes nothing when it is not registered. */
int ham_host_find(int32_t tid, ham_host_entry* entry);

/* Lets every later registration fail with this errno; 0 lets them succeed again. */
void ham_host_fail_registration(int error);

/* Forgets every thread and lets registrations succeed. */
void ham_host_clear(void);

#ifdef __cplusplus
}
#endif

#endif
