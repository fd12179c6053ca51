/*
 * dot1x -i INTERFACE [-d DIRECTORY] [-u UID] [-w SECONDS]
 *
 * An 802.1X authenticator for the supplicant at one network interface: passes EAP between its EAPOL
 * frames and aaad, prints what happens, and accounts for the time that the port is open. Where this
 * program prints that the port is open or closed, a product opens and closes it. It ends on SIGINT
 * or SIGTERM. Exit status: 0 ended so, 2 it could not start.
 */
#include <aaa_client.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>

#include "answers.h"
#include "arguments.h"
#include "connection.h"
#include "dot1x_news.h"
#include "eapol.h"

enum { RESEND_MS = 3000, SENDS = 4, ANSWER_MS = 30000, STOP_MS = 5000 };

/* Values of RADIUS attributes; fields.md tells in which member each one is. */
enum { PORT_TYPE_ETHERNET = 15, SERVICE_FRAMED = 2, ACCT_START = 1, ACCT_STOP = 2 };
enum { USER_REQUEST = 1, LOST_SERVICE = 3, ADMIN_RESET = 6, ADMIN_REBOOT = 7, REAUTH_FAILURE = 20 };

/* Whose answer the port waits for. There is one request to aaad at a time, because nothing in a
 * result tells whether it answers a login or an accounting report of the session. */
typedef enum turn { NOBODY, SUPPLICANT, AAAD_LOGIN, AAAD_ACCOUNTING } turn;

static struct {
  eapol_socket wire;
  const char* interface;
  turn turn;
  long long due; /* end of the turn, in ms of now_ms(); 0: none */
  int sends_left;
  eap_packet request; /* the last one */
  uint8_t supplicant[ETHERNET_ADDRESS];
  uint32_t session_id; /* 0: no supplicant */
  char user[sizeof((authen_info*)0)->chars65_a];
  attribute state, class;
  int open;
  long long opened_at, reauthenticate_at;
  uint32_t stopped_session; /* whose last report is not answered yet; 0: none */
} port;

/* ---- Requests to aaad. ----------------------------------------------------------------------- */

static void end_turn(turn next, long long due) {
  port.turn = next;
  port.due = due;
}

static aaa_item item_of(const attribute* copy) {
  return (aaa_item){.len = copy->size, .value = copy->bytes};
}

static int was_sent(int32_t result) {
  if (result != 0) printf("%s: not sent to aaad: %s\n", port.user, strerror(-result));
  return result == 0;
}

static int send_login(const eap_packet* response) {
  authen_info login = {.session_id = port.session_id,
                       .num_b = (uint32_t)port.wire.interface,
                       .num_c = PORT_TYPE_ETHERNET,
                       .num_d = SERVICE_FRAMED,
                       .eap_message = {.len = response->size, .value = response->bytes},
                       .state = item_of(&port.state)};
  (void)strcpy(login.chars65_a, port.user);
  (void)strcpy((char*)login.octets100_a, port.interface);
  write_address((char*)login.octets100_b, port.wire.address);
  write_address((char*)login.octets128_a, port.supplicant);
  return was_sent(aaa_user_req_authen(&login));
}

static int send_report(uint32_t kind, uint32_t cause) {
  acct_info report = {.session_id = port.session_id,
                      .code_a = kind,
                      .num_b = (uint32_t)((now_ms() - port.opened_at) / 1000),
                      .num_e = cause,
                      .class = item_of(&port.class)};
  (void)strcpy(report.chars65_a, port.user);
  (void)strcpy((char*)report.octets100_a, port.interface);
  write_address((char*)report.octets100_b, port.wire.address);
  write_address((char*)report.octets128_a, port.supplicant);
  return was_sent(aaa_user_req_acct(&report));
}

/* ---- The port. ------------------------------------------------------------------------------- */

static void close_port(uint32_t cause) {
  if (port.session_id == 0) return;
  const eap_packet failure = new_eap_packet(EAP_FAILURE, port.request.bytes[EAP_IDENTIFIER], 4);
  send_eap(&port.wire, port.supplicant, &failure);
  if (port.open) {
    printf("%s: port closed: %s\n", port.user, rds_acct_term_cause_string(cause));
    if (send_report(ACCT_STOP, cause)) port.stopped_session = port.session_id;
  }
  port.open = 0;
  port.session_id = 0;
  end_turn(NOBODY, 0);
}

static void refuse(const char* reason, uint32_t cause) {
  printf("%s: %s\n", port.user, reason);
  close_port(cause);
}

static void send_request(void) {
  send_eap(&port.wire, port.supplicant, &port.request);
  --port.sends_left;
  end_turn(SUPPLICANT, now_ms() + RESEND_MS);
}

static void ask_supplicant(const eap_packet* request, const attribute* state) {
  port.request = *request;
  port.state = *state;
  port.sends_left = SENDS;
  send_request();
}

