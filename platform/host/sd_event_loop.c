/* An event loop on sd-event. */
#include <stdlib.h>
#include <sys/epoll.h>
#include <systemd/sd-event.h>
#include <time.h>

#include "loop_tasks.h"
#include "zv_host.h"

enum { TIMER_ACCURACY_US = 1 };

struct zv_thread_master {
  struct task_list reads;
  struct task_list timed; /* events and timers, in order of time */
  sd_event* loop;
  sd_event_source*
      timer; /* for the first of `timed`: sd-event does not keep the order of its own */
  int is_stopped;
};

static struct zv_thread* read_of(const struct zv_thread_master* master, int fd) {
  struct zv_thread* task = TAILQ_FIRST(&master->reads);
  while (task != NULL && task->value != fd)
    task = TAILQ_NEXT(task, neighbours);
  return task;
}

static void unschedule_read(struct zv_thread* task) {
  take_task_out(task);
  sd_event_source_unref(task->source);
}

static int on_readable(sd_event_source* source, int fd, uint32_t events, void* master) {
  (void)source;
  (void)events;
  struct zv_thread* task = read_of(master, fd);
  unschedule_read(task);
  run_task(task);
  return 0;
}

static int on_time(sd_event_source* source, uint64_t due, void* argument) {
  (void)source;
  (void)due;
  const struct zv_thread_master* master = argument;
  struct zv_thread* task = TAILQ_FIRST(&master->timed);
  take_task_out(task);
  run_task(task);
  return 0;
}

static struct zv_thread* schedule_in(long seconds, struct zv_thread* task) {
  if (task != NULL) insert_task_due_in(&task->master->timed, task, seconds);
  return task;
}

struct zv_thread* zv_thread_add_event_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, int value,
                                               const char* name) {
  return schedule_in(0, make_task(master, callback, argument, value, name));
}

struct zv_thread* zv_thread_add_timer_withname(struct zv_thread_master* master,
                                               zv_thread_fn callback, void* argument, long seconds,
                                               const char* name) {
  return schedule_in(seconds, make_task(master, callback, argument, 0, name));
}

static sd_event_source* watch(struct zv_thread_master* master, int fd) {
  sd_event_source* source = NULL;
  if (sd_event_add_io(master->loop, &source, fd, EPOLLIN, on_readable, master) < 0) return NULL;
  if (sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT) >= 0) return source;
  return sd_event_source_unref(source);
}

/* A descriptor has one source, which its reads share. */
static sd_event_source* source_of(struct zv_thread_master* master, int fd) {
  const struct zv_thread* other = read_of(master, fd);
  return other != NULL ? sd_event_source_ref(other->source) : watch(master, fd);
}

struct zv_thread* zv_thread_add_read_high_withname(struct zv_thread_master* master,
                                                   zv_thread_fn callback, void* argument, int fd,
                                                   const char* name) {
  if (fd < 0) return NULL;
  struct zv_thread* task = make_task(master, callback, argument, fd, name);
  if (task == NULL) return NULL;
  task->source = source_of(master, fd);
  if (task->source == NULL) {
    free(task);
    return NULL;
  }
  append_task(&master->reads, task);
  return task;
}

void zv_thread_cancel(struct zv_thread* task) {
  if (task == NULL || task->list == NULL) return;
  if (task->source != NULL) {
    unschedule_read(task);
  } else {
    take_task_out(task);
  }
  free(task);
}

static int set_timer(const struct zv_thread_master* master) {
  const struct zv_thread* first = TAILQ_FIRST(&master->timed);
  if (first == NULL) return sd_event_source_set_enabled(master->timer, SD_EVENT_OFF);
  const int set = sd_event_source_set_time(master->timer, (uint64_t)first->due);
  return set < 0 ? set : sd_event_source_set_enabled(master->timer, SD_EVENT_ONESHOT);
}

static int has_tasks(const struct zv_thread_master* master) {
  return !TAILQ_EMPTY(&master->reads) || !TAILQ_EMPTY(&master->timed);
}

int zv_host_run(struct zv_thread_master* master) {
  master->is_stopped = 0;
  while (!master->is_stopped && has_tasks(master)) {
    if (set_timer(master) < 0 || sd_event_run(master->loop, UINT64_MAX) < 0) return -1;
  }
  return 0;
}

/* Not sd_event_exit(), after which the loop could not run again. */
void zv_host_stop(struct zv_thread_master* master) {
  master->is_stopped = 1;
}

static int start_event_library(struct zv_thread_master* master) {
  return sd_event_new(&master->loop) >= 0 &&
         sd_event_add_time(master->loop, &master->timer, CLOCK_MONOTONIC, 0, TIMER_ACCURACY_US,
                           on_time, master) >= 0;
}

struct zv_thread_master* zv_host_create(void) {
  struct zv_thread_master* master = calloc(1, sizeof *master);
  if (master == NULL) return NULL;
  TAILQ_INIT(&master->reads);
  TAILQ_INIT(&master->timed);
  if (start_event_library(master)) return master;
  zv_host_destroy(master);
  return NULL;
}

void zv_host_destroy(struct zv_thread_master* master) {
  if (master == NULL) return;
  cancel_tasks(&master->reads);
  cancel_tasks(&master->timed);
  sd_event_source_unref(master->timer);
  sd_event_unref(master->loop);
  free(master);
}

size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name) {
  return count_tasks(&master->reads, name) + count_tasks(&master->timed, name);
}
