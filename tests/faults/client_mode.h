// The two ways in which a client runs: with the threads of the library, or on an event loop.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "aaa_client.h"
#include "aaad_sim.h"

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
};

enum class ModeName { threads, agent };

std::unique_ptr<ClientMode> make_mode(ModeName name);
std::string text_of(ModeName name);

}  // namespace faults
