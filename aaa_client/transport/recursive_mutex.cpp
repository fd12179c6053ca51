// Making a recursive mutex.
#include <cerrno>
#include <cstring>

#include "aaa_client.h"
#include "printk_syslog_ext.h"
#include "transport/debug_log.h"

std::int32_t aaa_lib_recursive_mutex_init(pthread_mutex_t* mutex) {
  if (mutex == nullptr) return EINVAL;
  pthread_mutexattr_t attributes;
  const int attributes_error = pthread_mutexattr_init(&attributes);
  if (attributes_error != 0) return attributes_error;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  const int error = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (error != 0) {
    printk_syslog_ext(aaa::log_priority, "UNKNOW_MODULE", "DEBUG", aaa::log_kind_ungated,
                      "pthread_mutex_init fail return %d error %s exit.\n", error,
                      std::strerror(error));
  }
  return error;
}
