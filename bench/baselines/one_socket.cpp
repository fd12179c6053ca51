// A request and its answer on one stream socket, without a thread. --bytes: of each body.
// --reads 1: one read for the answer.
#include <vector>

#include "support/fast_peer.h"
#include "support/server_process.h"
#include "support/sockets.h"
#include "support/workload.h"

namespace {

class OneSocket : public bench::Workload {
 public:
  explicit OneSocket(const bench::Options& options)
      : request_(bench::blank_frame(AAA_MSG_GET_SESSION_ID, options.number("bytes", 8))),
        answer_(request_.size()),
        reads_(options.number("reads", 2)) {
    const bench::SocketPair pair = bench::make_pair(SOCK_STREAM);
    bench::PeerSettings settings;
    settings.reply_length = options.number("bytes", 8);
    bench::start_server([&] { bench::FastPeer(pair.server, pair.server, settings).serve(); });
    socket_ = pair.client;
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      bench::send_all(socket_, request_.data(), request_.size());
      receive();
    }
  }

 private:
  void receive() {
    const std::size_t first = reads_ == 1 ? answer_.size() : bench::header_size;
    bench::receive_all(socket_, answer_.data(), first);
    bench::receive_all(socket_, answer_.data() + first, answer_.size() - first);
  }

  bench::Bytes request_;
  bench::Bytes answer_;
  std::size_t reads_;
  int socket_ = -1;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<OneSocket>(options);
  });
}
