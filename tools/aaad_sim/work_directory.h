// The directory that clients know as TMPDIR.
#pragma once

#include <optional>
#include <string>

namespace aaa_sim {

// What makes clients refuse this directory, or never find aaad below it, to follow its name in a
// message; nothing when they can work there. Looks at the name alone.
std::optional<std::string> fault_of_directory(const std::string& directory);

}  // namespace aaa_sim
