// What clients have reported.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "radius/counters.h"
#include "wire/ldap.h"
#include "wire/message.h"

namespace aaa_sim {

struct RegisteredGroup {
  std::uint32_t w0 = 0;
  std::uint32_t w1 = 0;

  bool operator==(const RegisteredGroup&) const = default;
};

// A user that was synchronised (10), restored (11) or synchronised for a hot backup (20).
struct KnownUser {
  std::array<std::uint32_t, 4> words{};  // of the last message 10
  Bytes record = {};                     // the 392 bytes of the last message 11 or 20

  // At byte 16 of the record; "-" without a record.
  std::string name() const;
};

struct DeletedUser {
  std::uint32_t session_id = 0;
  std::uint32_t word = 0;
  bool moved_out = false;

  bool operator==(const DeletedUser&) const = default;
};

struct RadextRequest {
  std::uint32_t num_a = 0;
  std::uint32_t num_b = 0;
  std::string text_a = {};

  bool operator==(const RadextRequest&) const = default;
};

// An accounting request that the simulator answered itself.
struct AcctReport {
  std::uint32_t session_id = 0;
  std::uint32_t kind = 0;  // 1 start, 2 stop, 3 interim
  std::string user = {};
  std::uint32_t seconds = 0;
  std::uint64_t octets_in = 0;
  std::uint64_t octets_out = 0;
  std::uint32_t terminate_cause = 0;

  bool operator==(const AcctReport&) const = default;
};

struct Reports {
  std::map<std::string, RegisteredGroup> groups;             // 13
  std::map<std::string, std::uint32_t> radius_group_states;  // 16
  std::size_t radius_group_changes = 0;                      // 17

  std::map<std::uint32_t, KnownUser> users;             // by session id, until they are deleted
  std::vector<DeletedUser> deleted_users;               // 8, 34
  std::vector<std::uint32_t> cleared_sessions;          // 19
  std::map<std::uint32_t, std::uint32_t> rare_results;  // 4: code by session id

  std::vector<RadextRequest> radext_requests;                // 23
  std::vector<std::array<std::uint32_t, 6>> radext_results;  // 24
  std::map<std::uint32_t, std::uint32_t> password_results;   // 27: status by code
  std::vector<LdapAnswer> ldap_answers;                      // 33

  std::vector<std::array<std::uint32_t, 3>> interface_controls;  // 28
  std::vector<std::array<std::uint32_t, 2>> dot1x_statistics;    // 21

  static constexpr std::size_t kMaxAcctReports = 1000;
  std::deque<AcctReport> acct_reports;  // 7, the last ones

  radius::Counters radius;  // of all starts

  std::vector<std::int32_t> group_verdicts;               // 14
  std::vector<std::array<std::uint8_t, 8>> online_infos;  // 15
};

// One line for each report.
std::string describe(const Reports& reports);

}  // namespace aaa_sim
