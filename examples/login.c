/*
 * login [-w SECONDS] [-t SECONDS] [-u UID] USER PASSWORD
 *
 * Asks aaad whether a user may log in. Exit status: 0 accepted, 1 rejected, 2 any other outcome.
 */
#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

#include "answers.h"
#include "arguments.h"
#include "connection.h"

enum { ACCEPTED = 0, REJECTED = 1, NO_DECISION = 2 };

static void print_reply_message(const result_info* result) {
  if (result->reply_message.len == 0 || result->reply_message.value == NULL) return;
  printf("aaad says: %.*s\n", result->reply_message.len, (const char*)result->reply_message.value);
}

static int print_outcome(const result_info* result) {
  print_reply_message(result);
  switch (result->sub.num_a) {
    case RESULT_ACCEPT:
      puts("accepted");
      return ACCEPTED;
    case RESULT_REJECT:
      puts("rejected");
      return REJECTED;
    case RESULT_CHALLENGE:
      printf("challenge, %u bytes of state\n", (unsigned)result->state.len);
      return NO_DECISION;
    case RESULT_LINK_LOST:
      puts("the link to aaad was lost");
      return NO_DECISION;
    case RESULT_UNAVAILABLE:
      puts("no server answered");
      return NO_DECISION;
    default:
      printf("unknown result %u\n", (unsigned)result->sub.num_a);
      return NO_DECISION;
  }
}

static int request_and_wait(authen_info* authen, uint32_t timeout) {
  const int32_t sent = aaa_user_req_authen(authen);
  if (sent != 0) {
    fprintf(stderr, "login: the request was not sent: %s\n", strerror(-sent));
    return NO_DECISION;
  }
  result_info* result = NULL;
  if (aaa_user_get_result(authen->session_id, 0, timeout, &result) != 0) {
    fprintf(stderr, "login: no answer within %u seconds\n", (unsigned)timeout);
    (void)aaa_clear_req_user(authen->session_id);
    return NO_DECISION;
  }
  int outcome = NO_DECISION;
  if (is_result_of(result, authen->session_id)) {
    outcome = print_outcome(result);
  } else {
    fputs("login: a result of another session\n", stderr);
  }
  aaa_free_result_info(result);
  return outcome;
}

static int authenticate(const char* user, const char* password, uint32_t timeout) {
  authen_info authen = {.session_id = aaa_get_session_id()};
  if (authen.session_id == 0) {
    fputs("login: aaad grants no session id\n", stderr);
    return NO_DECISION;
  }
  if (strlen(user) >= sizeof authen.chars65_a || strlen(password) > UINT16_MAX) {
    fputs("login: the name or the password is too long\n", stderr);
    return NO_DECISION;
  }
  (void)strcpy(authen.chars65_a, user);
  authen.user_password.value = password;
  authen.user_password.len = (uint16_t)strlen(password);
  return request_and_wait(&authen, timeout);
}

int main(int argc, char** argv) {
  unsigned long patience = 10;
  unsigned long timeout = 30;
  unsigned long aaad_uid = UINT32_MAX;
  const command_line line = {
      .name = "login",
      .usage = "[-w SECONDS] [-t SECONDS] [-u UID] USER PASSWORD",
      .help =
          "Asks aaad whether a user may log in. TMPDIR is the directory that aaad uses.\n"
          "  -w SECONDS  time limit for registering with aaad, default 10\n"
          "  -t SECONDS  time limit for the result, at most 120, default 30\n"
          "  -u UID      connect only to a process of this user, default: of any user\n"
          "Exit status: 0 accepted, 1 rejected, 2 any other outcome.\n",
      .operands = 2,
      .letters = "u:w:t:h",
      .numbers = {
          {'w', 1, 3600, &patience}, {'t', 1, 120, &timeout}, {'u', 0, UINT32_MAX - 1, &aaad_uid}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : NO_DECISION;

  if (aaad_uid != UINT32_MAX) (void)aaa_set_aaad_uid((int64_t)aaad_uid);
  if (!connect_to_aaad("login", patience)) return NO_DECISION;
  const int outcome = authenticate(argv[optind], argv[optind + 1], (uint32_t)timeout);
  (void)disconnect_from_aaad("login");
  return outcome;
}
