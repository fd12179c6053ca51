#include "loop_tasks.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "zv_host.h"

static const int64_t second = 1000000;

struct zv_thread* make_task(struct zv_thread_master* master, zv_thread_fn callback, void* argument,
                            int value, const char* name) {
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

void append_task(struct task_list* list, struct zv_thread* task) {
  TAILQ_INSERT_TAIL(list, task, neighbours);
  task->list = list;
}

long bounded_seconds(long seconds) {
  if (seconds < 0) return 0;
  return seconds < LONGEST_SECONDS ? seconds : LONGEST_SECONDS;
}

void insert_task_due_in(struct task_list* list, struct zv_thread* task, long seconds) {
  task->due = task_clock() + bounded_seconds(seconds) * second;
  task->list = list;
  struct zv_thread* earlier = TAILQ_LAST(list, task_list);
  while (earlier != NULL && earlier->due > task->due)
    earlier = TAILQ_PREV(earlier, task_list, neighbours);
  if (earlier != NULL) {
    TAILQ_INSERT_AFTER(list, earlier, task, neighbours);
  } else {
    TAILQ_INSERT_HEAD(list, task, neighbours);
  }
}

void run_task(struct zv_thread* task) {
  (void)task->callback(task);
  free(task);
}

void take_task_out(struct zv_thread* task) {
  TAILQ_REMOVE(task->list, task, neighbours);
  task->list = NULL;
}

void cancel_tasks(struct task_list* list) {
  struct zv_thread* task;
  while ((task = TAILQ_FIRST(list)) != NULL)
    zv_thread_cancel(task);
}

int64_t task_clock(void) {
  struct timespec now;
  (void)clock_gettime(CLOCK_MONOTONIC, &now);
  return (int64_t)now.tv_sec * second + now.tv_nsec / 1000;
}

size_t count_tasks(const struct task_list* list, const char* name) {
  size_t count = 0;
  const struct zv_thread* task;
  TAILQ_FOREACH(task, list, neighbours) {
    if (name == NULL || strcmp(task->name, name) == 0) ++count;
  }
  return count;
}

void* zv_host_argument(const struct zv_thread* task) {
  return task->argument;
}

int zv_host_value(const struct zv_thread* task) {
  return task->value;
}
