// Log lines that are always written.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "printk_syslog_ext.h"

namespace aaa {

inline constexpr int log_priority = 7;
inline constexpr int log_kind_ungated = 2;

// The kernel's id of the calling thread.
inline std::int32_t thread_id() {
  return static_cast<std::int32_t>(syscall(SYS_gettid));
}

}  // namespace aaa

// The source line is a surplus argument: no conversion prints it.
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
