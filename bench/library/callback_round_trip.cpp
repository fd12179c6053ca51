// A request, and its result in the result callback. --bytes: of each body.
#include "library/client.h"
#include "support/fast_peer.h"
#include "support/workload.h"

namespace {

class CallbackRoundTrip : public bench::Workload {
 public:
  explicit CallbackRoundTrip(const bench::Options& options)
      : requests_(options.number("bytes", bench::usual_body)) {
    bench::PeerSettings settings;
    settings.result_length = options.number("bytes", bench::usual_body);
    bench::register_with_peer(bench::CallbackRequests::registration(),
                              [&](int request_socket, int event_socket) {
                                bench::FastPeer(request_socket, event_socket, settings).serve();
                              });
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      requests_.send_and_wait();
  }

 private:
  bench::CallbackRequests requests_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<CallbackRoundTrip>(options);
  });
}
