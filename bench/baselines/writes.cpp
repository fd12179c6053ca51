// Requests, encoded by the library and written, until the peer has read them. --together N: N
// requests in one write. --framed 1: each is first copied into a block of its own with its header.
// --bytes: of a body. --receiver 1: beside a thread that receives from a second socket.
#include <cstdlib>
#include <cstring>

#include "baselines/two_sockets.h"
#include "support/workload.h"

namespace {

class Writes : public bench::Workload {
 public:
  explicit Writes(const bench::Options& options)
      : record_(bench::typical_request(options.number("bytes", bench::usual_body))),
        together_(options.number("together", 1)),
        framed_(options.number("framed", 0) != 0) {
    bench::PeerSettings settings;
    settings.tally = &tally_;
    const bench::TwoSockets sockets = bench::start_peer(settings);
    socket_ = sockets.request;
    if (options.number("receiver", 0) != 0)
      bench::start_receiver(sockets.event, 2, [](const std::uint8_t*, std::size_t) {});
  }

  void run(std::size_t operations) override {
    tally_.expect(operations);
    for (std::size_t i = 1; i <= operations; i++) {
      add_request();
      if (i % together_ == 0 || i == operations) write();
    }
    tally_.wait();
  }

 private:
  void add_request() {
    void* body = nullptr;
    const std::uint32_t length = aaa_encap_authen_info(&record_, &body);
    const aaa_ipc_header header = {bench::marker, 1, AAA_MSG_AUTHEN_REQ, length};
    if (framed_) {
      add_framed(header, body);
    } else {
      add(&header, sizeof header);
      add(body, length);
    }
    aaa_free(0, "", body);
  }

  void add_framed(const aaa_ipc_header& header, const void* body) {
    const std::size_t size = sizeof header + header.length;
    auto* const block = static_cast<char*>(std::malloc(size));
    std::memcpy(block, &header, sizeof header);
    std::memcpy(block + sizeof header, body, header.length);
    if (together_ == 1) {
      bench::send_all(socket_, block, size);
    } else {
      add(block, size);
    }
    std::free(block);
  }

  void add(const void* bytes, std::size_t size) {
    std::memcpy(unwritten_ + size_, bytes, size);
    size_ += size;
  }

  void write() {
    bench::send_all(socket_, unwritten_, size_);
    size_ = 0;
  }

  authen_info record_;
  std::size_t together_;
  bool framed_;
  bench::Tally tally_;
  int socket_ = -1;
  std::uint8_t unwritten_[1 << 17];
  std::size_t size_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Writes>(options); });
}
