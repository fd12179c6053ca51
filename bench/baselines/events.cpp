// Messages of the daemon, received with poll, a read of the header and a read of the body each.
// --bytes: of a body. --reads 1: one read for all that has arrived. --pause: as in library_inbound.
#include <semaphore.h>

#include "baselines/two_sockets.h"
#include "support/event_source.h"
#include "support/records.h"
#include "support/server_process.h"
#include "support/sockets.h"
#include "support/workload.h"

namespace {

class Events : public bench::Workload {
 public:
  explicit Events(const bench::Options& options) {
    sem_init(&all_taken_, 0, 0);
    const bench::SocketPair pair = bench::make_pair(SOCK_STREAM);
    const bench::Bytes message =
        bench::blank_frame(AAA_MSG_NOTIFY_RESULT, options.number("bytes", bench::usual_body));
    bench::start_server([&] { source_.serve(pair.server, message, options.number("pause", 0)); });
    bench::start_receiver(pair.client, options.number("reads", 2),
                          [this](const std::uint8_t*, std::size_t) { count_one(); });
  }

  void run(std::size_t operations) override {
    expected_ = operations;
    source_.ask_for(operations);
    sem_wait(&all_taken_);
  }

 private:
  void count_one() {
    if (--expected_ == 0) sem_post(&all_taken_);
  }

  bench::EventSource source_;
  std::size_t expected_ = 0;
  sem_t all_taken_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Events>(options); });
}
