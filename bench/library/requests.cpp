// Requests without results, until the peer has read them. --batched 1: through the send buffer.
// --bytes: of a body. --threads: how many send at the same time.
#include <stdexcept>
#include <thread>
#include <vector>

#include "library/client.h"
#include "support/fast_peer.h"
#include "support/workload.h"

namespace {

class Requests : public bench::Workload {
 public:
  explicit Requests(const bench::Options& options)
      : body_length_(options.number("bytes", bench::usual_body)),
        threads_(options.number("threads", 1)) {
    reg_info info = {};
    info.use_send_buf = options.number("batched", 0) != 0;
    bench::PeerSettings settings;
    settings.tally = &tally_;
    bench::register_with_peer(info, [&](int request_socket, int event_socket) {
      bench::FastPeer(request_socket, event_socket, settings).serve();
    });
  }

  void run(std::size_t operations) override {
    const std::size_t share = operations / threads_;
    tally_.expect(share * threads_);
    std::vector<std::thread> others;
    for (std::size_t i = 1; i < threads_; i++)
      others.emplace_back([=, this] { send(share); });
    send(share);
    for (std::thread& other : others)
      other.join();
    tally_.wait();
  }

 private:
  void send(std::size_t requests) const {
    authen_info request = bench::typical_request(body_length_);
    for (std::size_t i = 0; i < requests; i++) {
      if (aaa_user_req_authen(&request) != 0) throw std::runtime_error("not sent");
    }
  }

  std::size_t body_length_;
  std::size_t threads_;
  bench::Tally tally_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<Requests>(options);
  });
}
