// soak_client MODEL plain|batch|wait: registers and says so, keeps some threads busy until its
// standard input ends, leaves, and says on standard error what went wrong. Status 0 when nothing
// did.
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "soak/link_events.h"
#include "soak/load.h"
#include "support/eventually.h"

namespace {

constexpr std::uint32_t session_ids = 5;  // that the daemon grants at a time

soak::SessionLedger ledger(session_ids);

reg_info client(std::string_view model, std::string_view kind) {
  reg_info info = {};
  model.copy(info.model_name, sizeof info.model_name - 1);
  info.use_send_buf = kind == "batch" ? 1 : 0;
  info.notify_result_cb = kind == "wait" ? nullptr : soak::SessionLedger::note_result;
  info.aaa_event_cb = soak::note_link_event;
  return info;
}

void wait_for_end_of_input() {
  char ignored;
  while (read(STDIN_FILENO, &ignored, 1) > 0) {
  }
}

void expect_in_time(bool (*condition)(), const char* otherwise) {
  if (!test::eventually(condition)) ledger.complain(otherwise);
}

int report() {
  std::vector<std::string> complaints = ledger.complaints();
  for (const std::string& complaint : soak::link_event_complaints())
    complaints.push_back(complaint);
  for (const std::string& complaint : complaints)
    std::fprintf(stderr, "%s\n", complaint.c_str());
  std::printf("%zu ids, %zu requests, %zu answers, %zu losses\n", ledger.ids(), ledger.requests(),
              ledger.answers(), soak::link_events(AAA_EVENT_CONNECTION_LOST));
  return complaints.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string_view kind = argv[2];
  const reg_info info = client(argv[1], kind);
  if (aaa_svr_reg(&info) != 0) return 3;
  std::puts("registered");
  std::fflush(stdout);
  soak::ClientLoad load(ledger, {.threads = 3,
                                 .waits_for_results = kind == "wait",
                                 .result_timeout_seconds = 1,
                                 .pause = std::chrono::microseconds(2000),
                                 .seed = static_cast<std::uint32_t>(getpid())});
  load.start();
  wait_for_end_of_input();
  expect_in_time([] { return aaa_is_alive() == 1; }, "not registered at the end");
  expect_in_time([] { return ledger.answers() > 0; }, "nothing was ever answered");
  load.stop();
  expect_in_time([] { return aaa_svr_dereg() == 0; }, "could not leave");
  return report();
}
