/* The callbacks of dot1x: they copy what aaad sends, and hand it over to the main loop in a pipe.
 */
#ifndef EXAMPLES_DOT1X_NEWS_H
#define EXAMPLES_DOT1X_NEWS_H

#include <aaa_client.h>
#include <fcntl.h>
#include <limits.h>
#include <stdatomic.h>
#include <string.h>
#include <unistd.h>

#include "eapol.h"

/* The kind of a notice that ends a session; the second word is the session id. */
enum { NOTICE_DISCONNECT = 1, NOTICE_WORDS = 2, ATTRIBUTE_SIZE = 253 };

typedef struct attribute {
  uint16_t size;
  uint8_t bytes[ATTRIBUTE_SIZE];
} attribute;

typedef struct news {
  enum { RESULT, DISCONNECT, EVENT } kind;
  uint32_t session_id;
  uint32_t code; /* of the result, or the event */
  uint32_t session_timeout;
  char vlan[sizeof((result_info*)0)->sub.chars65_b + 1];
  attribute state, class;
  int is_cut;     /* one of these is longer than a RADIUS attribute, and left out */
  eap_packet eap; /* without one: size 0 */
} news;

_Static_assert(sizeof(news) <= PIPE_BUF, "a write to the pipe is not split");
static int news_pipe[2];
static atomic_uint lost_news;

/* Neither end blocks. Returns 1; 0, with the reason in errno, when there is no descriptor left. */
static inline int open_news_pipe(void) {
  return pipe2(news_pipe, O_CLOEXEC | O_NONBLOCK) == 0;
}

/* Must not wait for a main loop that waits for a lock of the library. */
static inline void hand_over(const news* item) {
  if (write(news_pipe[1], item, sizeof *item) < 0) atomic_fetch_add(&lost_news, 1);
}

/* How many did not fit into the pipe since the last call. */
static inline unsigned take_lost_news(void) {
  return atomic_exchange(&lost_news, 0);
}

static inline attribute copy_of(aaa_item item) {
  attribute copy = {0};
  if (item.len == 0 || item.len > ATTRIBUTE_SIZE) return copy;
  copy.size = item.len;
  (void)memcpy(copy.bytes, item.value, item.len);
  return copy;
}

/* Wipes the values at the end: the keys of the session can be among them. */
static inline void on_result(result_info* result) {
  news item = {.kind = RESULT,
               .session_id = result->sub.session_id,
               .code = result->sub.num_a,
               .session_timeout = result->sub.num_b,
               .state = copy_of(result->state),
               .class = copy_of(result->class),
               .is_cut = result->state.len > ATTRIBUTE_SIZE || result->class.len > ATTRIBUTE_SIZE};
  (void)memcpy(item.vlan, result->sub.chars65_b, sizeof result->sub.chars65_b);
  if (!take_eap_packet(&item.eap, result->eap_message.value, result->eap_message.len))
    item.eap.size = 0;
  hand_over(&item);
  if (result->arena.base != NULL) explicit_bzero(result->arena.base, result->arena.size);
}

static inline void on_notice(const void* body) {
  uint32_t words[NOTICE_WORDS];
  (void)memcpy(words, body, sizeof words);
  const news item = {.kind = DISCONNECT, .session_id = words[1]};
  if (words[0] == NOTICE_DISCONNECT) hand_over(&item);
}

static inline int on_event(uint32_t event) {
  const news item = {.kind = EVENT, .code = event};
  hand_over(&item);
  return 0;
}

/* Called on the main loop when the pipe is readable. Returns 1, or 0 when there is none. */
static inline int next_news(news* item) {
  return read(news_pipe[0], item, sizeof *item) == sizeof *item;
}

#endif
