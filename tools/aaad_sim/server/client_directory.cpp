#include "server/client_directory.h"

#include <sys/un.h>

#include <filesystem>

#include "server/listener.h"

namespace aaa_sim {
namespace {

// Clients append "/security/aaa/.aaal_socket_fs1_" and a process id of up to 7 digits.
constexpr std::size_t kRecommendedDirectory = 69;
// Clients make a relative name absolute in a buffer of 128 bytes.
constexpr std::size_t kMaxCurrentDirectory = 127;

bool is_absolute(const std::string& path) {
  return path.starts_with('/');
}

}  // namespace

std::optional<std::string> error_of_directory(const std::string& directory) {
  const std::string path = Listener::path_below(directory);
  if (!is_absolute(path) && !path.starts_with("./")) return "must begin with / or ./";
  if (path.size() >= sizeof sockaddr_un{}.sun_path)
    return "is " + std::to_string(directory.size()) + " bytes long, socket names leave room for " +
           std::to_string(kRecommendedDirectory);
  if (!is_absolute(path) && std::filesystem::current_path().native().size() > kMaxCurrentDirectory)
    return "is relative to a directory with a name of more than 127 bytes";
  return std::nullopt;
}

}  // namespace aaa_sim
