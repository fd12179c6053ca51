#include "radius/sessions.h"

namespace aaa_sim::radius {

void Sessions::add(std::uint32_t id, Session session) {
  sessions_.insert_or_assign(id, std::move(session));
  if (sessions_.size() > max_count) sessions_.erase(sessions_.begin());
}

const Session* Sessions::find(std::uint32_t id) const {
  const auto found = sessions_.find(id);
  return found == sessions_.end() ? nullptr : &found->second;
}

std::vector<std::uint32_t> Sessions::of_user(const std::string& user) const {
  std::vector<std::uint32_t> ids;
  for (const auto& [id, session] : sessions_)
    if (session.user == user) ids.push_back(id);
  return ids;
}

}  // namespace aaa_sim::radius
