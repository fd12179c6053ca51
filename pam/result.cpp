#include "result.h"

#include <cstring>

namespace aaa_pam {
namespace {

// sub.num_a of a result. A lost connection (2) and a silent server (4) are the same to a login.
constexpr std::uint32_t kAccept = 0;
constexpr std::uint32_t kReject = 1;
constexpr std::uint32_t kChallenge = 3;

// sub.code_a of a challenge.
constexpr std::uint32_t kNoEcho = 1;
constexpr std::uint32_t kEcho = 2;

void wipe(const void* data, std::uint32_t length) {
  if (data != nullptr) ::explicit_bzero(const_cast<void*>(data), length);
}

bool copy(Secret& copy, const aaa_item& item) {
  return item.value == nullptr || copy.assign(item.value, item.len);
}

}  // namespace

Result::Result(const result_info& record) {
  const bool is_copied = copy(message_, record.reply_message) && copy(state_, record.state) &&
                         copy(class_, record.class_);
  if (!is_copied) return;
  session_id_ = record.sub.session_id;
  code_ = record.sub.num_a;
  prompt_ = record.sub.code_a;
}

Verdict Result::verdict_for(std::uint32_t session_id) const {
  if (session_id == 0 || session_id_ != session_id) return Verdict::unavailable;
  switch (code_) {
    case kAccept:
      return Verdict::accepted;
    case kReject:
      return Verdict::rejected;
    case kChallenge:
      return Verdict::challenged;
    default:
      return Verdict::unavailable;
  }
}

std::optional<bool> Result::echo() const {
  if (prompt_ != kNoEcho && prompt_ != kEcho) return std::nullopt;
  return prompt_ == kEcho;
}

std::string_view Result::message() const {
  const std::string_view whole = view_of(message_);
  return whole.substr(0, whole.find('\0'));
}

void wipe(result_info& record) {
  wipe(record.arena.base, record.arena.size);
  wipe(record.text_302, record.text_302_len);
  wipe(record.text_303, record.text_303_len);
  wipe(record.data_321, record.data_321_len);
  wipe(record.data_322, record.data_322_len);
  wipe(record.tail_data, record.tail_len);
  wipe(record.ext_data, record.sub.ext_data_len & 0xffff);
  wipe(&record.sub, sizeof record.sub);
}

}  // namespace aaa_pam
