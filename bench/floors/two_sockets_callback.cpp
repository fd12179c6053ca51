// A request on one socket, its answer on a second one, read by a thread that calls back. --bytes:
// of both bodies. --reads 1: the thread reads all that is there.
#include "floors/raw_callback_requests.h"
#include "support/contender.h"

namespace {

class TwoSocketsCallback : public bench::Contender {
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
  return bench::contend(argc, argv, [](const bench::Options& options) {
    return std::make_unique<TwoSocketsCallback>(options.number("bytes", bench::usual_body),
                                                options.number("reads", 2));
  });
}
