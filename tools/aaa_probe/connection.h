// The registration with aaad, from the constructor to the destructor.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "aaa_client.h"

namespace aaa_probe {

struct ConnectionOptions {
  std::optional<std::string> directory = {};  // else TMPDIR
  std::optional<std::int64_t> aaad_uid = {};
  std::string model = "aaa-probe";
  std::uint32_t timeout = 10;  // seconds, for connecting and for each answer
};

class Connection {
 public:
  // Returns when aaad has answered. Throws Failure.
  Connection(const ConnectionOptions& options, reg_info record);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Throws Failure when aaad grants none.
  std::uint32_t new_session_id() const;

 private:
  const std::uint32_t timeout_;
};

}  // namespace aaa_probe
