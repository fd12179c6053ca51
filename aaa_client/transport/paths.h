// Paths and directories below the directory that TMPDIR names.
#pragma once

#include <cstddef>
#include <cstdint>

namespace aaa {

inline constexpr char work_dir_suffix[] = "/security/aaa";
inline constexpr char server_socket_suffix[] = "/security/aaa/.aaa_domain_socket_fs";
inline constexpr char request_socket_suffix[] = "/security/aaa/.aaal_socket_fs1_";
inline constexpr char event_socket_suffix[] = "/security/aaa/.aaal_socket_fs2_";
inline constexpr char message_server_suffix[] = "/security/aaa/lib_server";
inline constexpr char message_client_suffix[] = "/security/aaa/lib_client";
inline constexpr char new_model_suffix[] = "/security/aaa/.new_model";

// Writes $TMPDIR followed by `suffix`. Returns 1, or 0 when TMPDIR is not set or the two together
// reach `size` characters; `buffer` is then left alone.
std::int32_t aaa_make_path(char* buffer, const char* suffix, std::size_t size);

// Makes every missing directory of `path`, which starts with "/" or "./". Returns 0, EINVAL for a
// null path, the errno value of a failed mkdir, or -1.
std::int32_t aaa_make_dir(const char* path);

// Makes the work directory, for processes of every user. Returns 0 or -1.
std::int32_t aaa_lib_make_work_dir();

}  // namespace aaa
