/* The session of one user and its login; docs/fields.md has the fields. */
#ifndef EXAMPLES_DOT1X_REQUESTS_H
#define EXAMPLES_DOT1X_REQUESTS_H

#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

#include "dot1x_news.h"
#include "eapol.h"

/* Values of RADIUS attributes. */
enum { PORT_TYPE_ETHERNET = 15, SERVICE_FRAMED = 2 };

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

/* Returns 1 when the request is on its way; 0, after printing the reason, when it is not. */
static inline int was_sent(const char* user, int32_t result) {
  const char* const reason = result == -1 ? "not registered" : strerror(-result);
  if (result != 0) printf("%s: not sent to aaad: %s\n", user, reason);
  return result == 0;
}

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
  return was_sent(session->user, aaa_user_req_authen(&login));
}

#endif
