// UDP sockets of the RADIUS client.
#pragma once

#include <cstdint>
#include <string>

#include "server/file_descriptor.h"

namespace aaa_sim::radius {

// Non-blocking. Connected, so that datagrams of others do not arrive. Throws std::runtime_error
// when the host is unknown, and std::system_error.
FileDescriptor connect_udp(const std::string& host, std::uint16_t port);
// Non-blocking. Throws the same.
FileDescriptor bind_udp(const std::string& host, std::uint16_t port);

}  // namespace aaa_sim::radius
