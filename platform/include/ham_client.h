/* The platform's process-health watchdog, libzv_proc_ham. */
#ifndef PLATFORM_HAM_CLIENT_H
#define PLATFORM_HAM_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A thread registers, then resets its watch from time to time, then leaves. `interval` and
 * `tolerance` belong to the watchdog. All return 0 or more for success and a negative value, with
 * errno set, for failure.
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
