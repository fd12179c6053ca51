/* An event loop on libevent. */
#include <event2/event.h>
#include <stdlib.h>
#include <sys/time.h>

#include "loop_tasks.h"
#include "zv_host.h"

enum { HIGH_PRIORITY = 0, NORMAL_PRIORITY = 1, PRIORITIES = 2 };

struct zv_thread_master {
  struct event_base* base;
  struct task_list scheduled;
};

static void unschedule(struct zv_thread* task) {
  take_task_out(task);
  event_free(task->source);
}

static void on_ready(evutil_socket_t fd, short what, void* task) {
  (void)fd;
  (void)what;
  unschedule(task);
  run_task(task);
}

static int start_waiting(struct zv_thread* task, int fd, short what, int priority,
                         const struct timeval* delay) {
  struct event* event = event_new(task->master->base, fd, what, on_ready, task);
  if (event == NULL) return 0;
  task->source = event;
  if (event_priority_set(event, priority) == 0 && event_add(event, delay) == 0) return 1;
  event_free(event);
  return 0;
}

/* Returns the scheduled task; on failure frees it and returns null. */
static struct zv_thread* schedule(struct zv_thread* task, int fd, short what, int priority,
                                  const struct timeval* delay) {
  if (task == NULL) return NULL;
  if (!start_waiting(task, fd, what, priority, delay)) {
    free(task);
    return NULL;
  }
  append_task(&task->master->scheduled, task);
  return task;
}

struct zv_thread* zv_thread_add_event_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, int value,
                                               const char* name) {
  /* A timer, so that an event that schedules itself again does not starve other tasks. */
  const struct timeval now = {0, 0};
  return schedule(make_task(master, callback, argument, value, name), -1, 0, NORMAL_PRIORITY, &now);
}

struct zv_thread* zv_thread_add_timer_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, long seconds,
                                               const char* name) {
  const struct timeval delay = {bounded_seconds(seconds), 0};
  return schedule(make_task(master, callback, argument, 0, name), -1, 0, NORMAL_PRIORITY, &delay);
}

struct zv_thread* zv_thread_add_read_high_withname(struct zv_thread_master* master,
                                                   zv_thread_fn callback, void* argument, int fd,
                                                   const char* name) {
  if (fd < 0) return NULL;
  return schedule(make_task(master, callback, argument, fd, name), fd, EV_READ, HIGH_PRIORITY,
                  NULL);
}

void zv_thread_cancel(struct zv_thread* task) {
  if (task == NULL || task->list == NULL) return;
  unschedule(task);
  free(task);
}

struct zv_thread_master* zv_host_create(void) {
  struct zv_thread_master* master = calloc(1, sizeof *master);
  if (master == NULL) return NULL;
  TAILQ_INIT(&master->scheduled);
  master->base = event_base_new();
  if (master->base != NULL && event_base_priority_init(master->base, PRIORITIES) == 0) {
    return master;
  }
  zv_host_destroy(master);
  return NULL;
}

void zv_host_destroy(struct zv_thread_master* master) {
  if (master == NULL) return;
  cancel_tasks(&master->scheduled);
  if (master->base != NULL) event_base_free(master->base);
  free(master);
}

int zv_host_run(struct zv_thread_master* master) {
  return event_base_dispatch(master->base) < 0 ? -1 : 0;
}

void zv_host_stop(struct zv_thread_master* master) {
  (void)event_base_loopbreak(master->base);
}

size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name) {
  return count_tasks(&master->scheduled, name);
}
