/*
 * The event loop of a development host, which stands behind zv_thread.h. It rests on libevent and
 * is a library of its own, platform_host_events: a client without a loop loads neither.
 *
 * A loop belongs to one thread: its tasks run there, and every function here and in zv_thread.h is
 * called there, also from inside a task, or while the loop does not run.
 *
 * A task runs once and its handle lives until it has returned. zv_thread_cancel() takes the handle
 * of a task that is still to run, and lets a task that is running finish. A read of high priority
 * runs ahead of events and timers: while one is ready, they wait. A watched descriptor may be
 * closed before its read is cancelled, as long as its number is not watched again meanwhile.
 */
#ifndef PLATFORM_ZV_HOST_H
#define PLATFORM_ZV_HOST_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct zv_thread_master;
struct zv_thread;

/* A loop without tasks, or null when there is no memory or no descriptor for it. */
struct zv_thread_master* zv_host_create(void);

/* Releases the loop, with the tasks that have not run; not from inside a task. Null is ignored. */
void zv_host_destroy(struct zv_thread_master* master);

/*
 * Runs tasks until one of them calls zv_host_stop(), or none is left. Returns 0, or -1 when the
 * system refuses to wait. May be called again; not from inside a task.
 */
int zv_host_run(struct zv_thread_master* master);

/* From inside a task: the loop ends when this task returns, and the others stay scheduled. */
void zv_host_stop(struct zv_thread_master* master);

/* What a task was added with, for the task itself. The value of a read is its descriptor. */
void* zv_host_argument(const struct zv_thread* task);
int zv_host_value(const struct zv_thread* task);

/* The tasks of a name that have not begun to run; of any name when it is null. */
size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name);

#ifdef __cplusplus
}
#endif

#endif
