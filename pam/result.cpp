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

// Data outside the arena.
void wipe(const void* data, std::uint32_t length) {
  if (data != nullptr) ::explicit_bzero(const_cast<void*>(data), length);
}

std::string_view bytes_of(const aaa_item& item) {
  if (item.value == nullptr) return {};
  return {static_cast<const char*>(item.value), item.len};
}

}  // namespace

Result::~Result() {
  if (record_ == nullptr) return;
  wipe(record_->arena.base, record_->arena.size);
  wipe(record_->text_302, record_->text_302_len);
  wipe(record_->text_303, record_->text_303_len);
  wipe(record_->data_321, record_->data_321_len);
  wipe(record_->data_322, record_->data_322_len);
  wipe(record_->tail_data, record_->tail_len);
  wipe(record_->ext_data, record_->sub.ext_data_len & 0xffff);
  wipe(&record_->sub, sizeof record_->sub);
  aaa_free_result_info(record_);
}

Verdict Result::verdict_for(std::uint32_t session_id) const {
  if (record_ == nullptr || session_id == 0 || record_->sub.session_id != session_id)
    return Verdict::unavailable;
  switch (record_->sub.num_a) {
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
  if (record_ == nullptr || record_->sub.code_a < kNoEcho || record_->sub.code_a > kEcho)
    return std::nullopt;
  return record_->sub.code_a == kEcho;
}

std::string_view Result::message() const {
  if (record_ == nullptr) return {};
  const std::string_view whole = bytes_of(record_->reply_message);
  return whole.substr(0, whole.find('\0'));
}

std::string_view Result::state() const {
  return record_ == nullptr ? std::string_view() : bytes_of(record_->state);
}

std::string_view Result::class_attribute() const {
  return record_ == nullptr ? std::string_view() : bytes_of(record_->class_);
}

}  // namespace aaa_pam
