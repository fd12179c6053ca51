// A request on one socket, its answer on a second one, where a thread receives it and calls back.
// --bytes: of each body. --reads 1: one read for all that has arrived.
#include "baselines/two_sockets.h"
#include "support/workload.h"

namespace {

class TwoSocketsCallback : public bench::Workload {
 public:
  TwoSocketsCallback(std::size_t body_length, std::size_t reads)
      : requests_(bench::start_peer({.result_length = body_length}), body_length, reads) {}

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      requests_.send_and_wait();
  }

 private:
  bench::RawCallbackRequests requests_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<TwoSocketsCallback>(options.number("bytes", bench::usual_body),
                                                options.number("reads", 2));
  });
}
