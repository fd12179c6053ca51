/* What dot1x asks of aaad for the session of one user; docs/fields.md has the fields. */
#ifndef EXAMPLES_DOT1X_REQUESTS_H
#define EXAMPLES_DOT1X_REQUESTS_H

#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

#include "dot1x_news.h"
#include "eapol.h"

/* Values of RADIUS attributes. */
enum { PORT_TYPE_ETHERNET = 15, SERVICE_FRAMED = 2 };
typedef enum report_kind { ACCT_START = 1, ACCT_STOP = 2 } report_kind;
typedef enum end_cause {
  NOT_ENDED = 0,
  USER_REQUEST = 1,
  LOST_SERVICE = 3,
  ADMIN_RESET = 6,
  ADMIN_REBOOT = 7,
  REAUTHENTICATION_FAILURE = 20
} end_cause;

typedef struct user_session {
  uint32_t id; /* 0: no session */
  char user[sizeof((authen_info*)0)->chars65_a];
  char user_address[ADDRESS_TEXT_SIZE];
  char port_address[ADDRESS_TEXT_SIZE];
  const char* interface;
  uint32_t port_number;
  attribute state; /* of the last challenge */
  attribute class; /* of the last acceptance */
} user_session;

static inline aaa_item item_of(const attribute* copy) {
  return (aaa_item){.len = copy->size, .value = copy->bytes};
}

static inline int was_sent(const user_session* session, int32_t result) {
  if (result != 0) printf("%s: not sent to aaad: %s\n", session->user, strerror(-result));
  return result == 0;
}

/* Returns 1 when the request is on its way; 0, after printing the reason, when it is not. */
static inline int send_login(const user_session* session, const eap_packet* response) {
  authen_info login = {.session_id = session->id,
                       .num_b = session->port_number,
                       .num_c = PORT_TYPE_ETHERNET,
                       .num_d = SERVICE_FRAMED,
                       .eap_message = {.len = response->size, .value = response->bytes},
                       .state = item_of(&session->state)};
  (void)strcpy(login.chars65_a, session->user);
  (void)strcpy((char*)login.octets100_a, session->interface);
  (void)strcpy((char*)login.octets100_b, session->port_address);
  (void)strcpy((char*)login.octets128_a, session->user_address);
  return was_sent(session, aaa_user_req_authen(&login));
}

/* The same for a report of the time that the port has been open. */
static inline int send_report(const user_session* session, report_kind kind, uint32_t seconds,
                              end_cause cause) {
  acct_info report = {.session_id = session->id,
                      .code_a = kind,
                      .num_b = seconds,
                      .num_e = cause,
                      .class = item_of(&session->class)};
  (void)strcpy(report.chars65_a, session->user);
  (void)strcpy((char*)report.octets100_a, session->interface);
  (void)strcpy((char*)report.octets100_b, session->port_address);
  (void)strcpy((char*)report.octets128_a, session->user_address);
  return was_sent(session, aaa_user_req_acct(&report));
}

#endif
