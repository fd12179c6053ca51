/*
 * dot1x -i INTERFACE [-d DIRECTORY] [-u UID] [-w SECONDS] [-a SECONDS] [-q SECONDS]
 *
 * An 802.1X authenticator for the supplicant at one network interface: passes EAP between its EAPOL
 * frames and aaad, and accounts for the time that the port is open. Where it prints that the port
 * is open or closed, a product opens and closes it. It ends on SIGINT or SIGTERM. Exit status: 0
 * ended so, 2 it could not start.
 *
 * The port closes when its interface is set down. That a cable was pulled while the interface stays
 * up, a packet socket does not tell: a product closes the port then too, for example on the
 * RTM_NEWLINK messages of rtnetlink(7) that have no IFF_LOWER_UP, or else whoever is plugged in
 * next, with the address of the supplicant, is let in until the session timeout.
 *
 * Here are the main loop and the options. dot1x_port.h is the authenticator, eapol.h has its
 * frames, dot1x_requests.h the logins, dot1x_reports.h the accounting, dot1x_news.h the callbacks.
 */
#include <aaa_client.h>
#include <limits.h>
#include <poll.h>

#include "arguments.h"
#include "connection.h"
#include "dot1x_news.h"
#include "dot1x_port.h"
#include "dot1x_reports.h"
#include "eapol.h"
#include "end_signals.h"

enum { LAST_ANSWER_MS = 5000 };

/* The earlier of two times, of which 0 is none. */
static long long earlier(long long one, long long other) {
  return one != 0 && (other == 0 || one < other) ? one : other;
}

/* For poll(). */
static int ms_until(long long due) {
  const long long left = due - now_ms();
  if (due == 0) return -1;
  if (left <= 0) return 0;
  return left < INT_MAX ? (int)left : INT_MAX;
}

static void serve_until(int signals) {
  struct pollfd ready[] = {{.fd = signals, .events = POLLIN},
                           {.fd = port.wire.fd, .events = POLLIN},
                           {.fd = news_pipe[0], .events = POLLIN}};
  while (ready[0].revents == 0) {
    if (poll(ready, 3, ms_until(earlier(due_of_turn(), reports.due))) < 0) continue;
    if (ready[1].revents != 0) take_frame();
    if (ready[2].revents != 0) take_news();
    if (due_of_turn() != 0 && now_ms() >= port.due) take_end_of_turn();
    take_end_of_report();
  }
}

/* aaad may forget what it has not answered when its client deregisters. */
static void wait_for_last_answers(void) {
  const long long now = now_ms(), deadline = now + 2LL * LAST_ANSWER_MS;
  struct pollfd ready = {.fd = news_pipe[0], .events = POLLIN};
  if (reports.answer_ms > LAST_ANSWER_MS) reports.answer_ms = LAST_ANSWER_MS;
  if (reports.due > now + reports.answer_ms) reports.due = now + reports.answer_ms;
  while (reports.is_sent && now_ms() < deadline) {
    if (poll(&ready, 1, ms_until(reports.due)) == 1) take_news();
    take_end_of_report();
  }
  print_reports_left();
}

static int work(int signals, unsigned long patience) {
  write_address(port.session.port_address, port.wire.address);
  port.session.port_number = (uint32_t)port.wire.interface;
  registration.record.notify_result_cb = on_result;
  registration.record.notify_del_msg_cb = on_notice;
  registration.record.aaa_event_cb = on_event;
  if (!connect_to_aaad("dot1x", patience)) return 0;
  printf("waiting for a supplicant at %s\n", port.session.interface);
  invite_supplicants();
  serve_until(signals);
  close_port(ADMIN_REBOOT);
  wait_for_last_answers();
  return disconnect_from_aaad("dot1x");
}

int main(int argc, char** argv) {
  unsigned long patience = 10;
  unsigned long answer_seconds = 30;
  unsigned long quiet_seconds = 2;
  unsigned long aaad_uid = UINT32_MAX;
  const char* interface = NULL;
  const char* directory = NULL;
  const command_line line = {
      .name = "dot1x",
      .usage = "-i INTERFACE [-d DIRECTORY] [-u UID] [-w SECONDS] [-a SECONDS] [-q SECONDS]",
      .help =
          "An 802.1X authenticator for the supplicant at a network interface.\n"
          "  -i INTERFACE  the interface; receiving its EAPOL frames needs CAP_NET_RAW\n"
          "  -d DIRECTORY  the directory that aaad uses, default: that of TMPDIR\n"
          "  -u UID        connect only to a process of this user, default: of any user\n"
          "  -w SECONDS    time limit for registering with aaad, default 10\n"
          "  -a SECONDS    time limit for an answer of aaad, default 30\n"
          "  -q SECONDS    how long nobody can begin after a rejection, default 2;\n"
          "                IEEE 802.1X has 60\n"
          "Exit status: 0 ended by SIGINT or SIGTERM, 2 it could not start.\n",
      .letters = "i:d:u:w:a:q:h",
      .numbers = {{'w', 1, 3600, &patience},
                  {'a', 1, 3600, &answer_seconds},
                  {'q', 0, 65535, &quiet_seconds},
                  {'u', 0, UINT32_MAX - 1, &aaad_uid}},
      .texts = {{'i', &interface}, {'d', &directory}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : 2;
  if (interface == NULL) {
    print_usage(&line, stderr);
    return 2;
  }

  (void)setvbuf(stdout, NULL, _IOLBF, 0);
  if (directory != NULL && !use_directory("dot1x", directory)) return 2;
  if (aaad_uid != UINT32_MAX) (void)aaa_set_aaad_uid((int64_t)aaad_uid);
  reports.answer_ms = (long long)answer_seconds * 1000;
  port.quiet_ms = (long long)quiet_seconds * 1000;
  port.session.interface = interface;
  const int signals = open_end_signals();
  if (!open_eapol_socket(&port.wire, interface) || signals < 0 || !open_news_pipe()) {
    fprintf(stderr, "dot1x: %s: %s\n", interface, strerror(errno));
    return 2;
  }
  return work(signals, patience) ? 0 : 2;
}
