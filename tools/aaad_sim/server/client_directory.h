// The directories that clients can have as TMPDIR.
#pragma once

#include <optional>
#include <string>

namespace aaa_sim {

// Why clients would refuse this directory or not find aaad below it, to follow its name in a
// message.
std::optional<std::string> error_of_directory(const std::string& directory);

}  // namespace aaa_sim
