// A request with 1,500 bytes each way over ZeroMQ's request and reply sockets on a Unix socket.
// --bytes: of each body.
#include <unistd.h>
#include <zmq.h>

#include <stdexcept>
#include <string>

#include "support/records.h"
#include "support/server_process.h"
#include "support/workload.h"

namespace {

void serve(const std::string& address, const bench::Bytes& body) {
  void* const socket = zmq_socket(zmq_ctx_new(), ZMQ_REP);
  if (zmq_bind(socket, address.c_str()) != 0) return;
  bench::Bytes request(body.size());
  while (zmq_recv(socket, request.data(), request.size(), 0) > 0)
    zmq_send(socket, body.data(), body.size(), 0);
}

class ZeroMq : public bench::Workload {
 public:
  explicit ZeroMq(const bench::Options& options)
      : body_(options.number("bytes", bench::usual_body)), reply_(body_.size()) {
    const std::string address = "ipc://@aaa-bench-zeromq-" + std::to_string(getpid());
    bench::start_server([&] { serve(address, body_); });
    socket_ = zmq_socket(zmq_ctx_new(), ZMQ_REQ);
    if (zmq_connect(socket_, address.c_str()) != 0) throw std::runtime_error("cannot connect");
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++) {
      zmq_send(socket_, body_.data(), body_.size(), 0);
      zmq_recv(socket_, reply_.data(), reply_.size(), 0);
    }
  }

 private:
  bench::Bytes body_;
  bench::Bytes reply_;
  void* socket_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<ZeroMq>(options); });
}
