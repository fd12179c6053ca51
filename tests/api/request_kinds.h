// The three requests about a user, told apart by their records.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <string>

#include "support/linked_test.h"

namespace test {

struct RequestKind {
  const char* name;
  const char* log_name;
  std::uint32_t type;
  const char* display_name;
  std::int32_t encoding_error;
  std::int32_t (*submit)(std::uint32_t session_id);
  std::int32_t (*submit_nothing)();
  // The body of what submit() sends.
  std::string (*body)(std::uint32_t session_id);
};

inline std::ostream& operator<<(std::ostream& out, const RequestKind& kind) {
  return out << kind.name;
}

template <class Record>
Record filled(std::uint32_t session_id) {
  Record record = {};
  record.session_id = session_id;
  record.num_a = 0x11223344;
  record.user_password = {0, 6, "secret"};
  record.ext_text = "text";
  return record;
}

template <class Record, std::int32_t (*request)(Record*)>
std::int32_t submit(std::uint32_t session_id) {
  Record record = filled<Record>(session_id);
  return request(&record);
}

template <class Record, std::int32_t (*request)(Record*)>
std::int32_t submit_nothing() {
  return request(nullptr);
}

template <class Record, std::uint32_t (*encode)(Record*, void**)>
std::string encoded(std::uint32_t session_id) {
  Record record = filled<Record>(session_id);
  void* body = nullptr;
  const std::uint32_t length = encode(&record, &body);
  return take_block(body, length);
}

inline const RequestKind authentication = {
    "authentication",
    "aaa_user_req_authen_sub",
    5,
    "authen request",
    -12,
    submit<authen_info, aaa_user_req_authen>,
    submit_nothing<authen_info, aaa_user_req_authen>,
    encoded<authen_info, aaa_encap_authen_info>,
};
inline const RequestKind authorization = {
    "authorization",
    "aaa_user_req_author_sub",
    6,
    "author request",
    -12,
    submit<author_info, aaa_user_req_author>,
    submit_nothing<author_info, aaa_user_req_author>,
    encoded<author_info, aaa_encap_author_info>,
};
inline const RequestKind accounting = {
    "accounting",
    "aaa_user_req_acct_sub",
    7,
    "account request",
    -22,
    submit<acct_info, aaa_user_req_acct>,
    submit_nothing<acct_info, aaa_user_req_acct>,
    encoded<acct_info, aaa_encap_acct_info>,
};

inline std::string request_name(const testing::TestParamInfo<RequestKind>& info) {
  return info.param.name;
}

// Lets the first `count` blocks be allocated and no more.
inline Scripts memory_for(int count) {
  return {.malloc = [left = std::make_shared<int>(count)](std::size_t) -> std::optional<void*> {
    if ((*left)-- > 0) return std::nullopt;
    errno = ENOMEM;
    return nullptr;
  }};
}

}  // namespace test
