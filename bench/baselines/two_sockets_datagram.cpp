// As two_sockets_callback, but the thread sends the body to the requesting thread through a pair of
// datagram sockets. Same options.
#include <sys/socket.h>

#include "baselines/two_sockets.h"
#include "support/workload.h"

namespace {

class TwoSocketsDatagram : public bench::Workload {
 public:
  explicit TwoSocketsDatagram(const bench::Options& options)
      : request_(
            bench::blank_frame(AAA_MSG_AUTHEN_REQ, options.number("bytes", bench::usual_body))),
        datagrams_(bench::make_pair(SOCK_DGRAM)) {
    bench::PeerSettings settings;
    settings.result_length = options.number("bytes", bench::usual_body);
    const bench::TwoSockets sockets = bench::start_peer(settings);
    request_socket_ = sockets.request;
    bench::start_receiver(sockets.event, options.number("reads", 2),
                          [this](const std::uint8_t* body, std::size_t length) {
                            send(datagrams_.server, body, length, MSG_NOSIGNAL);
                          });
  }

  void run(std::size_t operations) override {
    std::uint8_t body[4096];
    for (std::size_t i = 0; i < operations; i++) {
      bench::send_all(request_socket_, request_.data(), request_.size());
      bench::wait_readable(datagrams_.client);
      recv(datagrams_.client, body, sizeof body, 0);
    }
  }

 private:
  bench::Bytes request_;
  bench::SocketPair datagrams_;
  int request_socket_ = -1;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<TwoSocketsDatagram>(options);
  });
}
