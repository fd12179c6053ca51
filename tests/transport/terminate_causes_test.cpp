// The names of accounting terminate causes.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "aaa_client.h"

namespace {

const std::map<std::uint32_t, std::string> kTexts = {
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
};

TEST(TerminateCauses, EveryCodeHasItsText) {
  for (const auto& [code, text] : kTexts)
    EXPECT_STREQ(text.c_str(), rds_acct_term_cause_string(code)) << code;
}

TEST(TerminateCauses, EveryOtherCodeHasNone) {
  for (std::uint32_t code = 0; code < 1000; ++code) {
    if (kTexts.count(code) != 0) continue;
    EXPECT_EQ(nullptr, rds_acct_term_cause_string(code)) << code;
  }
  EXPECT_EQ(nullptr, rds_acct_term_cause_string(0xFFFFFFFF));
}

}  // namespace
