/*
 * accounting [-w SECONDS] [-t SECONDS] USER CAUSE
 *
 * Sends aaad the accounting of one session: start, an interim report, and stop with a terminate
 * cause, given by its code. Exit status: 0 aaad accepted every report, 1 it refused one, 2 any
 * other failure.
 */
#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

#include "answers.h"
#include "arguments.h"
#include "connection.h"

enum { TAKEN = 0, REFUSED = 1, FAILED = 2 };

/*
 * The meaning of the generic fields is agreed with aaad, too. Here code_a is the kind of report, as
 * in RADIUS, num_b the seconds, num_c and num_d the bytes in and out, num_e the terminate cause.
 */
enum { ACCT_START = 1, ACCT_STOP = 2, ACCT_INTERIM = 3 };

static acct_info new_report(uint32_t session_id, const char* user, uint32_t kind) {
  acct_info report = {.session_id = session_id, .code_a = kind};
  (void)strncpy(report.chars65_a, user, sizeof report.chars65_a - 1);
  return report;
}

static int outcome_of(const result_info* result, uint32_t session_id) {
  if (!is_result_of(result, session_id)) {
    fputs("accounting: a result of another session\n", stderr);
    return FAILED;
  }
  switch (result->sub.num_a) {
    case RESULT_ACCEPT:
      return TAKEN;
    case RESULT_LINK_LOST:
      fputs("accounting: the link to aaad was lost\n", stderr);
      return FAILED;
    default:
      fprintf(stderr, "accounting: aaad answers with result %u\n", (unsigned)result->sub.num_a);
      return REFUSED;
  }
}

static int wait_for_result(uint32_t session_id, uint32_t timeout) {
  result_info* result = NULL;
  if (aaa_user_get_result(session_id, 0, timeout, &result) != 0) {
    fprintf(stderr, "accounting: no answer within %u seconds\n", (unsigned)timeout);
    return FAILED;
  }
  const int outcome = outcome_of(result, session_id);
  aaa_free_result_info(result);
  return outcome;
}

static int account(const char* what, acct_info* report, uint32_t timeout) {
  const int32_t sent = aaa_user_req_acct(report);
  if (sent != 0) {
    fprintf(stderr, "accounting: the %s was not sent: %s\n", what, strerror(-sent));
    return FAILED;
  }
  const int outcome = wait_for_result(report->session_id, timeout);
  if (outcome == TAKEN) printf("%s taken\n", what);
  return outcome;
}

static int account_session(const char* user, uint32_t cause, uint32_t timeout) {
  const uint32_t session_id = aaa_get_session_id();
  if (session_id == 0) {
    fputs("accounting: aaad grants no session id\n", stderr);
    return FAILED;
  }

  acct_info report = new_report(session_id, user, ACCT_START);
  int outcome = account("start", &report, timeout);
  if (outcome != TAKEN) return outcome;

  report = new_report(session_id, user, ACCT_INTERIM);
  report.num_b = 60;
  report.num_c = 1000;
  report.num_d = 20000;
  outcome = account("interim report", &report, timeout);
  if (outcome != TAKEN) return outcome;

  const char* text = rds_acct_term_cause_string(cause);
  printf("stopping: %s\n", text != NULL ? text : "unknown cause");
  report.code_a = ACCT_STOP;
  report.num_b = 90;
  report.num_e = cause;
  return account("stop", &report, timeout);
}

int main(int argc, char** argv) {
  unsigned long patience = 10;
  unsigned long timeout = 30;
  unsigned long cause = 0;
  const command_line line = {
      .name = "accounting",
      .usage = "[-w SECONDS] [-t SECONDS] USER CAUSE",
      .help =
          "Sends the accounting of a session: start, interim report, stop with a terminate cause.\n"
          "TMPDIR is the directory that aaad uses.\n"
          "  -w SECONDS  time limit for registering with aaad, default 10\n"
          "  -t SECONDS  time limit for each result, at most 120, default 30\n"
          "Exit status: 0 aaad accepted every report, 1 it refused one, 2 any other failure.\n",
      .operands = 2,
      .letters = "w:t:h",
      .numbers = {{'w', 1, 3600, &patience}, {'t', 1, 120, &timeout}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : FAILED;
  const char* const user = argv[optind];
  if (!parse_number(argv[optind + 1], 1, UINT32_MAX, &cause) ||
      strlen(user) >= sizeof((acct_info*)0)->chars65_a) {
    print_usage(&line, stderr);
    return FAILED;
  }

  if (!connect_to_aaad("accounting", patience)) return FAILED;
  const int outcome = account_session(user, (uint32_t)cause, (uint32_t)timeout);
  return disconnect_from_aaad("accounting") ? outcome : FAILED;
}
