// The sessions of a client: which ids it was given, what it asked for them, what was answered. Any
// thread may write into it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace soak {

class SessionLedger {
 public:
  // Ids are granted in blocks of this size; the first block starts with 1.
  explicit SessionLedger(std::uint32_t block_size) : block_size_(block_size) {}

  void handed_out(std::uint32_t id);
  // Before a request is made; refused() takes it back when the request could not be.
  void asked(std::uint32_t id);
  void refused(std::uint32_t id);
  void answered(std::uint32_t id);

  void complain(const std::string& what);

  std::size_t ids() const;
  std::size_t requests() const;
  std::size_t answers() const;

  // What went wrong: ids given twice, answers nobody asked for, ids of a block that were skipped.
  std::vector<std::string> complaints() const;

 private:
  struct Session {
    bool asked = false;
    bool answered = false;
  };

  std::vector<std::string> skipped_ids() const;

  const std::uint32_t block_size_;

  mutable std::mutex lock_;
  // Guarded by lock_.
  std::unordered_map<std::uint32_t, Session> sessions_;
  std::map<std::uint32_t, std::uint32_t> given_of_block_;
  std::size_t requests_ = 0;
  std::size_t answers_ = 0;
  std::vector<std::string> complaints_;
};

}  // namespace soak
