/*
 * agent [-n ANSWERS] USER PASSWORD
 *
 * A client with an event loop of its own, on which the library's tasks run too. Once a second it
 * asks aaad whether the user may log in, and prints the result in the result callback. It keeps
 * running when aaad restarts, and ends on SIGINT or SIGTERM, or after ANSWERS acceptances. Exit
 * status: 0 ended so, 1 the user was rejected, 2 any other failure.
 */
#include <aaa_client.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#include <zv_host.h>
#include <zv_thread.h>

#include "answers.h"
#include "arguments.h"
#include "end_signals.h"
#include "work_directory.h"

enum { ENDED = 0, REJECTED = 1, FAILED = 2 };

/* Seconds after which a request without a result is abandoned. */
enum { PATIENCE = 10 };

static struct {
  struct zv_thread_master* loop;
  const char* user;
  const char* password;
  unsigned long answers_left; /* 0: no limit */
  uint32_t session_id;        /* of the pending request; 0: none */
  int seconds_waited;
  int refused;
  int exit_status;
} agent;

static void end_with(int exit_status) {
  agent.exit_status = exit_status;
  zv_host_stop(agent.loop);
}

/* ---- Callbacks; they run on the loop. ------------------------------------------------------- */

static int on_event(uint32_t event) {
  if (event == AAA_EVENT_REGISTERED) puts("registered");
  if (event == AAA_EVENT_CONNECTION_LOST) {
    puts("not registered");
    agent.session_id = 0;
  }
  return 0;
}

/* Returns NULL if the result is neither an acceptance nor a rejection. */
static const char* decision_in(const result_info* result) {
  if (result->sub.num_a == RESULT_ACCEPT) return "accepted";
  return result->sub.num_a == RESULT_REJECT ? "rejected" : NULL;
}

static void on_result(result_info* result) {
  if (!is_result_of(result, agent.session_id)) {
    puts("a result that nobody waits for");
    return;
  }
  agent.session_id = 0;
  const char* const decision = decision_in(result);
  if (decision == NULL) {
    printf("%s: result %u\n", agent.user, (unsigned)result->sub.num_a);
    return;
  }
  printf("%s: %s\n", agent.user, decision);
  if (result->sub.num_a == RESULT_REJECT) {
    end_with(REJECTED);
  } else if (agent.answers_left > 0 && --agent.answers_left == 0) {
    end_with(ENDED);
  }
}

/* ---- The client's own tasks. ---------------------------------------------------------------- */

static void request_login(void) {
  authen_info authen = {.session_id = aaa_get_session_id()};
  if (authen.session_id == 0) return;
  (void)strncpy(authen.chars65_a, agent.user, sizeof authen.chars65_a - 1);
  authen.user_password.value = agent.password;
  authen.user_password.len = (uint16_t)strlen(agent.password);
  agent.session_id = authen.session_id;
  agent.seconds_waited = 0;
  if (aaa_user_req_authen(&authen) != 0) agent.session_id = 0;
}

static void tell_refusal(void) {
  if (!agent.refused) puts("refused by aaad");
  agent.refused = 1;
}

static void live_a_second(void) {
  if (aaa_is_alive()) {
    agent.refused = 0;
    if (agent.session_id == 0 || ++agent.seconds_waited >= PATIENCE) request_login();
  } else if (aaad_refuses()) {
    tell_refusal();
  }
}

static int on_tick(struct zv_thread* task);

static int start_tick(long seconds) {
  return zv_thread_add_timer_withname(agent.loop, on_tick, NULL, seconds, "tick") != NULL;
}

/* A task runs once, so it schedules itself again. */
static int on_tick(struct zv_thread* task) {
  (void)task;
  live_a_second();
  if (!start_tick(1)) end_with(FAILED);
  return 0;
}

static int on_signal(struct zv_thread* task) {
  struct signalfd_siginfo signal;
  if (read(zv_host_value(task), &signal, sizeof signal) == (ssize_t)sizeof signal) {
    puts("ended by a signal");
  }
  end_with(ENDED);
  return 0;
}

static int watch_signals(void) {
  const int fd = open_end_signals();
  return fd >= 0 &&
         zv_thread_add_read_high_withname(agent.loop, on_signal, NULL, fd, "signal") != NULL;
}

static int live(void) {
  const reg_info registration = {.model_name = "agent",
                                 .use_send_buf = 1,
                                 .notify_result_cb = on_result,
                                 .aaa_event_cb = on_event};
  if (!watch_signals() || !start_tick(0)) return FAILED;
  if (aaa_agent_init(&registration, agent.loop) != 0) {
    print_registration_failure("agent");
    return FAILED;
  }
  if (zv_host_run(agent.loop) != 0) agent.exit_status = FAILED;
  (void)aaa_agent_finish();
  return agent.exit_status;
}

int main(int argc, char** argv) {
  const command_line line = {
      .name = "agent",
      .usage = "[-n ANSWERS] USER PASSWORD",
      .help =
          "Asks aaad once a second, on an event loop, whether a user may log in.\n"
          "TMPDIR is the directory that aaad uses.\n"
          "  -n ANSWERS  end after this number of acceptances; default: on SIGINT or SIGTERM\n"
          "Exit status: 0 ended so, 1 the user was rejected, 2 any other failure.\n",
      .operands = 2,
      .letters = "n:h",
      .numbers = {{'n', 1, 1000000, &agent.answers_left}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : FAILED;
  agent.user = argv[optind];
  agent.password = argv[optind + 1];
  if (strlen(agent.user) >= sizeof((authen_info*)0)->chars65_a ||
      strlen(agent.password) > UINT16_MAX) {
    fputs("agent: the name or the password is too long\n", stderr);
    return FAILED;
  }
  (void)setvbuf(stdout, NULL, _IOLBF, 0);
  agent.loop = zv_host_create();
  const int exit_status = agent.loop != NULL ? live() : FAILED;
  zv_host_destroy(agent.loop);
  return exit_status;
}
