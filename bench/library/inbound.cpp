// Messages of the daemon. --bytes: of a body; from 1,433 on it is a result, below a message of type
// 123. --pause N: one message every N microseconds.
#include <semaphore.h>

#include <atomic>

#include "library/client.h"
#include "support/event_source.h"
#include "support/records.h"
#include "support/workload.h"

namespace {

constexpr std::size_t least_result = 1433;

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

bench::Bytes message_of(std::size_t body_length) {
  if (body_length < least_result) return bench::blank_frame(AAA_MSG_DEL_MSG_REQ, body_length);
  const bench::Bytes body = bench::typical_result(body_length);
  return bench::frame(AAA_MSG_NOTIFY_RESULT, 1, body.data(), body.size());
}

class Inbound : public bench::Workload {
 public:
  explicit Inbound(const bench::Options& options) {
    sem_init(&all_taken, 0, 0);
    reg_info info = {};
    info.notify_result_cb = note_result;
    info.del_msg_req_cb = note_deletion;
    bench::register_with_peer(info, [&](int, int event_socket) {
      source_.serve(event_socket, message_of(options.number("bytes", bench::usual_body)),
                    options.number("pause", 0));
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
