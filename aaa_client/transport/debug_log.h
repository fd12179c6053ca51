// Log lines: the debug gate with its rate limit, and the two shapes of a line.
#pragma once

#include <cstdint>

#include "printk_syslog_ext.h"
#include "session/client_state.h"

namespace aaa {

inline constexpr int log_priority = 7;
inline constexpr int log_kind_client = 1;
inline constexpr int log_kind_ungated = 2;

// Lines let through since the last reset.
extern std::uint16_t g_aaalib_debug_count_curr;

// The kernel's id of the calling thread.
std::int32_t thread_id();

inline bool debug_log_is_open() {
  return load(g_aaa_status.debug) != 0 && aaalib_debug_num_check() == 1;
}

}  // namespace aaa

// A debug line. `message` is a literal with its own line end; nothing is evaluated while the gate
// is closed.
#define AAA_DEBUG_LOG_AS(function_name, message, ...)                                       \
  do {                                                                                      \
    if (::aaa::debug_log_is_open()) {                                                       \
      printk_syslog_ext(::aaa::log_priority, "AAA", "CLIENT", ::aaa::log_kind_client,       \
                        "[%5d][%14.14s][%30.30s] " message, ::aaa::thread_id(),             \
                        ::aaa::ModelName().text, function_name __VA_OPT__(, ) __VA_ARGS__); \
    }                                                                                       \
  } while (false)
#define AAA_DEBUG_LOG(message, ...) AAA_DEBUG_LOG_AS(__func__, message __VA_OPT__(, ) __VA_ARGS__)

// A line that is always written. The source line comes last, where no conversion prints it.
#define AAA_UNGATED_LOG_AS(function_name, message, ...)                                           \
  do {                                                                                            \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wformat-extra-args\"")      \
        printk_syslog_ext(::aaa::log_priority, "UNKNOW_MODULE", "DEBUG", ::aaa::log_kind_ungated, \
                          "AAA LIB [%5d][%30.30s] " message, ::aaa::thread_id(),                  \
                          function_name __VA_OPT__(, ) __VA_ARGS__, __LINE__);                    \
    _Pragma("GCC diagnostic pop")                                                                 \
  } while (false)
#define AAA_UNGATED_LOG(message, ...) \
  AAA_UNGATED_LOG_AS(__func__, message __VA_OPT__(, ) __VA_ARGS__)
