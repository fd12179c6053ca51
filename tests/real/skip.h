// Skipping a test for which something is missing.
#pragma once

#include <gtest/gtest.h>

#include <string>

// With a `reason` the test ends here: skipped, with one line that says why.
#define AAA_SKIP_FOR(reason)                                              \
  do {                                                                    \
    const std::string skip_reason = reason;                               \
    if (!skip_reason.empty()) GTEST_SKIP() << "skipped: " << skip_reason; \
  } while (false)
