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
 * eapol.h has the frames, dot1x_requests.h the logins, dot1x_reports.h the
 * accounting, dot1x_news.h the callbacks.
 */
#include <aaa_client.h>
#include <ctype.h>
#include <limits.h>
#include <poll.h>

#include "answers.h"
#include "arguments.h"
#include "connection.h"
#include "dot1x_news.h"
#include "dot1x_reports.h"
#include "dot1x_requests.h"
#include "eapol.h"
#include "end_signals.h"

enum { RESEND_MS = 3000, SENDS = 4, LAST_ANSWER_MS = 5000 };

/* Whose answer the port waits for. */
typedef enum turn { NOBODY, SUPPLICANT, AAAD } turn;

static struct {
  eapol_socket wire;
  turn turn;
  long long due; /* end of the turn, in ms of now_ms(); 0: none */
  int sends_left;
  eap_packet request; /* the last one */
  uint8_t supplicant[ETHERNET_ADDRESS];
  user_session session;
  int open;
  long long opened_at, reauthenticate_at;
  long long quiet_ms, quiet_until; /* after a rejection */
} port;

static void begin_turn(turn next, long long due) {
  port.turn = next;
  port.due = due;
}

/* ---- Opening and closing. -------------------------------------------------------------------- */

static void send_verdict(uint8_t code) {
  const eap_packet verdict = new_eap_packet(code, port.request.bytes[EAP_IDENTIFIER], EAP_TYPE);
  send_eap(&port.wire, port.supplicant, &verdict);
}

static void open_port(const news* result) {
  const long long now = now_ms();
  const int was_open = port.open;
  send_verdict(EAP_SUCCESS);
  printf("%s: port %s, VLAN %s, session timeout %u\n", port.session.user,
         was_open ? "stays open" : "open", *result->vlan == '\0' ? "none" : result->vlan,
         (unsigned)result->session_timeout);
  port.session.class = result->class;
  port.reauthenticate_at =
      result->session_timeout == 0 ? 0 : now + result->session_timeout * 1000LL;
  port.open = 1;
  begin_turn(NOBODY, port.reauthenticate_at);
  if (was_open) return;
  port.opened_at = now;
  add_report(&port.session, ACCT_START, 0, NOT_ENDED);
}

static void close_port(end_cause cause) {
  if (port.session.id == 0) return;
  if (port.turn == AAAD) (void)aaa_clear_req_user(port.session.id);
  send_verdict(EAP_FAILURE);
  if (port.open) {
    const uint32_t seconds = (uint32_t)((now_ms() - port.opened_at) / 1000);
    printf("%s: port closed: %s\n", port.session.user, rds_acct_term_cause_string(cause));
    add_report(&port.session, ACCT_STOP, seconds, cause);
  }
  port.open = 0;
  port.session.id = 0;
  begin_turn(NOBODY, 0);
}

static void refuse(const char* reason, end_cause cause) {
  printf("%s: %s\n", port.session.user, reason);
  close_port(cause);
}

/* Who tries passwords is slowed down. */
static void reject(const char* reason) {
  refuse(reason, REAUTHENTICATION_FAILURE);
  port.quiet_until = now_ms() + port.quiet_ms;
}

/* ---- Asking the supplicant, and its answers. ------------------------------------------------- */

static void send_request(void) {
  send_eap(&port.wire, port.supplicant, &port.request);
  --port.sends_left;
  begin_turn(SUPPLICANT, now_ms() + RESEND_MS);
}

static void ask_supplicant(const eap_packet* request, const attribute* state) {
  port.request = *request;
  port.session.state = *state;
  port.sends_left = SENDS;
  send_request();
}

/* With a new identifier, so that an old response is not taken for the answer. */
static eap_packet identity_request(void) {
  const uint8_t identifier = (uint8_t)(port.request.bytes[EAP_IDENTIFIER] + 1);
  eap_packet request = new_eap_packet(EAP_REQUEST, identifier, EAP_DATA);
  request.bytes[EAP_TYPE] = EAP_TYPE_IDENTITY;
  return request;
}

static void ask_identity(void) {
  const eap_packet request = identity_request();
  ask_supplicant(&request, &(attribute){0});
}

/* Whoever is at the port already need not wait until it sends a start of its own. */
static void invite_supplicants(void) {
  port.request = identity_request();
  send_eap(&port.wire, eapol_group, &port.request);
  begin_turn(SUPPLICANT, 0);
}

/* Returns 0 when aaad grants no session. */
static int begin_session(const uint8_t* supplicant) {
  port.session.id = aaa_get_session_id();
  if (port.session.id == 0) {
    puts("aaad grants no session id");
    return 0;
  }
  (void)memcpy(port.supplicant, supplicant, ETHERNET_ADDRESS);
  write_address(port.session.user_address, supplicant);
  (void)strcpy(port.session.user, port.session.user_address);
  return 1;
}

/* Anybody can send an identity: one with line ends would print what did not happen. */
static int is_name(const char* text, size_t size) {
  for (size_t i = 0; i < size; ++i)
    if (iscntrl((unsigned char)text[i])) return 0;
  return size != 0;
}

/* Returns 0 when the identity is none that aaad can be asked about. */
static int take_identity(const eap_packet* response) {
  char name[sizeof port.session.user] = "";
  const size_t size = response->size - EAP_DATA;
  if (response->bytes[EAP_TYPE] != EAP_TYPE_IDENTITY || size >= sizeof name) return 0;
  (void)memcpy(name, response->bytes + EAP_DATA, size);
  if (!is_name(name, size)) return 0;
  if (port.open && strcmp(name, port.session.user) != 0) return 0;
  (void)memcpy(port.session.user, name, sizeof name);
  return 1;
}

