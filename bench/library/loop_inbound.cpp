// Messages of the daemon in agent mode, on an event loop of the host. --bytes: of a body, see
// inbound_message.h.
#include <zv_host.h>

#include <cstring>
#include <stdexcept>

#include "library/client.h"
#include "library/inbound_message.h"
#include "support/event_source.h"
#include "support/workload.h"

namespace {

zv_thread_master* const loop = zv_host_create();
std::size_t expected;

void count_one() {
  if (--expected == 0) zv_host_stop(loop);
}

void note_result(result_info*) {
  count_one();
}

void note_deletion(std::uint32_t, std::uint32_t, std::uint32_t) {
  count_one();
}

int note_event(std::uint32_t) {
  zv_host_stop(loop);
  return 0;
}

void run_loop() {
  if (zv_host_run(loop) != 0) throw std::runtime_error("the loop failed");
}

void register_on_loop(reg_info info) {
  std::strcpy(info.model_name, "bench");
  if (aaa_agent_init(&info, loop) != 0) throw std::runtime_error("not started");
  run_loop();
  if (aaa_is_alive() == 0) throw std::runtime_error("not registered");
}

class LoopInbound : public bench::Workload {
 public:
  explicit LoopInbound(const bench::Options& options) {
    reg_info info = {};
    info.notify_result_cb = note_result;
    info.del_msg_req_cb = note_deletion;
    info.aaa_event_cb = note_event;
    bench::register_with_peer(
        info,
        [&](int, int event_socket) {
          source_.serve(event_socket, bench::inbound_message(options), 0);
        },
        register_on_loop);
  }

  void run(std::size_t operations) override {
    expected = operations;
    source_.ask_for(operations);
    run_loop();
  }

 private:
  bench::EventSource source_;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(argc, argv, [](const bench::Options& options) {
    return std::make_unique<LoopInbound>(options);
  });
}
