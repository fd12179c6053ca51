// A method call with 1,500 bytes each way over sd-bus, peer to peer. The caller waits for the reply
// itself, without a receive thread. --bytes: of each body.
#include <systemd/sd-bus.h>

#include <stdexcept>

#include "support/records.h"
#include "support/server_process.h"
#include "support/sockets.h"
#include "support/workload.h"

namespace {

constexpr char object[] = "/aaa";
constexpr char interface[] = "aaa.Bench";
constexpr char method[] = "Authenticate";

void check(int result) {
  if (result < 0) throw std::runtime_error("sd-bus fails");
}

sd_bus* open_bus(int fd) {
  sd_bus* bus = nullptr;
  check(sd_bus_new(&bus));
  check(sd_bus_set_fd(bus, fd, fd));
  return bus;
}

int answer(sd_bus_message* call, void* body, sd_bus_error*) {
  const void* request = nullptr;
  std::size_t length = 0;
  check(sd_bus_message_read_array(call, 'y', &request, &length));
  sd_bus_message* reply = nullptr;
  check(sd_bus_message_new_method_return(call, &reply));
  const auto& bytes = *static_cast<bench::Bytes*>(body);
  check(sd_bus_message_append_array(reply, 'y', bytes.data(), bytes.size()));
  check(sd_bus_send(nullptr, reply, nullptr));
  sd_bus_message_unref(reply);
  return 1;
}

void serve(int fd, bench::Bytes body) {
  sd_bus* const bus = open_bus(fd);
  sd_id128_t id = {};
  check(sd_id128_randomize(&id));
  check(sd_bus_set_server(bus, 1, id));
  check(sd_bus_start(bus));
  check(sd_bus_add_object(bus, nullptr, object, answer, &body));
  while (true) {
    const int processed = sd_bus_process(bus, nullptr);
    check(processed);
    if (processed == 0) check(sd_bus_wait(bus, UINT64_MAX));
  }
}

class SdBus : public bench::Workload {
 public:
  explicit SdBus(const bench::Options& options)
      : body_(options.number("bytes", bench::usual_body)) {
    const bench::SocketPair pair = bench::make_pair(SOCK_STREAM);
    bench::start_server([&] { serve(pair.server, body_); });
    bus_ = open_bus(pair.client);
    check(sd_bus_start(bus_));
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      call();
  }

 private:
  void call() {
    sd_bus_message* request = nullptr;
    check(sd_bus_message_new_method_call(bus_, &request, nullptr, object, interface, method));
    check(sd_bus_message_append_array(request, 'y', body_.data(), body_.size()));
    sd_bus_message* reply = nullptr;
    check(sd_bus_call(bus_, request, 0, nullptr, &reply));
    const void* body = nullptr;
    std::size_t length = 0;
    check(sd_bus_message_read_array(reply, 'y', &body, &length));
    sd_bus_message_unref(reply);
    sd_bus_message_unref(request);
  }

  bench::Bytes body_;
  sd_bus* bus_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<SdBus>(options); });
}
