/*
 * The tasks of an event loop, which the loops of this folder have in common. Each loop has one or
 * more lists of the tasks that have not run.
 */
#ifndef PLATFORM_LOOP_TASKS_H
#define PLATFORM_LOOP_TASKS_H

#include <stddef.h>
#include <stdint.h>
#include <sys/queue.h>

#include "zv_thread.h"

enum { TASK_NAME_SIZE = 32 };

/* 34 years: the time after it fits into 32 bits too. */
enum { LONGEST_SECONDS = INT32_MAX / 2 };

TAILQ_HEAD(task_list, zv_thread);

struct zv_thread {
  TAILQ_ENTRY(zv_thread) neighbours;
  struct task_list* list; /* null once the task runs */
  struct zv_thread_master* master;
  void* source; /* what the event library waits with for this task */
  int64_t due;  /* of an event or timer, as task_clock() */
  zv_thread_fn callback;
  void* argument;
  int value;
  char name[TASK_NAME_SIZE];
};

/* These names must not meet the client's. */
#pragma GCC visibility push(hidden)

/* Returns a task that is in no list; null without memory, a loop or a callback. */
struct zv_thread* make_task(struct zv_thread_master* master, zv_thread_fn callback, void* argument,
                            int value, const char* name);

void append_task(struct task_list* list, struct zv_thread* task);

/* Sets the time and keeps the list in order; tasks of the same time as they came. */
void insert_task_due_in(struct task_list* list, struct zv_thread* task, long seconds);

/* Calls the task, which is in no list any more, and frees it. */
void run_task(struct zv_thread* task);

void take_task_out(struct zv_thread* task);

/* Cancels all tasks of the list. */
void cancel_tasks(struct task_list* list);

/* From 0 to LONGEST_SECONDS. */
long bounded_seconds(long seconds);

/* Microseconds of CLOCK_MONOTONIC. */
int64_t task_clock(void);

/* Tasks with this name; null: with any name. */
size_t count_tasks(const struct task_list* list, const char* name);

#pragma GCC visibility pop

#endif
