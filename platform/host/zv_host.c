#include "zv_host.h"

#include <event2/event.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/queue.h>
#include <sys/time.h>

#include "zv_thread.h"

enum { HIGH_PRIORITY = 0, NORMAL_PRIORITY = 1, PRIORITIES = 2, NAME_SIZE = 32 };

TAILQ_HEAD(task_list, zv_thread);

struct zv_thread_master {
  struct event_base* base;
  struct task_list scheduled;
};

struct zv_thread {
  TAILQ_ENTRY(zv_thread) neighbours; /* in the master's list until the task runs */
  struct zv_thread_master* master;
  struct event* event; /* null once the task runs */
  zv_thread_fn callback;
  void* argument;
  int value;
  char name[NAME_SIZE];
};

static void unschedule(struct zv_thread* task) {
  TAILQ_REMOVE(&task->master->scheduled, task, neighbours);
  event_free(task->event);
  task->event = NULL;
}

static void discard(struct zv_thread* task) {
  unschedule(task);
  free(task);
}

static void run_task(evutil_socket_t fd, short what, void* argument) {
  (void)fd;
  (void)what;
  struct zv_thread* task = argument;
  unschedule(task);
  (void)task->callback(task);
  free(task);
}

static struct zv_thread* make_task(struct zv_thread_master* master, zv_thread_fn callback,
                                   void* argument, int value, const char* name) {
  if (master == NULL || callback == NULL) return NULL;
  struct zv_thread* task = calloc(1, sizeof *task);
  if (task == NULL) return NULL;
  task->master = master;
  task->callback = callback;
  task->argument = argument;
  task->value = value;
  (void)snprintf(task->name, sizeof task->name, "%s", name != NULL ? name : "");
  return task;
}

static int start_waiting(struct zv_thread* task, int fd, short what, int priority,
                         const struct timeval* delay) {
  task->event = event_new(task->master->base, fd, what, run_task, task);
  if (task->event == NULL) return 0;
  if (event_priority_set(task->event, priority) == 0 && event_add(task->event, delay) == 0) {
    return 1;
  }
  event_free(task->event);
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
  TAILQ_INSERT_TAIL(&task->master->scheduled, task, neighbours);
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
  const struct timeval delay = {seconds > 0 ? seconds : 0, 0};
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
  if (task == NULL || task->event == NULL) return;
  discard(task);
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
  struct zv_thread* task;
  while ((task = TAILQ_FIRST(&master->scheduled)) != NULL)
    discard(task);
  if (master->base != NULL) event_base_free(master->base);
  free(master);
}

int zv_host_run(struct zv_thread_master* master) {
  return event_base_dispatch(master->base) < 0 ? -1 : 0;
}

void zv_host_stop(struct zv_thread_master* master) {
  (void)event_base_loopbreak(master->base);
}

void* zv_host_argument(const struct zv_thread* task) {
  return task->argument;
}

int zv_host_value(const struct zv_thread* task) {
  return task->value;
}

size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name) {
  size_t count = 0;
  const struct zv_thread* task;
  TAILQ_FOREACH(task, &master->scheduled, neighbours) {
    if (name == NULL || strcmp(task->name, name) == 0) ++count;
  }
  return count;
}
