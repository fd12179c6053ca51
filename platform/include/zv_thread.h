/* The platform's event-thread library, libzv-thread: a single-threaded loop of one-shot tasks. */
#ifndef PLATFORM_ZV_THREAD_H
#define PLATFORM_ZV_THREAD_H

#ifdef __cplusplus
extern "C" {
#endif

struct zv_thread_master;
struct zv_thread;

/* Runs on the loop's thread; the result is ignored. */
typedef int (*zv_thread_fn)(struct zv_thread* task);

/* Each runs `callback` once and returns a handle, or null on failure. */
struct zv_thread* zv_thread_add_event_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, int value,
                                               const char* name); /* soon */
struct zv_thread* zv_thread_add_timer_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, long seconds,
                                               const char* name); /* after so many seconds */
struct zv_thread* zv_thread_add_read_high_withname(
    struct zv_thread_master* master, zv_thread_fn callback, void* argument, int fd,
    const char* name); /* with high priority, when the descriptor is readable */

/* Removes a task that has not run yet. */
void zv_thread_cancel(struct zv_thread* task);

#ifdef __cplusplus
}
#endif

#endif
