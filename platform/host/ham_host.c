#include "ham_host.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <time.h>

#include "ham_client.h"

/* `lock` guards the other members. The first `used` entries are the registered threads. */
static struct {
  pthread_mutex_t lock;
  ham_host_entry entries[HAM_HOST_CAPACITY];
  size_t used;
  int registration_error;
} table = {.lock = PTHREAD_MUTEX_INITIALIZER};

static void lock_table(void) {
  pthread_mutex_lock(&table.lock);
}

static void unlock_table(void) {
  pthread_mutex_unlock(&table.lock);
}

static void clear_locked(void) {
  table.used = 0;
  table.registration_error = 0;
}

/* The threads in the table do not exist in the child. */
static void start_child(void) {
  clear_locked();
  unlock_table();
}

__attribute__((constructor)) static void keep_table_whole_across_fork(void) {
  (void)pthread_atfork(lock_table, unlock_table, start_child);
}

static int64_t monotonic_ns(void) {
  struct timespec now = {0};
  (void)clock_gettime(CLOCK_MONOTONIC, &now);
  return (int64_t)now.tv_sec * 1000000000 + now.tv_nsec;
}

static ham_host_entry* find_locked(int32_t tid) {
  for (size_t i = 0; i < table.used; ++i) {
    if (table.entries[i].tid == tid) return &table.entries[i];
  }
  return NULL;
}

static int register_locked(int32_t pid, int32_t tid, uint32_t interval, uint32_t tolerance) {
  if (table.registration_error != 0) return table.registration_error;
  ham_host_entry* entry = find_locked(tid);
  if (entry == NULL) {
    if (table.used == HAM_HOST_CAPACITY) return ENOSPC;
    entry = &table.entries[table.used++];
  }
  const int64_t now = monotonic_ns();
  *entry = (ham_host_entry){.pid = pid,
                            .tid = tid,
                            .interval = interval,
                            .tolerance = tolerance,
                            .registered_at_ns = now,
                            .reported_at_ns = now};
  return 0;
}

static int report_locked(int32_t pid, int32_t tid, uint32_t interval, uint32_t tolerance) {
  ham_host_entry* entry = find_locked(tid);
  if (entry == NULL || entry->pid != pid) return ENOENT;
  entry->interval = interval;
  entry->tolerance = tolerance;
  entry->reported_at_ns = monotonic_ns();
  ++entry->reports;
  return 0;
}

static int unregister_locked(int32_t tid) {
  ham_host_entry* entry = find_locked(tid);
  if (entry == NULL) return ENOENT;
  --table.used;
  const size_t behind = (size_t)(&table.entries[table.used] - entry);
  memmove(entry, entry + 1, behind * sizeof *entry);
  return 0;
}

static int32_t result_of(int error) {
  if (error == 0) return 0;
  errno = error;
  return -1;
}

int32_t ham_client_reg_thread_notify(int32_t pid, int32_t tid, uint32_t interval,
                                     uint32_t tolerance) {
  lock_table();
  const int error = register_locked(pid, tid, interval, tolerance);
  unlock_table();
  return result_of(error);
}

int32_t ham_client_reset_thread_notify(int32_t pid, int32_t tid, uint32_t interval,
                                       uint32_t tolerance) {
  lock_table();
  const int error = report_locked(pid, tid, interval, tolerance);
  unlock_table();
  return result_of(error);
}

int32_t ham_client_unreg_thread_notify(int32_t tid) {
  lock_table();
  const int error = unregister_locked(tid);
  unlock_table();
  return result_of(error);
}

size_t ham_host_entries(ham_host_entry* entries, size_t capacity) {
  lock_table();
  const size_t used = table.used;
  const size_t copied = used < capacity ? used : capacity;
  if (copied > 0) memcpy(entries, table.entries, copied * sizeof *entries);
  unlock_table();
  return used;
}

int ham_host_find(int32_t tid, ham_host_entry* entry) {
  lock_table();
  const ham_host_entry* found = find_locked(tid);
  if (found != NULL) *entry = *found;
  unlock_table();
  return found != NULL;
}

void ham_host_fail_registration(int error) {
  lock_table();
  table.registration_error = error;
  unlock_table();
}

void ham_host_clear(void) {
  lock_table();
  clear_locked();
  unlock_table();
}
