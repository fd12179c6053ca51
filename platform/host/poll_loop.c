/* An event loop on poll(2) alone. */
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdlib.h>

#include "loop_tasks.h"
#include "zv_host.h"

struct zv_thread_master {
  struct task_list reads;
  struct task_list timed; /* events and timers, in order of time */
  struct pollfd* watched; /* in the order of `reads`, with room for each */
  size_t room;
  int is_stopped;
};

static int make_room(struct zv_thread_master* master, size_t reads) {
  if (reads <= master->room) return 1;
  const size_t room = 2 * reads;
  struct pollfd* watched = reallocarray(master->watched, room, sizeof *watched);
  if (watched == NULL) return 0;
  master->watched = watched;
  master->room = room;
  return 1;
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

struct zv_thread* zv_thread_add_read_high_withname(struct zv_thread_master* master,
                                                   zv_thread_fn callback, void* argument, int fd,
                                                   const char* name) {
  if (master == NULL || fcntl(fd, F_GETFD) < 0) return NULL;
  if (!make_room(master, count_tasks(&master->reads, NULL) + 1)) return NULL;
  struct zv_thread* task = make_task(master, callback, argument, fd, name);
  if (task != NULL) append_task(&master->reads, task);
  return task;
}

void zv_thread_cancel(struct zv_thread* task) {
  if (task == NULL || task->list == NULL) return;
  take_task_out(task);
  free(task);
}

/* Returns how long poll() may wait: -1 for ever. */
static int milliseconds_left(const struct zv_thread_master* master) {
  const struct zv_thread* first = TAILQ_FIRST(&master->timed);
  if (first == NULL) return -1;
  const int64_t left = first->due - task_clock();
  if (left <= 0) return 0;
  const int64_t rounded_up = (left + 999) / 1000;
  return rounded_up < INT_MAX ? (int)rounded_up : INT_MAX;
}

static int wait_for_reads(struct zv_thread_master* master) {
  nfds_t count = 0;
  const struct zv_thread* task;
  TAILQ_FOREACH(task, &master->reads, neighbours) {
    master->watched[count].fd = task->value;
    master->watched[count].events = POLLIN;
    ++count;
  }
  return poll(master->watched, count, milliseconds_left(master));
}

/* The one that has waited longest, so that none is passed over for ever. */
static struct zv_thread* ready_read(const struct zv_thread_master* master) {
  const struct pollfd* watched = master->watched;
  struct zv_thread* task = TAILQ_FIRST(&master->reads);
  for (; task != NULL; task = TAILQ_NEXT(task, neighbours), ++watched) {
    if ((watched->revents & POLLNVAL) != 0) {
      task->value = -1; /* closed; poll() does not look at it again */
    } else if (watched->revents != 0) {
      break;
    }
  }
  return task;
}

static struct zv_thread* due_task(const struct zv_thread_master* master) {
  struct zv_thread* first = TAILQ_FIRST(&master->timed);
  return first != NULL && first->due <= task_clock() ? first : NULL;
}

static int has_tasks(const struct zv_thread_master* master) {
  return !TAILQ_EMPTY(&master->reads) || !TAILQ_EMPTY(&master->timed);
}

int zv_host_run(struct zv_thread_master* master) {
  master->is_stopped = 0;
  while (!master->is_stopped && has_tasks(master)) {
    const int ready = wait_for_reads(master);
    if (ready < 0 && errno != EINTR) return -1;
    /* Only one: a task may cancel or close what was ready beside it. */
    struct zv_thread* task = ready > 0 ? ready_read(master) : due_task(master);
    if (task == NULL) continue;
    take_task_out(task);
    run_task(task);
  }
  return 0;
}

void zv_host_stop(struct zv_thread_master* master) {
  master->is_stopped = 1;
}

struct zv_thread_master* zv_host_create(void) {
  struct zv_thread_master* master = calloc(1, sizeof *master);
  if (master == NULL) return NULL;
  TAILQ_INIT(&master->reads);
  TAILQ_INIT(&master->timed);
  return master;
}

void zv_host_destroy(struct zv_thread_master* master) {
  if (master == NULL) return;
  cancel_tasks(&master->reads);
  cancel_tasks(&master->timed);
  free(master->watched);
  free(master);
}

size_t zv_host_scheduled(const struct zv_thread_master* master, const char* name) {
  return count_tasks(&master->reads, name) + count_tasks(&master->timed, name);
}
