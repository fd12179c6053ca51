// What the module needs of a result of aaad, wiped before it is released.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "aaa_client.h"
#include "secret.h"

namespace aaa_pam {

enum class Verdict { accepted, rejected, challenged, unavailable };

class Result {
 public:
  // None.
  Result() = default;
  // A copy. None when there is no memory.
  explicit Result(const result_info& record);

  bool exists() const { return session_id_ != 0; }

  // Unavailable for no result, and for one of another session: a body that cannot be parsed decodes
  // to zeros, and 0 means accepted.
  Verdict verdict_for(std::uint32_t session_id) const;

  // Whether the answer to a challenge is shown while it is typed; nothing when the server does not
  // say.
  std::optional<bool> echo() const;

  // Valid as long as this object. The message ends at its first NUL.
  std::string_view message() const;
  std::string_view state() const { return view_of(state_); }
  std::string_view class_attribute() const { return view_of(class_); }

 private:
  static std::string_view view_of(const Secret& bytes) { return {bytes.text(), bytes.size()}; }

  std::uint32_t session_id_ = 0;
  std::uint32_t code_ = 0;
  std::uint32_t prompt_ = 0;
  Secret message_;
  Secret state_;
  Secret class_;
};

// Overwrites a record whose owner will release it.
void wipe(result_info& record);

}  // namespace aaa_pam
