// soak_client MODEL plain|batch|wait: registers, keeps some threads busy until its standard input
// ends, leaves, and says on standard error what went wrong. Status 0 when nothing did.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string_view>
#include <thread>

#include "aaa_client.h"
#include "soak/client_load.h"
#include "soak/link_events.h"

namespace {

using std::chrono::steady_clock;

constexpr std::uint32_t session_ids = 5;  // that the daemon grants at a time

soak::SessionLedger ledger(session_ids);

void note_result(result_info* result) {
  ledger.answered(result->sub.session_id);
}

reg_info client(std::string_view model, std::string_view kind) {
  reg_info info = {};
  model.copy(info.model_name, sizeof info.model_name - 1);
  info.use_send_buf = kind == "batch" ? 1 : 0;
  info.notify_result_cb = kind == "wait" ? nullptr : note_result;
  info.aaa_event_cb = soak::note_link_event;
  return info;
}

void wait_for_end_of_input() {
  char ignored;
  while (read(STDIN_FILENO, &ignored, 1) > 0) {
  }
}

bool wait_until_registered() {
  const auto deadline = steady_clock::now() + std::chrono::seconds(10);
  while (aaa_is_alive() == 0 && steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return aaa_is_alive() == 1;
}

int report(const char* model) {
  int problems = 0;
  const auto print_all = [&](const std::vector<std::string>& complaints) {
    for (const std::string& complaint : complaints)
      std::fprintf(stderr, "%s: %s\n", model, complaint.c_str());
    problems += static_cast<int>(complaints.size());
  };
  print_all(ledger.complaints());
  print_all(soak::link_event_complaints());
  std::printf("%zu ids, %zu requests, %zu answers, %zu losses\n", ledger.ids(), ledger.requests(),
              ledger.answers(), soak::link_events(AAA_EVENT_CONNECTION_LOST));
  return problems == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string_view kind = argv[2];
  const reg_info info = client(argv[1], kind);
  if (aaa_svr_reg(&info) != 0) return 3;
  soak::ClientLoad load(ledger, {.threads = 3,
                                 .waits_for_results = kind == "wait",
                                 .result_timeout_seconds = 1,
                                 .pause = std::chrono::microseconds(2000),
                                 .seed = static_cast<std::uint32_t>(getpid())});
  load.start();
  wait_for_end_of_input();
  if (!wait_until_registered()) ledger.complain("not registered at the end");
  load.stop();
  if (aaa_svr_dereg() != 0) ledger.complain("could not leave");
  if (ledger.answers() == 0) ledger.complain("nothing was ever answered");
  return report(argv[1]);
}
