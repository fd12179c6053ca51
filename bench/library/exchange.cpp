// The synchronous exchange, 8 bytes each way. The peer grants one session id at a time, so that
// every call asks it.
#include <stdexcept>

#include "library/client.h"
#include "support/fast_peer.h"
#include "support/workload.h"

namespace {

class Exchange : public bench::Workload {
 public:
  Exchange() {
    bench::register_with_peer({}, [](int request_socket, int event_socket) {
      bench::FastPeer(request_socket, event_socket, {}).serve();
    });
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      if (aaa_get_session_id() == 0) throw std::runtime_error("no session id");
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv,
                         [](const bench::Options&) { return std::make_unique<Exchange>(); });
}
