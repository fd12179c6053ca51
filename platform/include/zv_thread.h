/*
 * The platform's event-thread library, libzv-thread: a single-threaded loop of tasks that run once.
 * Call these functions on the loop's thread, or while the loop does not run.
 */
#ifndef PLATFORM_ZV_THREAD_H
#define PLATFORM_ZV_THREAD_H

#ifdef __cplusplus
extern "C" {
#endif

struct zv_thread_master;
struct zv_thread;

/* A task. Runs on the loop's thread; its result is ignored. */
typedef int (*zv_thread_fn)(struct zv_thread* task);

/* Schedule a task. Return its handle, valid until the task has run; null on failure. */
struct zv_thread* zv_thread_add_event_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, int value,
                                               const char* name); /* as soon as possible */
struct zv_thread* zv_thread_add_timer_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, long seconds,
                                               const char* name); /* after `seconds` */
struct zv_thread* zv_thread_add_read_high_withname(
    struct zv_thread_master* master, zv_thread_fn callback, void* argument, int fd,
    const char* name); /* when `fd` is readable; before events and timers */

/* Removes a task that has not run, and releases its handle. */
void zv_thread_cancel(struct zv_thread* task);

#ifdef __cplusplus
}
#endif

#endif
