// The two ways in which a client runs: with the threads of the library, or on an event loop.
#pragma once

#include <poll.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "agent/fake_loop.h"
#include "faults/fault_injector.h"

namespace faults {

class ClientMode {
 public:
  virtual ~ClientMode() = default;

  // Registers. False when nothing runs then; aaad need not have been reached.
  virtual bool start(const reg_info& info) = 0;
  virtual void finish() = 0;

  // Lets the library work until the condition holds.
  virtual void work_until(const std::function<bool()>& condition) = 0;
  // After more than three minutes: a client that has not heard of aaad meanwhile leaves it and
  // connects anew.
  virtual void notice_silence(aaa_sim::AaadSim& sim) = 0;
  virtual void beat() = 0;
  // Whether messages are read, and losses noticed, while the client waits for a result.
  virtual bool reads_meanwhile() const = 0;

 protected:
  static constexpr std::chrono::microseconds short_pause{100};
};

class ThreadMode : public ClientMode {
 public:
  bool start(const reg_info& info) override { return aaa_svr_reg(&info) == 0; }
  void finish() override { aaa_svr_dereg(); }

  void work_until(const std::function<bool()>& condition) override {
    while (!condition())
      std::this_thread::sleep_for(short_pause);
  }

  // The receive thread looks at the time whenever it has something to read.
  void notice_silence(aaa_sim::AaadSim& sim) override {
    sim.send_message({}, aaa_sim::Role::event, AAA_MSG_MLIST_CHANGE, 0);
  }
  void beat() override {}
  bool reads_meanwhile() const override { return true; }
};

class AgentMode : public ClientMode {
 public:
  bool start(const reg_info& info) override { return aaa_agent_init(&info, loop_.master()) == 0; }
  void finish() override { aaa_agent_finish(); }

  void work_until(const std::function<bool()>& condition) override {
    while (!condition())
      run_what_is_ready();
  }

  void notice_silence(aaa_sim::AaadSim&) override { beat(); }
  void beat() override { run_if_scheduled("aaa-heartbeat"); }
  bool reads_meanwhile() const override { return false; }

 private:
  void run_what_is_ready() {
    run_if_scheduled("aaa-connect");
    run_if_scheduled("aaa-reconnect");
    if (!is_scheduled("aaa-read"))
      std::this_thread::sleep_for(short_pause);
    else if (has_something_to_read())
      loop_.run("aaa-read");
  }

  bool has_something_to_read() {
    const test::UnscriptedCalls scope;
    pollfd watched = {static_cast<int>(loop_.task("aaa-read").number), POLLIN, 0};
    return ::poll(&watched, 1, 1) > 0;
  }
  bool is_scheduled(const std::string& name) const {
    const auto names = loop_.names();
    return std::ranges::find(names, name) != names.end();
  }
  void run_if_scheduled(const std::string& name) {
    if (is_scheduled(name)) loop_.run(name);
  }

  test::FakeLoop loop_;
};

enum class ModeName { threads, agent };

inline std::unique_ptr<ClientMode> make_mode(ModeName name) {
  if (name == ModeName::agent) return std::make_unique<AgentMode>();
  return std::make_unique<ThreadMode>();
}

}  // namespace faults
