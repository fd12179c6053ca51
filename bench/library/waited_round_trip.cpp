// A request, and its result for the waiting thread. --bytes: of each body.
#include <stdexcept>

#include "library/client.h"
#include "support/fast_peer.h"
#include "support/workload.h"

namespace {

constexpr std::uint32_t limit_seconds = 10;

class WaitedRoundTrip : public bench::Workload {
 public:
  explicit WaitedRoundTrip(const bench::Options& options)
      : request_(bench::typical_request(options.number("bytes", bench::usual_body))) {
    bench::PeerSettings settings;
    settings.result_length = options.number("bytes", bench::usual_body);
    bench::register_with_peer({}, [&](int request_socket, int event_socket) {
      bench::FastPeer(request_socket, event_socket, settings).serve();
    });
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      result_info* result = nullptr;
      if (aaa_user_req_authen(&request_) != 0 ||
          aaa_user_get_result(request_.session_id, 0, limit_seconds, &result) != 0) {
        throw std::runtime_error("no result");
      }
      aaa_free_result_info(result);
    }
  }

 private:
  authen_info request_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<WaitedRoundTrip>(options);
  });
}
