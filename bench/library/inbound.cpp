// Messages of the daemon. --bytes: of a body, see inbound_message.h. --pause N: one message every N
// microseconds.
#include <semaphore.h>

#include <atomic>

#include "library/client.h"
#include "library/inbound_message.h"
#include "support/event_source.h"
#include "support/workload.h"

namespace {

std::atomic<std::size_t> expected;
sem_t all_taken;

void count_one() {
  if (expected.fetch_sub(1, std::memory_order_relaxed) == 1) sem_post(&all_taken);
}

void note_result(result_info*) {
  count_one();
}

void note_deletion(std::uint32_t, std::uint32_t, std::uint32_t) {
  count_one();
}

class Inbound : public bench::Workload {
 public:
  explicit Inbound(const bench::Options& options) {
    sem_init(&all_taken, 0, 0);
    reg_info info = {};
    info.notify_result_cb = note_result;
    info.del_msg_req_cb = note_deletion;
    bench::register_with_peer(info, [&](int, int event_socket) {
      source_.serve(event_socket, bench::inbound_message(options), options.number("pause", 0));
    });
  }

  void run(std::size_t operations) override {
    expected = operations;
    source_.ask_for(operations);
    sem_wait(&all_taken);
  }

 private:
  bench::EventSource source_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Inbound>(options); });
}
