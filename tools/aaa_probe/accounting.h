// Accounting reports of a session.
#pragma once

#include <cstdint>
#include <string>

#include "commands.h"
#include "load.h"

namespace aaa_probe {

enum class ReportKind : std::uint32_t { start = 1, stop = 2, interim = 3 };

struct AccountingOptions {
  ReportKind kind = ReportKind::start;
  std::string user = {};
  std::uint32_t session_id = 0;  // of the first request; each further one has the next number
  std::string class_attribute = {};
  std::uint32_t seconds = 0;
  std::uint64_t octets_in = 0;
  std::uint64_t octets_out = 0;
  std::uint32_t packets_in = 0;
  std::uint32_t packets_out = 0;
  std::uint32_t terminate_cause = 0;
  std::uint32_t delay = 0;
  Places places = {};
  LoadOptions load = {};
};

Status account(const AccountingOptions& options, const Context& context);

}  // namespace aaa_probe
