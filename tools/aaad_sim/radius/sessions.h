// Sessions whose users a RADIUS server has accepted.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "wire/message.h"

namespace aaa_sim::radius {

struct Session {
  std::string user = {};
  ClientName client = {};  // that is told when the server ends it
};

class Sessions {
 public:
  // Beyond this number, the sessions with the lowest ids, which are the oldest, are dropped.
  static constexpr std::size_t max_count = 65536;

  // Replaces a session of this id.
  void add(std::uint32_t id, Session session);
  void erase(std::uint32_t id) { sessions_.erase(id); }
  // Null when it is unknown.
  const Session* find(std::uint32_t id) const;
  std::vector<std::uint32_t> of_user(const std::string& user) const;

 private:
  std::map<std::uint32_t, Session> sessions_;
};

}  // namespace aaa_sim::radius
