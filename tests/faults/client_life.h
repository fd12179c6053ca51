// Everything that a client does in its life, once: it registers, waits for results, asks all that
// it can ask, hears all that aaad can say, loses aaad and finds it again, and leaves; and the same
// once more, shorter, with batches and with results by callback.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "aaad_sim.h"
#include "faults/client_mode.h"
#include "faults/fault_injector.h"
#include "soak/notices.h"

namespace faults {

// What the life needs of aaad.
aaa_sim::Settings settings_for_life();
void prepare(aaa_sim::AaadSim& sim);

class ClientLife {
 public:
  ClientLife(ClientMode& mode, aaa_sim::AaadSim& sim, FaultInjector& faults)
      : mode_(mode), sim_(sim), faults_(faults) {}

  void live();
  // What did not go as it does in a life without faults.
  const std::vector<std::string>& complaints() const { return complaints_; }

  // Afterwards, with nothing failing any more: registers, unless it still is, and has a request
  // answered; when aaad is not heard, three minutes pass and it tries again. False when it does not
  // work in time.
  bool works_again();
  // Leaves aaad, whatever state the client is in.
  bool leaves();

 private:
  void step(const char* name, void (ClientLife::*act)());
  void check(bool is_right, const std::string& what);
  // Lets the library work until the condition holds. False when it does not in time.
  bool comes(const std::function<bool()>& condition);

  void register_waiting_client();
  void register_batching_client();
  void take_session_ids();
  void look_at_status();
  void send_one_way_requests();
  void make_exchanges();
  void fetch_user_with_passwords();
  void pass_over_foreign_result();
  void hear_notices();
  void beat();
  void wait_through_loss();
  void lose_aaad();
  void be_called_back();
  void fill_batches();
  void send_more_than_a_batch_holds();
  void leave_with_a_batch();
  void leave();

  bool registers(const reg_info& info);
  void let_results_come(std::uint32_t count);
  void wait_for_result(std::uint32_t code);
  bool is_called_back();
  void regain_aaad(std::size_t losses);

  ClientMode& mode_;
  aaa_sim::AaadSim& sim_;
  FaultInjector& faults_;
  const std::vector<soak::Notice> notices_ = soak::all_notices();
  bool runs_ = false;  // or has run and been left
  const char* step_ = "";
  std::uint32_t results_before_step_ = 0;
  std::vector<std::string> complaints_;
};

}  // namespace faults