static int is_answer(const eapol_frame* frame) {
  return port.turn == SUPPLICANT && frame->type == EAPOL_EAP &&
         frame->eap.bytes[EAP_CODE] == EAP_RESPONSE &&
         frame->eap.bytes[EAP_IDENTIFIER] == port.request.bytes[EAP_IDENTIFIER];
}

static void take_answer(const eap_packet* response) {
  if (port.request.bytes[EAP_TYPE] == EAP_TYPE_IDENTITY && !take_identity(response)) {
    reject("the identity cannot be used");
  } else if (send_login(&port.session, response)) {
    begin_turn(AAAD, now_ms() + reports.answer_ms);
  } else {
    close_port(LOST_SERVICE);
  }
}

/* A session begins with a start, or with the answer to the invitation. */
static void take_first_frame(const eapol_frame* frame) {
  const int answers = is_answer(frame);
  if (now_ms() < port.quiet_until || (!answers && frame->type != EAPOL_START)) return;
  if (!begin_session(frame->from)) return;
  if (answers) {
    take_answer(&frame->eap);
  } else {
    ask_identity();
  }
}

static void take_next_frame(const eapol_frame* frame) {
  const int aaad_answers_first = port.turn == AAAD || awaits_answer_to_report(port.session.id);
  if (memcmp(frame->from, port.supplicant, ETHERNET_ADDRESS) != 0) return;
  if (is_answer(frame)) take_answer(&frame->eap);
  if (frame->type == EAPOL_LOGOFF) refuse("logs off", USER_REQUEST);
  if (frame->type == EAPOL_START && !aaad_answers_first) ask_identity();
}

static void take_frame(void) {
  eapol_frame frame;
  const arrival what = receive_eapol(&port.wire, &frame);
  if (what == FRAME && port.session.id == 0) {
    take_first_frame(&frame);
  } else if (what == FRAME) {
    take_next_frame(&frame);
  } else if (what == INTERFACE_DOWN && port.session.id != 0) {
    refuse("the interface is down", LOST_CARRIER);
  }
}

/* ---- What aaad sends. ------------------------------------------------------------------------ */

static int has_eap(const news* result, uint8_t code) {
  return result->eap.size != 0 && result->eap.bytes[EAP_CODE] == code;
}

/* The late answer to a report is an acceptance too. Only that of a login has EAP-Success. */
static void take_decision(const news* result) {
  if (result->code == RESULT_ACCEPT && !has_eap(result, EAP_SUCCESS)) {
    printf("%s: an acceptance without EAP-Success is ignored\n", port.session.user);
    return;
  }
  begin_turn(NOBODY, 0);
  if (result->is_cut) {
    refuse("State or Class is too long", LOST_SERVICE);
  } else if (result->code == RESULT_ACCEPT) {
    open_port(result);
  } else if (result->code == RESULT_REJECT) {
    reject("rejected");
  } else if (result->code == RESULT_CHALLENGE && has_eap(result, EAP_REQUEST)) {
    ask_supplicant(&result->eap, &result->state);
  } else {
    refuse("no decision", LOST_SERVICE);
  }
}

static void take_result(const news* result) {
  if (result->session_id == 0) return; /* a body that could not be parsed */
  if (result->eap.size == 0 && awaits_answer_to_report(result->session_id)) {
    end_first_report(result->code == RESULT_ACCEPT ? "taken" : "not taken");
  } else if (result->session_id == port.session.id && port.turn == AAAD) {
    take_decision(result);
  }
}

/* The port stays as it is while aaad is away; a login that it was asked about begins again. */
static void take_event(uint32_t event) {
  take_event_for_reports(event);
  if (event == AAA_EVENT_CONNECTION_LOST) puts("the link to aaad was lost");
  if (event != AAA_EVENT_REREGISTERED) return;
  puts("registered again");
  if (port.turn == AAAD) ask_identity();
}

static void take_news(void) {
  news item;
  const unsigned lost = take_lost_news();
  if (lost != 0) printf("%u messages of aaad were lost\n", lost);
  if (!next_news(&item)) return;
  if (item.kind == RESULT) take_result(&item);
  if (item.kind == EVENT) take_event(item.code);
  if (item.kind == DISCONNECT && item.session_id != 0 && item.session_id == port.session.id)
    refuse("disconnected by aaad", ADMIN_RESET);
}

/* ---- The main loop. -------------------------------------------------------------------------- */

static void take_end_of_turn(void) {
  switch (port.turn) {
    case NOBODY: /* The session timeout has passed. */
      ask_identity();
      break;
    case SUPPLICANT:
      if (port.sends_left > 0) {
        send_request();
      } else {
        refuse("does not answer", REAUTHENTICATION_FAILURE);
      }
      break;
    case AAAD:
      refuse("no answer from aaad", LOST_SERVICE);
  }
}

/* No login begins before a report of its session is answered. */
static long long due_of_turn(void) {
  const int is_held = port.turn == NOBODY && awaits_answer_to_report(port.session.id);
  return is_held ? 0 : port.due;
}

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
  const long long now = now_ms(), deadline = now + 2 * LAST_ANSWER_MS;
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
