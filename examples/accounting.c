/*
 * accounting USER CAUSE
 *
 * Accounts one session of a user to aaad: its start, an interim report, and its stop for a
 * terminate cause, by its code. Exit status: 0 aaad took every report, 1 it refused one, 2 anything
 * else.
 */
#include <aaa_client.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { TAKEN = 0, REFUSED = 1, FAILED = 2 };

enum { RESULT_TIMEOUT = 30 }; /* seconds */

/* What aaad takes the plain fields of a report for: code_a is the kind, as in RADIUS... */
enum { ACCT_START = 1, ACCT_STOP = 2, ACCT_INTERIM = 3 };

/* ... num_b the seconds, num_c and num_d the bytes in and out, num_e the terminate cause. */
static acct_info new_report(uint32_t session_id, const char* user, uint32_t kind) {
  acct_info report = {.session_id = session_id, .code_a = kind};
  (void)strncpy(report.chars65_a, user, sizeof report.chars65_a - 1);
  return report;
}

static int wait_for_result(uint32_t session_id) {
  result_info* result = NULL;
  if (aaa_user_get_result(session_id, 0, RESULT_TIMEOUT, &result) != 0) {
    fprintf(stderr, "accounting: no answer within %d seconds\n", RESULT_TIMEOUT);
    return FAILED;
  }
  const uint32_t code = result->sub.num_a;
  aaa_free_result_info(result);
  if (code == 0) return TAKEN;
  fprintf(stderr, "accounting: aaad answers with result %u\n", (unsigned)code);
  return REFUSED;
}

static int account(const char* what, acct_info* report) {
  const int32_t sent = aaa_user_req_acct(report);
  if (sent != 0) {
    fprintf(stderr, "accounting: the %s was not sent: %s\n", what, strerror(-sent));
    return FAILED;
  }
  const int outcome = wait_for_result(report->session_id);
  if (outcome == TAKEN) printf("%s taken\n", what);
  return outcome;
}

static int account_session(const char* user, uint32_t cause) {
  const uint32_t session_id = aaa_get_session_id();
  if (session_id == 0) {
    fputs("accounting: aaad grants no session id\n", stderr);
    return FAILED;
  }

  acct_info report = new_report(session_id, user, ACCT_START);
  int outcome = account("start", &report);
  if (outcome != TAKEN) return outcome;

  report = new_report(session_id, user, ACCT_INTERIM);
  report.num_b = 60;
  report.num_c = 1000;
  report.num_d = 20000;
  outcome = account("interim report", &report);
  if (outcome != TAKEN) return outcome;

  const char* text = rds_acct_term_cause_string(cause);
  printf("stopping: %s\n", text != NULL ? text : "unknown cause");
  report.code_a = ACCT_STOP;
  report.num_b = 90;
  report.num_e = cause;
  return account("stop", &report);
}

/* 0 for what is not a code. */
static uint32_t parse_cause(const char* text) {
  char* end = NULL;
  errno = 0;
  const unsigned long cause = strtoul(text, &end, 10);
  return errno != 0 || *end != '\0' || cause > UINT32_MAX ? 0 : (uint32_t)cause;
}

int main(int argc, char** argv) {
  const uint32_t cause = argc == 3 ? parse_cause(argv[2]) : 0;
  if (cause == 0 || strlen(argv[1]) >= sizeof((acct_info*)0)->chars65_a) {
    fprintf(stderr, "usage: %s USER CAUSE\n", argv[0]);
    return FAILED;
  }
  const reg_info registration = {.model_name = "accounting"};
  if (aaa_svr_reg(&registration) != 0) {
    fputs("accounting: cannot register, is there a directory below TMPDIR to work in?\n", stderr);
    return FAILED;
  }
  int outcome = FAILED;
  if (aaa_is_alive()) {
    outcome = account_session(argv[1], cause);
  } else {
    fputs("accounting: aaad does not run\n", stderr);
  }
  if (aaa_svr_dereg() != 0) {
    fputs("accounting: aaad did not take the farewell\n", stderr);
    outcome = FAILED;
  }
  return outcome;
}
