/*
 * An event loop of a development host, an implementation of zv_thread.h. There are three, each a
 * library of its own, so a client without a loop loads none: platform_host_events (libevent),
 * platform_host_events_sd (sd-event) and platform_host_events_poll (poll(2) alone).
 *
 * Call all functions of this header and of zv_thread.h on the loop's thread, from inside a task
 * too, or while the loop does not run.
 *
 * A task runs once. Its handle is valid until the task has returned; zv_thread_cancel() has no
 * effect on a running task. A ready read runs before events and timers. A watched descriptor may be
 * closed before its read is cancelled, unless its number is used again meanwhile.
 */
#ifndef PLATFORM_ZV_HOST_H
#define PLATFORM_ZV_HOST_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct zv_thread_master;
struct zv_thread;

/* Returns a loop without tasks; null when memory or descriptors are exhausted. */
struct zv_thread_master* zv_host_create(void);

/* Frees the loop and the tasks that have not run. Not from inside a task. Null is ignored. */
void zv_host_destroy(struct zv_thread_master* master);

/*
 * Runs tasks until one calls zv_host_stop() or none is left. Returns 0; -1 when waiting fails. Can
 * be called again. Not from inside a task.
 */
int zv_host_run(struct zv_thread_master* master);

/* Call from inside a task: the loop ends when this task returns; other tasks stay scheduled. */
void zv_host_stop(struct zv_thread_master* master);

/* The argument and value that a task was scheduled with. The value of a read is its descriptor. */
void* zv_host_argument(const struct zv_thread* task);
int zv_host_value(const struct zv_thread* task);

/* Number of scheduled tasks with this name that have not started; null: with any name. */
size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name);

#ifdef __cplusplus
}
#endif

#endif
