// What tests of registration and deregistration share.
#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "runtime/receive/receive_thread.h"
#include "runtime/send/send_buffer.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "support/library_test.h"
#include "support/lock_check.h"
#include "support/scripted_calls.h"
#include "support/socket_pair.h"
#include "transport/message_endpoints.h"

namespace test {

using aaa_sim::Direction;
using aaa_sim::Fault;
using aaa_sim::Message;
using aaa_sim::received;
using aaa_sim::Role;

// Lets every start of a thread succeed without one: what registration leaves then stays as it is.
inline Scripts without_threads() {
  return {.pthread_create = [] { return 0; }};
}

// A script of calls on the request or event socket that leaves other descriptors alone.
template <class Answer>
std::optional<ssize_t> only_on(int fd, int called_on, Answer answer) {
  if (fd != called_on) return std::nullopt;
  return answer();
}

inline std::string bytes_of(const Message& message) {
  return {message.bytes.begin(), message.bytes.end()};
}

// Ten status words, each different.
inline aaa_status distinct_status() {
  return {.new_model = 11,
          .acct_period = 12,
          .acct_status = 13,
          .debug = 0,
          .debug_msg_limit = 15,
          .pro_status = 16,
          .local_user_public_account = 17,
          .acct_start_fail_policy = 18,
          .login_service_check_mode = 19,
          .aaa_id_limit = 20};
}

// Sixteen callbacks that differ and are never called.
inline reg_info with_all_callbacks(reg_info info, std::uintptr_t base = 0x1000) {
  const auto pick = [&](auto& slot, std::uintptr_t n) {
    slot = reinterpret_cast<std::remove_reference_t<decltype(slot)>>(base + n);
  };
  pick(info.notify_result_cb, 0);
  pick(info.reserved_cb, 1);
  pick(info.notify_del_msg_cb, 2);
  pick(info.notify_coa_req_cb, 3);
  pick(info.ldap_search_result_cb, 4);
  pick(info.authen_group_req_cb, 5);
  pick(info.author_group_req_cb, 6);
  pick(info.acct_group_req_cb, 7);
  pick(info.del_msg_req_cb, 8);
  pick(info.gs_valid_req_cb, 9);
  pick(info.get_online_info_cb, 10);
  pick(info.enable_authen_cb, 11);
  pick(info.add_radext_result_cb, 12);
  pick(info.localeap_authen_cb, 13);
  pick(info.ldap_search_entry_req_cb, 14);
  return info;
}

// The connection record's callbacks but those of LDAP searches and the event callback.
inline std::vector<std::uintptr_t> ordinary_callbacks() {
  const aaa_client_cb& cb = g_aaa_client_cb;
  const auto number = [](auto slot) { return reinterpret_cast<std::uintptr_t>(slot); };
  return {number(cb.notify_result_cb),    number(cb.reserved_cb),
          number(cb.notify_del_msg_cb),   number(cb.notify_coa_req_cb),
          number(cb.authen_group_req_cb), number(cb.author_group_req_cb),
          number(cb.acct_group_req_cb),   number(cb.del_msg_req_cb),
          number(cb.gs_valid_req_cb),     number(cb.get_online_info_cb),
          number(cb.enable_authen_cb),    number(cb.add_radext_result_cb),
          number(cb.localeap_authen_cb)};
}
inline std::vector<std::uintptr_t> ldap_callbacks() {
  return {reinterpret_cast<std::uintptr_t>(g_aaa_client_cb.ldap_search_result_cb),
          reinterpret_cast<std::uintptr_t>(g_aaa_client_cb.ldap_search_entry_req_cb)};
}
inline std::vector<std::uintptr_t> numbers_from(std::uintptr_t base,
                                                std::vector<std::uintptr_t> offsets) {
  for (std::uintptr_t& offset : offsets)
    offset += base;
  return offsets;
}
inline std::vector<std::uintptr_t> ordinary_numbers(std::uintptr_t base = 0x1000) {
  return numbers_from(base, {0, 1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13});
}
inline std::vector<std::uintptr_t> ldap_numbers(std::uintptr_t base = 0x1000) {
  return numbers_from(base, {4, 14});
}

// A simulated aaad. What a test leaves open is closed.
class SessionTest : public SimulatedTest {
 protected:
  void TearDown() override {
    stop_library();
    aaa_lib_client_close();
    aaa::set_reg_state(AAA_REG_NOT_REGISTERED);
    SimulatedTest::TearDown();
  }

  // The debug gate stays open after aaad's status words have arrived.
  void keep_gate_open() {
    sim_.change([](aaa_sim::Settings& settings) { settings.status.debug = 1; });
  }

  // Registers and leaves the library without threads.
  void register_quietly(const reg_info& info = client()) {
    const ScriptedCalls calls(without_threads());
    register_client(info);
  }

  // What arrived at aaad from the clients, in order.
  std::vector<Message> arrived() {
    std::vector<Message> messages;
    for (const Message& message : sim_.messages())
      if (message.direction == Direction::received) messages.push_back(message);
    return messages;
  }

  std::string sync_fd() const { return std::to_string(g_aaa_client_cb.sync_fd); }
  std::string async_fd() const { return std::to_string(g_aaa_client_cb.async_fd); }
};

// The same with the debug gate open, whatever status aaad sends.
class LoggedSessionTest : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    keep_gate_open();
    gate_.emplace();
  }
  void TearDown() override {
    gate_.reset();
    SessionTest::TearDown();
  }

 private:
  std::optional<OpenGate> gate_;
};

inline void expect_unconnected() {
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(-1, g_aaa_client_cb.async_fd);
}

}  // namespace test
