// Debug lines: written only while the debug switch is on, and counted against a limit.
#pragma once

#include <cstdint>

#include "session/state/client_state.h"
#include "transport/base/ungated_log.h"

namespace aaa {

inline constexpr int log_kind_client = 1;

// Lines written since the last reset.
extern std::uint16_t g_aaalib_debug_count_curr;

inline bool debug_log_is_open() {
  return load(g_aaa_status.debug) != 0 && aaalib_debug_num_check() == 1;
}

}  // namespace aaa

// A debug line. `message` is a literal with its own line end; its arguments are evaluated only if
// the line is written.
#define AAA_DEBUG_LOG_AS(function_name, message, ...)                                       \
  do {                                                                                      \
    if (::aaa::debug_log_is_open()) {                                                       \
      printk_syslog_ext(::aaa::log_priority, "AAA", "CLIENT", ::aaa::log_kind_client,       \
                        "[%5d][%14.14s][%30.30s] " message, ::aaa::thread_id(),             \
                        ::aaa::ModelName().text, function_name __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                       \
  } while (false)
#define AAA_DEBUG_LOG(message, ...) AAA_DEBUG_LOG_AS(__func__, message __VA_OPT__(, ) __VA_ARGS__)
