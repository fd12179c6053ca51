/*
 * The port of dot1x: what it does with a frame of the supplicant, with news of aaad, and when time
 * is up.
 */
#ifndef EXAMPLES_DOT1X_PORT_H
#define EXAMPLES_DOT1X_PORT_H

#include <aaa_client.h>
#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "answers.h"
#include "connection.h"
#include "dot1x_news.h"
#include "dot1x_reports.h"
#include "dot1x_requests.h"
#include "eapol.h"

enum { RESEND_MS = 3000, SENDS = 4 };

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

static inline void begin_turn(turn next, long long due) {
  port.turn = next;
  port.due = due;
}

/* ---- Opening and closing. -------------------------------------------------------------------- */

static inline void send_verdict(uint8_t code) {
  const eap_packet verdict = new_eap_packet(code, port.request.bytes[EAP_IDENTIFIER], EAP_TYPE);
  send_eap(&port.wire, port.supplicant, &verdict);
}

static inline void open_port(const news* result) {
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

static inline void close_port(end_cause cause) {
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

static inline void refuse(const char* reason, end_cause cause) {
  printf("%s: %s\n", port.session.user, reason);
  close_port(cause);
}

/* Who tries passwords is slowed down. */
static inline void reject(const char* reason) {
  refuse(reason, REAUTHENTICATION_FAILURE);
  port.quiet_until = now_ms() + port.quiet_ms;
}

/* ---- Asking the supplicant, and its answers. ------------------------------------------------- */

static inline void send_request(void) {
  send_eap(&port.wire, port.supplicant, &port.request);
  --port.sends_left;
  begin_turn(SUPPLICANT, now_ms() + RESEND_MS);
}

static inline void ask_supplicant(const eap_packet* request, const attribute* state) {
  port.request = *request;
  port.session.state = *state;
  port.sends_left = SENDS;
  send_request();
}

/* With a new identifier, so that an old response is not taken for the answer. */
static inline eap_packet identity_request(void) {
  const uint8_t identifier = (uint8_t)(port.request.bytes[EAP_IDENTIFIER] + 1);
  eap_packet request = new_eap_packet(EAP_REQUEST, identifier, EAP_DATA);
  request.bytes[EAP_TYPE] = EAP_TYPE_IDENTITY;
  return request;
}

static inline void ask_identity(void) {
  const eap_packet request = identity_request();
  ask_supplicant(&request, &(attribute){0});
}

/* Whoever is at the port already need not wait until it sends a start of its own. */
static inline void invite_supplicants(void) {
  port.request = identity_request();
  send_eap(&port.wire, eapol_group, &port.request);
  begin_turn(SUPPLICANT, 0);
}

/* Returns 0 when aaad grants no session. */
static inline int begin_session(const uint8_t* supplicant) {
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

/* Names are printed: one with line ends would say what did not happen. */
static inline int is_name(const char* text, size_t size) {
  for (size_t i = 0; i < size; ++i)
    if (iscntrl((unsigned char)text[i])) return 0;
  return size != 0;
}

/* Returns 0 when the identity is none that aaad can be asked about. */
static inline int take_identity(const eap_packet* response) {
  char name[sizeof port.session.user] = "";
  const size_t size = response->size - EAP_DATA;
  if (response->bytes[EAP_TYPE] != EAP_TYPE_IDENTITY || size >= sizeof name) return 0;
  (void)memcpy(name, response->bytes + EAP_DATA, size);
  if (!is_name(name, size)) return 0;
  if (port.open && strcmp(name, port.session.user) != 0) return 0;
  (void)memcpy(port.session.user, name, sizeof name);
  return 1;
}

static inline int is_answer(const eapol_frame* frame) {
  return port.turn == SUPPLICANT && frame->type == EAPOL_EAP &&
         frame->eap.bytes[EAP_CODE] == EAP_RESPONSE &&
         frame->eap.bytes[EAP_IDENTIFIER] == port.request.bytes[EAP_IDENTIFIER];
}

static inline void take_answer(const eap_packet* response) {
  if (port.request.bytes[EAP_TYPE] == EAP_TYPE_IDENTITY && !take_identity(response)) {
    reject("the identity cannot be used");
  } else if (send_login(&port.session, response)) {
    begin_turn(AAAD, now_ms() + reports.answer_ms);
  } else {
    close_port(LOST_SERVICE);
  }
}

/* A session begins with a start, or with the answer to the invitation. */
static inline void take_first_frame(const eapol_frame* frame) {
  const int answers = is_answer(frame);
  if (now_ms() < port.quiet_until || (!answers && frame->type != EAPOL_START)) return;
  if (!begin_session(frame->from)) return;
  if (answers) {
    take_answer(&frame->eap);
  } else {
    ask_identity();
  }
}

static inline void take_next_frame(const eapol_frame* frame) {
  const int aaad_answers_first = port.turn == AAAD || awaits_answer_to_report(port.session.id);
  if (memcmp(frame->from, port.supplicant, ETHERNET_ADDRESS) != 0) return;
  if (is_answer(frame)) take_answer(&frame->eap);
  if (frame->type == EAPOL_LOGOFF) refuse("logs off", USER_REQUEST);
  if (frame->type == EAPOL_START && !aaad_answers_first) ask_identity();
}

static inline void take_frame(void) {
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

static inline int has_eap(const news* result, uint8_t code) {
  return result->eap.size != 0 && result->eap.bytes[EAP_CODE] == code;
}

/* The late answer to a report is an acceptance too. Only that of a login has EAP-Success. */
static inline void take_decision(const news* result) {
  if (result->code == RESULT_ACCEPT && !has_eap(result, EAP_SUCCESS)) {
    printf("%s: an acceptance without EAP-Success is ignored\n", port.session.user);
    return;
  }
  begin_turn(NOBODY, 0);
  if (result->is_cut) {
    refuse("State or Class is too long", LOST_SERVICE);
  } else if (*result->vlan != '\0' && !is_name(result->vlan, strlen(result->vlan))) {
    refuse("the VLAN has no usable name", LOST_SERVICE);
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

static inline void take_result(const news* result) {
  if (result->session_id == 0) return; /* a body that could not be parsed */
  if (result->eap.size == 0 && awaits_answer_to_report(result->session_id)) {
    end_first_report(result->code == RESULT_ACCEPT ? "taken" : "not taken");
  } else if (result->session_id == port.session.id && port.turn == AAAD) {
    take_decision(result);
  }
}

/* The port stays as it is while aaad is away; a login that it was asked about begins again. */
static inline void take_event(uint32_t event) {
  take_event_for_reports(event);
  if (event == AAA_EVENT_CONNECTION_LOST) puts("the link to aaad was lost");
  if (event != AAA_EVENT_REREGISTERED) return;
  puts("registered again");
  if (port.turn == AAAD) ask_identity();
}

static inline void take_news(void) {
  news item;
  const unsigned lost = take_lost_news();
  if (lost != 0) printf("%u messages of aaad were lost\n", lost);
  if (!next_news(&item)) return;
  if (item.kind == RESULT) take_result(&item);
  if (item.kind == EVENT) take_event(item.code);
  if (item.kind == DISCONNECT && item.session_id != 0 && item.session_id == port.session.id)
    refuse("disconnected by aaad", ADMIN_RESET);
}

/* ---- When time is up. ------------------------------------------------------------------------ */

static inline void take_end_of_turn(void) {
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
static inline long long due_of_turn(void) {
  const int is_held = port.turn == NOBODY && awaits_answer_to_report(port.session.id);
  return is_held ? 0 : port.due;
}

#endif
