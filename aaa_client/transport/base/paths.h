// Paths below the directory in TMPDIR.
#pragma once

namespace aaa {

inline constexpr char work_dir_suffix[] = "/security/aaa";
inline constexpr char server_socket_suffix[] = "/security/aaa/.aaa_domain_socket_fs";
inline constexpr char request_socket_suffix[] = "/security/aaa/.aaal_socket_fs1_";
inline constexpr char event_socket_suffix[] = "/security/aaa/.aaal_socket_fs2_";
inline constexpr char message_server_suffix[] = "/security/aaa/lib_server";
inline constexpr char message_client_suffix[] = "/security/aaa/lib_client";
inline constexpr char new_model_suffix[] = "/security/aaa/.new_model";

}  // namespace aaa