/* With a new identifier, so that an old response is not taken for the answer. */
static void ask_identity(void) {
  const uint8_t identifier = (uint8_t)(port.request.bytes[EAP_IDENTIFIER] + 1);
  eap_packet request = new_eap_packet(EAP_REQUEST, identifier, EAP_DATA);
  request.bytes[EAP_TYPE] = EAP_TYPE_IDENTITY;
  ask_supplicant(&request, &(attribute){0});
}

static void open_port(const news* result) {
  const eap_packet success = new_eap_packet(EAP_SUCCESS, port.request.bytes[EAP_IDENTIFIER], 4);
  send_eap(&port.wire, port.supplicant, &success);
  const int was_open = port.open;
  const long long now = now_ms();
  port.reauthenticate_at =
      result->session_timeout == 0 ? 0 : now + result->session_timeout * 1000LL;
  printf("%s: port %s, VLAN %s, session timeout %u\n", port.user, was_open ? "stays open" : "open",
         *result->vlan == '\0' ? "none" : result->vlan, (unsigned)result->session_timeout);
  port.class = result->class;
  port.open = 1;
  end_turn(NOBODY, port.reauthenticate_at);
  if (was_open) return;
  port.opened_at = now;
  if (send_report(ACCT_START, 0)) end_turn(AAAD_ACCOUNTING, now + ANSWER_MS);
}

/* ---- What the supplicant sends. -------------------------------------------------------------- */

static void take_start(const uint8_t* supplicant) {
  if (port.session_id == 0) {
    port.session_id = aaa_get_session_id();
    (void)memcpy(port.supplicant, supplicant, ETHERNET_ADDRESS);
    (void)strcpy(port.user, "supplicant");
  }
  if (port.session_id == 0) {
    puts("aaad grants no session id");
  } else if (port.turn == NOBODY || port.turn == SUPPLICANT) {
    ask_identity();
  }
}

/* Returns 0 when the identity is none that aaad can be asked about. */
static int take_identity(const eap_packet* response) {
  char name[sizeof port.user] = "";
  const size_t size = response->size - EAP_DATA;
  if (response->bytes[EAP_TYPE] != EAP_TYPE_IDENTITY || size == 0 || size >= sizeof name) return 0;
  (void)memcpy(name, response->bytes + EAP_DATA, size);
  if (port.open && strcmp(name, port.user) != 0) return 0;
  (void)memcpy(port.user, name, sizeof name);
  return strlen(name) == size;
}

static void take_response(const eap_packet* response) {
  if (port.turn != SUPPLICANT || response->bytes[EAP_CODE] != EAP_RESPONSE ||
      response->bytes[EAP_IDENTIFIER] != port.request.bytes[EAP_IDENTIFIER])
    return;
  if (port.request.bytes[EAP_TYPE] == EAP_TYPE_IDENTITY && !take_identity(response)) {
    refuse("the identity cannot be used", REAUTH_FAILURE);
  } else if (send_login(response)) {
    end_turn(AAAD_LOGIN, now_ms() + ANSWER_MS);
  } else {
    close_port(LOST_SERVICE);
  }
}

static void take_frame(void) {
  eapol_frame frame;
  if (!receive_eapol(&port.wire, &frame)) return;
  const int is_known = memcmp(frame.from, port.supplicant, ETHERNET_ADDRESS) == 0;
  if (port.session_id != 0 && !is_known) return;
  if (frame.type == EAPOL_START) take_start(frame.from);
  if (port.session_id == 0) return;
  if (frame.type == EAPOL_EAP) take_response(&frame.eap);
  if (frame.type == EAPOL_LOGOFF) refuse("logs off", USER_REQUEST);
}

/* ---- What the library's threads hand over. --------------------------------------------------- */

static void take_decision(const news* result) {
  if (result->code == RESULT_ACCEPT) {
    open_port(result);
  } else if (result->code == RESULT_REJECT) {
    refuse("rejected", REAUTH_FAILURE);
  } else if (result->code == RESULT_CHALLENGE && result->eap.size != 0 &&
             result->eap.bytes[EAP_CODE] == EAP_REQUEST) {
    ask_supplicant(&result->eap, &result->state);
  } else {
    refuse("no decision", LOST_SERVICE);
  }
}

static void take_result(const news* result) {
  const char* const fate = result->code == RESULT_ACCEPT ? "taken" : "not taken";
  if (result->session_id == 0) return; /* a body that could not be parsed */
  if (result->session_id == port.stopped_session) {
    printf("accounting stop %s\n", fate);
    port.stopped_session = 0;
  } else if (result->session_id == port.session_id && port.turn == AAAD_LOGIN) {
    take_decision(result);
  } else if (result->session_id == port.session_id && port.turn == AAAD_ACCOUNTING) {
    printf("%s: accounting start %s\n", port.user, fate);
    end_turn(NOBODY, port.reauthenticate_at);
  }
}

