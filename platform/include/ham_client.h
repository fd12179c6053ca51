/* The platform's process-health watchdog, libzv_proc_ham. */
#ifndef PLATFORM_HAM_CLIENT_H
#define PLATFORM_HAM_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Register a thread, report that it is alive, unregister it. The watchdog defines the meaning of
 * `interval` and `tolerance`. Return 0 or more on success; a negative value on failure, with errno
 * set. Any thread may call.
 */
int32_t ham_client_reg_thread_notify(int32_t pid, int32_t tid, uint32_t interval,
                                     uint32_t tolerance);
int32_t ham_client_reset_thread_notify(int32_t pid, int32_t tid, uint32_t interval,
                                       uint32_t tolerance);
int32_t ham_client_unreg_thread_notify(int32_t tid);

#ifdef __cplusplus
}
#endif

#endif
