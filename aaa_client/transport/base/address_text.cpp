// Addresses as text.
#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>

#include "aaa_client.h"

char* aaa_ipstr(const aaa_address* address, char* buffer) {
  switch (address->family) {
    case AF_INET:
      return aaa_ipv4str(address->ipv4, buffer);
    case AF_INET6:
      inet_ntop(AF_INET6, address->ipv6, buffer, INET6_ADDRSTRLEN);
      return buffer;
    default:
      std::strcpy(buffer, "Unknown family");
      return buffer;
  }
}

char* aaa_ipv4str(std::uint32_t address, char* buffer) {
  const in_addr network_order = {.s_addr = htonl(address)};
  inet_ntop(AF_INET, &network_order, buffer, INET_ADDRSTRLEN);
  return buffer;
}