/* The port stays as it is while aaad is away; a login that it was asked about begins again. */
static void take_event(uint32_t event) {
  if (event == AAA_EVENT_CONNECTION_LOST) puts("the link to aaad was lost");
  if (event != AAA_EVENT_REREGISTERED) return;
  puts("registered again");
  if (port.turn == AAAD_LOGIN) ask_identity();
}

static void take_news(void) {
  news item;
  if (!next_news(&item)) return;
  if (item.kind == RESULT) take_result(&item);
  if (item.kind == EVENT) take_event(item.code);
  if (item.kind == DISCONNECT && item.session_id != 0 && item.session_id == port.session_id)
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
        refuse("does not answer", REAUTH_FAILURE);
      }
      break;
    case AAAD_LOGIN:
      (void)aaa_clear_req_user(port.session_id);
      refuse("no answer from aaad", LOST_SERVICE);
      break;
    case AAAD_ACCOUNTING:
      printf("%s: accounting start not answered\n", port.user);
      end_turn(NOBODY, port.reauthenticate_at);
  }
}

static int ms_until(long long due) {
  const long long left = due - now_ms();
  if (left <= 0) return 0;
  return left < INT_MAX ? (int)left : INT_MAX;
}

static void serve_until_signal(int signals) {
  struct pollfd ready[] = {{.fd = signals, .events = POLLIN},
                           {.fd = port.wire.fd, .events = POLLIN},
                           {.fd = news_pipe[0], .events = POLLIN}};
  while (ready[0].revents == 0) {
    if (poll(ready, 3, port.due == 0 ? -1 : ms_until(port.due)) < 0) continue;
    if (ready[1].revents != 0) take_frame();
    if (ready[2].revents != 0) take_news();
    if (port.due != 0 && now_ms() >= port.due) take_end_of_turn();
  }
}

/* aaad may forget what it has not answered when its client deregisters. */
static void wait_for_last_report(void) {
  const long long deadline = now_ms() + STOP_MS;
  struct pollfd ready = {.fd = news_pipe[0], .events = POLLIN};
  while (port.stopped_session != 0 && poll(&ready, 1, ms_until(deadline)) == 1)
    take_news();
}

/* Blocked before the library starts its threads, so that none of them takes the signals. */
static int open_signals(void) {
  sigset_t ends;
  (void)sigemptyset(&ends);
  (void)sigaddset(&ends, SIGINT);
  (void)sigaddset(&ends, SIGTERM);
  (void)sigprocmask(SIG_BLOCK, &ends, NULL);
  return signalfd(-1, &ends, SFD_CLOEXEC);
}

static int open_descriptors(int* signals) {
  *signals = open_signals();
  if (!open_eapol_socket(&port.wire, port.interface)) {
    fprintf(stderr, "dot1x: %s: %s\n", port.interface, strerror(errno));
    return 0;
  }
  if (*signals >= 0 && pipe(news_pipe) == 0) return 1;
  perror("dot1x");
  return 0;
}

int main(int argc, char** argv) {
  unsigned long patience = 10;
  unsigned long aaad_uid = UINT32_MAX;
  const char* directory = NULL;
  int signals = -1;
  const command_line line = {
      .name = "dot1x",
      .usage = "-i INTERFACE [-d DIRECTORY] [-u UID] [-w SECONDS]",
      .help =
          "An 802.1X authenticator for the supplicant at a network interface.\n"
          "  -i INTERFACE  the interface; receiving its EAPOL frames needs CAP_NET_RAW\n"
          "  -d DIRECTORY  the directory that aaad uses, default: that of TMPDIR\n"
          "  -u UID        connect only to a process of this user, default: of any user\n"
          "  -w SECONDS    time limit for registering with aaad, default 10\n"
          "Exit status: 0 ended by SIGINT or SIGTERM, 2 it could not start.\n",
      .letters = "i:d:u:w:h",
      .numbers = {{'w', 1, 3600, &patience}, {'u', 0, UINT32_MAX - 1, &aaad_uid}},
      .texts = {{'i', &port.interface}, {'d', &directory}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : 2;
  if (port.interface == NULL) {
    print_usage(&line, stderr);
    return 2;
  }

  (void)setvbuf(stdout, NULL, _IOLBF, 0);
  if (!open_descriptors(&signals)) return 2;
  if (directory != NULL && !use_directory("dot1x", directory)) return 2;
  if (aaad_uid != UINT32_MAX) (void)aaa_set_aaad_uid((int64_t)aaad_uid);
  registration.record.notify_result_cb = on_result;
  registration.record.notify_del_msg_cb = on_notice;
  registration.record.aaa_event_cb = on_event;
  if (!connect_to_aaad("dot1x", patience)) return 2;

  printf("waiting for a supplicant at %s\n", port.interface);
  serve_until_signal(signals);
  close_port(ADMIN_REBOOT);
  wait_for_last_report();
  return disconnect_from_aaad("dot1x") ? 0 : 2;
}
