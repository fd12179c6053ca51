// One exchange with aaad: registered in its lifetime, so that the host has none of the library's
// threads between two calls, and may fork.
#pragma once

#include <cstdint>
#include <optional>

#include "aaa_client.h"
#include "call.h"
#include "deadline.h"
#include "library_log.h"
#include "result.h"

namespace aaa_pam {

class Daemon {
 public:
  // Registers, or finds out that it cannot, and says so in the log. Other threads that use the
  // module wait until it has ended: never keep one while a user is asked.
  explicit Daemon(const Call& call);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  bool is_reached() const { return is_reached_; }

  // 0 when aaad grants none.
  std::uint32_t new_session_id() const;

  // Empty when there is no result for the record's session in time.
  Result ask(authen_info& authen) const { return ask(authen, aaa_user_req_authen); }
  Result ask(author_info& author) const { return ask(author, aaa_user_req_author); }
  Result ask(acct_info& acct) const { return ask(acct, aaa_user_req_acct); }
  // The answer of aaad's local user database.
  Result ask_local(authen_info& authen) const;

 private:
  template <class Record>
  Result ask(Record& record, std::int32_t (*submit)(Record*)) const;
  bool take_turn();
  bool start_registering();
  bool register_now();
  bool give_up_silent_daemon();
  bool deregister() const;
  bool wait_for_connection() const;

  const Call& call_;
  const Deadline deadline_;
  bool has_turn_ = false;
  bool is_registered_ = false;
  bool is_reached_ = false;
  std::optional<LibraryLogInSyslog> library_log_;
};

}  // namespace aaa_pam
