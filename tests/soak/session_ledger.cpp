#include "soak/session_ledger.h"

namespace soak {

void SessionLedger::handed_out(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  if (!sessions_.try_emplace(id).second)
    complaints_.push_back("id " + std::to_string(id) + " was given twice");
  ++given_of_block_[(id - 1) / block_size_];
}

void SessionLedger::asked(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  sessions_[id].asked = true;
  ++requests_;
}

void SessionLedger::refused(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  sessions_[id].asked = false;
  --requests_;
}

void SessionLedger::answered(std::uint32_t id) {
  const std::lock_guard hold(lock_);
  const auto session = sessions_.find(id);
  if (session == sessions_.end() || !session->second.asked)
    complaints_.push_back("an answer for " + std::to_string(id) + ", which was not asked for");
  else if (session->second.answered)
    complaints_.push_back("two answers for " + std::to_string(id));
  else
    session->second.answered = true;
  ++answers_;
}

void SessionLedger::complain(const std::string& what) {
  const std::lock_guard hold(lock_);
  complaints_.push_back(what);
}

std::size_t SessionLedger::ids() const {
  const std::lock_guard hold(lock_);
  return sessions_.size();
}

std::size_t SessionLedger::requests() const {
  const std::lock_guard hold(lock_);
  return requests_;
}

std::size_t SessionLedger::answers() const {
  const std::lock_guard hold(lock_);
  return answers_;
}

std::vector<std::string> SessionLedger::complaints() const {
  const std::lock_guard hold(lock_);
  std::vector<std::string> all = complaints_;
  for (const std::string& skipped : skipped_ids())
    all.push_back(skipped);
  return all;
}

// A block is used up before the next one is fetched, so only the last one may be in use.
std::vector<std::string> SessionLedger::skipped_ids() const {
  std::vector<std::string> skipped;
  for (const auto& [block, given] : given_of_block_) {
    if (given == block_size_ || block == given_of_block_.rbegin()->first) continue;
    skipped.push_back("only " + std::to_string(given) + " ids of the block from " +
                      std::to_string(block * block_size_ + 1) + " were given");
  }
  return skipped;
}

}  // namespace soak
