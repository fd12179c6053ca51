/* The result codes of aaad. */
#ifndef EXAMPLES_ANSWERS_H
#define EXAMPLES_ANSWERS_H

#include <aaa_client.h>
#include <stdint.h>

/*
 * The meaning of sub.num_a is agreed between aaad and its clients. The library itself sets only one
 * value: 2, when the connection was lost before the result arrived. The others are those of
 * aaad-sim: replace them by those of your aaad.
 */
enum {
  RESULT_ACCEPT = 0,
  RESULT_REJECT = 1,
  RESULT_LINK_LOST = 2,
  RESULT_CHALLENGE = 3,
  RESULT_UNAVAILABLE = 4 /* no server answered */
};

/*
 * Check this before sub.num_a. A body that cannot be parsed decodes to a record of zeros, and 0 can
 * mean accepted, but no session has the id 0.
 */
static inline int is_result_of(const result_info* result, uint32_t session_id) {
  return session_id != 0 && result->sub.session_id == session_id;
}

/* The id of a client that aaad refuses. The library tries to register again every 2 seconds. */
enum { REFUSED_ID = 255 };

/* An atomic read, because the library's threads write the word. */
static inline int aaad_refuses(void) {
  return __atomic_load_n(&g_aaa_client_cb.aaa_id, __ATOMIC_RELAXED) == REFUSED_ID;
}

#endif
