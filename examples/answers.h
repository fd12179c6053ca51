/* What aaad answers. */
#ifndef EXAMPLES_ANSWERS_H
#define EXAMPLES_ANSWERS_H

#include <aaa_client.h>
#include <stdint.h>

/*
 * The meaning of sub.num_a is agreed between aaad and its clients. The library carries it, and
 * writes one value itself: 2, when the link was lost before the result came. The other values are
 * aaad-sim's convention: put those of your aaad in their place.
 */
enum { RESULT_ACCEPT = 0, RESULT_REJECT = 1, RESULT_LINK_LOST = 2, RESULT_CHALLENGE = 3 };

/*
 * To be asked before sub.num_a is believed. A body that cannot be read decodes to a record of
 * zeros, and 0 may mean an acceptance; but no session has the id 0.
 */
static inline int is_result_of(const result_info* result, uint32_t session_id) {
  return session_id != 0 && result->sub.session_id == session_id;
}

/* The id that a refused client gets. The library goes on asking for another every 2 seconds. */
enum { REFUSED_ID = 255 };

/* Read as the library's threads write it. */
static inline int aaad_refuses(void) {
  return __atomic_load_n(&g_aaa_client_cb.aaa_id, __ATOMIC_RELAXED) == REFUSED_ID;
}

#endif
