/*
 * The accounting reports of dot1x. One is sent, the next when it is answered: nothing but the
 * session id tells what a result answers. What cannot be sent while aaad is away is sent when dot1x
 * is registered again.
 */
#ifndef EXAMPLES_DOT1X_REPORTS_H
#define EXAMPLES_DOT1X_REPORTS_H

#include <aaa_client.h>
#include <stdio.h>
#include <string.h>

#include "connection.h"
#include "dot1x_requests.h"

/* Values of RADIUS attributes. */
typedef enum report_kind { ACCT_START = 1, ACCT_STOP = 2 } report_kind;
typedef enum end_cause {
  NOT_ENDED = 0,
  USER_REQUEST = 1,
  LOST_CARRIER = 2,
  LOST_SERVICE = 3,
  ADMIN_RESET = 6,
  ADMIN_REBOOT = 7,
  REAUTHENTICATION_FAILURE = 20
} end_cause;

enum { REPORTS_MAX = 16 };

typedef struct report {
  acct_info record;
  attribute class;
  long long made_at;
} report;

static struct {
  report waiting[REPORTS_MAX]; /* the first is the one that is sent, or will be next */
  int count;
  int is_sent;
  long long due; /* when the first is given up, or sent again if it is not sent; 0: there is none */
  long long answer_ms;
} reports;

static inline void print_fate(const acct_info* record, const char* fate) {
  printf("%s: accounting %s %s\n", record->chars65_a,
         record->code_a == ACCT_START ? "start" : "stop", fate);
}

static inline void send_first_report(void) {
  report* const first = reports.waiting;
  const long long now = now_ms();
  reports.is_sent = 0;
  reports.due = 0;
  if (reports.count == 0) return;
  first->record.class = item_of(&first->class);
  first->record.num_h = (uint32_t)((now - first->made_at) / 1000);
  reports.is_sent = was_sent(first->record.chars65_a, aaa_user_req_acct(&first->record));
  reports.due = now + reports.answer_ms;
}

static inline void end_first_report(const char* fate) {
  print_fate(&reports.waiting->record, fate);
  --reports.count;
  (void)memmove(reports.waiting, reports.waiting + 1, (size_t)reports.count * sizeof(report));
  send_first_report();
}

/* Reports for how long the port has been open. */
static inline void add_report(const user_session* session, report_kind kind, uint32_t seconds,
                              end_cause cause) {
  report item = {
      .record = {.session_id = session->id, .code_a = kind, .num_b = seconds, .num_e = cause},
      .class = session->class,
      .made_at = now_ms()};
  (void)strcpy(item.record.chars65_a, session->user);
  (void)strcpy((char*)item.record.octets100_a, session->interface);
  (void)strcpy((char*)item.record.octets100_b, session->port_address);
  (void)strcpy((char*)item.record.octets128_a, session->user_address);
  if (reports.count == REPORTS_MAX) {
    print_fate(&item.record, "lost: too many wait");
    return;
  }
  reports.waiting[reports.count++] = item;
  if (reports.count == 1) send_first_report();
}

static inline int awaits_answer_to_report(uint32_t session_id) {
  return reports.is_sent && reports.waiting->record.session_id == session_id;
}

static inline void take_end_of_report(void) {
  if (reports.due == 0 || now_ms() < reports.due) return;
  if (reports.is_sent) {
    (void)aaa_clear_req_user(reports.waiting->record.session_id);
    end_first_report("not answered");
  } else {
    send_first_report();
  }
}

/* aaad forgets its requests when the link is lost. */
static inline void take_event_for_reports(uint32_t event) {
  if (event == AAA_EVENT_CONNECTION_LOST) reports.is_sent = 0;
  if (event == AAA_EVENT_REREGISTERED && !reports.is_sent) send_first_report();
}

static inline void print_reports_left(void) {
  for (int i = 0; i < reports.count; ++i)
    print_fate(&reports.waiting[i].record, "given up");
}

#endif
