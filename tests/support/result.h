// Results, owned and in plain values.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "aaa_client.h"

namespace test {

struct ReleaseResult {
  void operator()(result_info* result) const { aaa_free_result_info(result); }
};
using Result = std::unique_ptr<result_info, ReleaseResult>;

// What a test looks at, copied out of a record.
struct Verdict {
  std::uint32_t session_id = 0;
  std::uint32_t code = 0;
  std::uint32_t session_timeout = 0;
  std::string user = {};
  std::string reply_message = {};
  std::string state = {};
  std::string eap_message = {};
  std::string class_attribute = {};
};

inline std::string text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}

inline Verdict verdict_of(const result_info& result) {
  return {.session_id = result.sub.session_id,
          .code = result.sub.num_a,
          .session_timeout = result.sub.num_b,
          .user = result.sub.chars65_a,
          .reply_message = text_of(result.reply_message),
          .state = text_of(result.state),
          .eap_message = text_of(result.eap_message),
          .class_attribute = text_of(result.class_)};
}

// The codes that aaad gives, and the one that the library gives for a lost connection.
enum : std::uint32_t { kAccepted = 0, kRejected = 1, kConnectionLost = 2, kChallenged = 3 };

}  // namespace test
