// Reads a whole file that a user has named.
#pragma once

#include <string>

namespace aaa_sim {

// Throws std::runtime_error, "path: reason", for whatever cannot be read to its end.
std::string contents_of(const std::string& path);

}  // namespace aaa_sim
