/*
 * agent [-n ANSWERS] USER PASSWORD
 *
 * A client that lives on an event loop of its own: the library's work runs there beside the
 * client's. Once a second it asks aaad whether the user may log in, and prints what the result
 * callback is told. It outlives restarts of aaad and ends on SIGINT or SIGTERM, or after so many
 * answers. Exit status: 0 when it was ended so, 1 when a user was rejected, 2 for anything else.
 */
#include <aaa_client.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <zv_host.h>
#include <zv_thread.h>

enum { ENDED = 0, REJECTED = 1, FAILED = 2 };

static struct {
  struct zv_thread_master* loop;
  const char* user;
  const char* password;
  unsigned long answers_left; /* 0: no limit */
  int exit_status;
} agent;

static void end_with(int exit_status) {
  agent.exit_status = exit_status;
  zv_host_stop(agent.loop);
}

/* ---- What the library tells. It all runs on the loop. --------------------------------------- */

static int on_event(uint32_t event) {
  if (event == AAA_EVENT_REGISTERED) puts("registered");
  if (event == AAA_EVENT_CONNECTION_LOST) puts("not registered");
  return 0;
}

static void on_result(result_info* result) {
  const int accepted = result->sub.num_a == 0;
  printf("%s: %s\n", agent.user, accepted ? "accepted" : "rejected");
  if (!accepted) {
    end_with(REJECTED);
  } else if (agent.answers_left > 0 && --agent.answers_left == 0) {
    end_with(ENDED);
  }
}

/* ---- What the client does itself. ---------------------------------------------------------- */

static void request_login(void) {
  authen_info authen = {.session_id = aaa_get_session_id()};
  if (authen.session_id == 0) return;
  (void)strncpy(authen.chars65_a, agent.user, sizeof authen.chars65_a - 1);
  authen.user_password.value = agent.password;
  authen.user_password.len = (uint16_t)strlen(agent.password);
  (void)aaa_user_req_authen(&authen);
}

static int on_tick(struct zv_thread* task);

static int start_tick(long seconds) {
  return zv_thread_add_timer_withname(agent.loop, on_tick, NULL, seconds, "tick") != NULL;
}

/* Tasks run once: whoever wants another turn asks for it. */
static int on_tick(struct zv_thread* task) {
  (void)task;
  if (aaa_is_alive()) request_login();
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

/* Blocked before the library starts a thread: every thread inherits it. */
static int watch_signals(void) {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  if (sigprocmask(SIG_BLOCK, &ending, NULL) != 0) return 0;
  const int fd = signalfd(-1, &ending, SFD_CLOEXEC);
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
    fputs("agent: cannot register, is there a directory below TMPDIR to work in?\n", stderr);
    return FAILED;
  }
  if (zv_host_run(agent.loop) != 0) agent.exit_status = FAILED;
  (void)aaa_agent_finish();
  return agent.exit_status;
}

int main(int argc, char** argv) {
  for (int option; (option = getopt(argc, argv, "n:")) != -1;) {
    if (option == 'n') agent.answers_left = strtoul(optarg, NULL, 10);
    if (option == '?') return FAILED;
  }
  if (argc - optind != 2 || strlen(argv[optind + 1]) > UINT16_MAX) {
    fprintf(stderr, "usage: %s [-n ANSWERS] USER PASSWORD\n", argv[0]);
    return FAILED;
  }
  agent.user = argv[optind];
  agent.password = argv[optind + 1];
  (void)setvbuf(stdout, NULL, _IOLBF, 0);
  agent.loop = zv_host_create();
  const int exit_status = agent.loop != NULL ? live() : FAILED;
  zv_host_destroy(agent.loop);
  return exit_status;
}
