/*
 * The watchdog of a development host, an implementation of ham_client.h. It does not monitor
 * threads; it records which ones have registered and reported, for tests and for inspection.
 *
 * Any thread may call any function. After fork() the child's table is empty.
 */
#ifndef PLATFORM_HAM_HOST_H
#define PLATFORM_HAM_HOST_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Maximum number of registered threads; a further one is refused with ENOSPC. */
enum { HAM_HOST_CAPACITY = 128 };

/* Times are nanoseconds of CLOCK_MONOTONIC. */
typedef struct ham_host_entry {
  int32_t pid;
  int32_t tid;
  uint32_t interval; /* as last registered or reported */
  uint32_t tolerance;
  uint32_t reports; /* since registration */
  int64_t registered_at_ns;
  int64_t reported_at_ns; /* of the registration, until the first report */
} ham_host_entry;

/*
 * Copies at most `capacity` entries, in order of registration. Returns the number of registered
 * threads, which can be greater. `entries` may be null when `capacity` is 0.
 */
size_t ham_host_entries(ham_host_entry* entries, size_t capacity);

/* Copies the entry of one thread and returns 1; 0, and no copy, when it is not registered. */
int ham_host_find(int32_t tid, ham_host_entry* entry);

/* Makes registrations fail with this errno; 0: succeed again. */
void ham_host_fail_registration(int error);

/* Empties the table and makes registrations succeed again. */
void ham_host_clear(void);

#ifdef __cplusplus
}
#endif

#endif
