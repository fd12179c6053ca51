#include "dot1x_callbacks.h"

#include <errno.h>
#include <fcntl.h>

#include "dot1x_port.h"

int open_news(void) {
  return open_news_pipe();
}

void close_news(void) {
  (void)close(news_pipe[0]);
  (void)close(news_pipe[1]);
}

int news_is_private(void) {
  return (fcntl(news_pipe[0], F_GETFD) & fcntl(news_pipe[1], F_GETFD) & FD_CLOEXEC) != 0;
}

void call_on_event(uint32_t event) {
  (void)on_event(event);
}

seen_news call_on_result(const void* class, uint16_t class_size, const void* state,
                         uint16_t state_size, void* arena, uint32_t arena_size) {
  result_info result = {.class = {.len = class_size, .value = class},
                        .state = {.len = state_size, .value = state},
                        .arena = {.base = arena, .size = arena_size}};
  on_result(&result);
  news item = {0};
  const int is_there = next_news(&item);
  return (seen_news){is_there, item.is_cut, item.class.size, item.state.size, item.class.bytes[0]};
}

int opens_port(uint32_t session_of_port, uint32_t session_of_result) {
  const news accepted = {.session_id = session_of_result,
                         .code = RESULT_ACCEPT,
                         .eap = new_eap_packet(EAP_SUCCESS, 1, EAP_TYPE)};
  port.wire.fd = -1;
  port.session = (user_session){.id = session_of_port, .user = "alice", .interface = "eth0"};
  port.turn = AAAD;
  port.open = 0;
  take_result(&accepted);
  return port.open;
}

unsigned drain_news(void) {
  unsigned count = 0;
  for (news item; next_news(&item);)
    ++count;
  return count;
}

unsigned lost_so_far(void) {
  return take_lost_news();
}
