// The directory of aaad's sockets, and the paths below it.
#pragma once

#include <cstddef>

namespace aaa {

// With more bytes than this, names of sockets would be truncated.
inline constexpr std::size_t max_directory_length = 69;

// The directory that paths begin with, as it is now: the one of aaa_set_directory(), else TMPDIR.
class Directory {
 public:
  Directory();
  // Null when there is none.
  const char* path() const { return path_; }
  bool is_from_environment() const { return path_ != set_; }

 private:
  char set_[max_directory_length + 1] = {};
  const char* path_;
};

inline constexpr char work_dir_suffix[] = "/security/aaa";
inline constexpr char server_socket_suffix[] = "/security/aaa/.aaa_domain_socket_fs";
inline constexpr char request_socket_suffix[] = "/security/aaa/.aaal_socket_fs1_";
inline constexpr char event_socket_suffix[] = "/security/aaa/.aaal_socket_fs2_";
inline constexpr char message_server_suffix[] = "/security/aaa/lib_server";
inline constexpr char message_client_suffix[] = "/security/aaa/lib_client";
inline constexpr char new_model_suffix[] = "/security/aaa/.new_model";

}  // namespace aaa
