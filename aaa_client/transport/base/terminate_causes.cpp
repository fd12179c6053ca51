// The names of accounting terminate causes: 1 to 22 as in RADIUS Acct-Terminate-Cause, the others
// the system's own.
#include <cstdint>

#include "aaa_client.h"

namespace {

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
