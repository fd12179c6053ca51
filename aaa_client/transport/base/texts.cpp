// Values as text: addresses, and the names of accounting terminate causes.
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

namespace {

// 1 to 22 as in RADIUS Acct-Terminate-Cause, the others the system's own.
struct TerminateCause {
  std::uint32_t code;
  char text[32];
};

constexpr TerminateCause terminate_causes[] = {
    {1, "User request"},
    {2, "Lost carrier"},
    {3, "Lost service"},
    {4, "Idle timeout"},
    {5, "Session timeout"},
    {6, "Admin reset"},
    {7, "Admin reboot"},
    {8, "Port error"},
    {9, "Nas error"},
    {10, "Nas request"},
    {12, "Port unneeded"},
    {14, "Port suspended"},
    {15, "Service unavailable"},
    {16, "Callback"},
    {17, "User error"},
    {18, "Host request"},
    {19, "Supplicant restart"},
    {20, "Reauth fail"},
    {21, "Port reinit"},
    {22, "Port admin disabled"},
    {200, "Hello timeout"},
    {250, "Low flow detect"},
    {500, "Authen timeout"},
    {501, "Authen reject"},
    {502, "Over user limit"},
    {0, "Unknown"},
};

}  // namespace

const char* rds_acct_term_cause_string(std::uint32_t code) {
  for (const TerminateCause* cause = terminate_causes; cause->code != 0; ++cause) {
    if (cause->code == code) return cause->text;
  }
  return nullptr;
}
