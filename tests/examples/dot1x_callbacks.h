/* The callbacks of the sample authenticator, whose header is C only, for a test. */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct seen_news {
  int is_there;
  int is_cut;
  unsigned class_size, state_size;
  uint8_t first_byte_of_class;
} seen_news;

int open_news(void);
void close_news(void);
int news_is_private(void);
void call_on_event(uint32_t event);
seen_news call_on_result(const void* class_bytes, uint16_t class_size, const void* state,
                         uint16_t state_size, void* arena, uint32_t arena_size);
/* Whether a port that waits for aaad's decision on a session opens for an acceptance of another. */
int opens_port(uint32_t session_of_port, uint32_t session_of_result);
unsigned drain_news(void);
unsigned lost_so_far(void);

#ifdef __cplusplus
}
#endif
