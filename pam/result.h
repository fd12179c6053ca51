// A result of aaad, wiped before it is released.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "aaa_client.h"

namespace aaa_pam {

enum class Verdict { accepted, rejected, challenged, unavailable };

class Result {
 public:
  Result() = default;
  explicit Result(result_info* record) : record_(record) {}
  Result(Result&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  Result& operator=(Result&& other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~Result();

  // Unavailable for no result, and for one of another session: a body that cannot be parsed decodes
  // to zeros, and 0 means accepted.
  Verdict verdict_for(std::uint32_t session_id) const;

  // Whether the answer to a challenge is shown while it is typed; nothing when the server does not
  // say.
  std::optional<bool> echo() const;

  // Valid as long as this object. The message ends at its first NUL.
  std::string_view message() const;
  std::string_view state() const;
  std::string_view class_attribute() const;

 private:
  result_info* record_ = nullptr;
};

}  // namespace aaa_pam
