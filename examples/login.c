/*
 * login [-w SECONDS] [-t SECONDS] USER PASSWORD
 *
 * Asks aaad whether a user may log in. -w: how long to wait for aaad itself, 10 seconds unless told
 * otherwise; -t: how long to wait for its answer, 30 seconds. Exit status: 0 accepted, 1 rejected,
 * 2 anything else.
 */
#include <aaa_client.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { ACCEPTED = 0, REJECTED = 1, NO_DECISION = 2 };

/* What aaad says in sub.num_a of a result. */
enum { RESULT_ACCEPT = 0, RESULT_REJECT = 1, RESULT_LINK_LOST = 2, RESULT_CHALLENGE = 3 };

static int wait_until_alive(unsigned long seconds) {
  for (unsigned long tenths = 0; tenths < seconds * 10; ++tenths) {
    if (aaa_is_alive()) return 1;
    (void)usleep(100000);
  }
  return aaa_is_alive();
}

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
  const int outcome = print_outcome(result);
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
  for (int option; (option = getopt(argc, argv, "w:t:")) != -1;) {
    if (option == 'w') patience = strtoul(optarg, NULL, 10);
    if (option == 't') timeout = strtoul(optarg, NULL, 10);
    if (option == '?') return NO_DECISION;
  }
  if (argc - optind != 2) {
    fprintf(stderr, "usage: %s [-w SECONDS] [-t SECONDS] USER PASSWORD\n", argv[0]);
    return NO_DECISION;
  }

  const reg_info registration = {.model_name = "login"};
  if (aaa_svr_reg(&registration) != 0) {
    fputs("login: cannot register, is there a directory below TMPDIR to work in?\n", stderr);
    return NO_DECISION;
  }
  int outcome = NO_DECISION;
  if (wait_until_alive(patience)) {
    outcome = authenticate(argv[optind], argv[optind + 1], (uint32_t)timeout);
  } else {
    fprintf(stderr, "login: aaad does not answer within %lu seconds\n", patience);
  }
  if (aaa_svr_dereg() != 0) fputs("login: aaad did not take the farewell\n", stderr);
  return outcome;
}
