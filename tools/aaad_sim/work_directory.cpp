#include "work_directory.h"

#include <sys/un.h>

#include <filesystem>

#include "listener.h"

namespace aaa_sim {
namespace {

// Clients put "/security/aaa/.aaal_socket_fs1_" and a process id of up to 7 digits behind it.
constexpr std::size_t kRecommendedSize = 69;
// Clients go from a relative name to an absolute one by way of a buffer of 128 bytes.
constexpr std::size_t kMaxCurrentDirectory = 127;

bool is_absolute(const std::string& path) {
  return path.starts_with('/');
}

}  // namespace

std::optional<std::string> fault_of_directory(const std::string& directory) {
  const std::string path = Listener::path_below(directory);
  if (!is_absolute(path) && !path.starts_with("./")) return "must begin with / or ./";
  if (path.size() >= sizeof sockaddr_un{}.sun_path)
    return "is " + std::to_string(directory.size()) + " bytes long, socket names leave room for " +
           std::to_string(kRecommendedSize);
  if (!is_absolute(path) && std::filesystem::current_path().native().size() > kMaxCurrentDirectory)
    return "is relative to a directory with a name of more than 127 bytes";
  return std::nullopt;
}

}  // namespace aaa_sim
