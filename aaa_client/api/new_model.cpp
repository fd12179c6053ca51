// The new-model state in aaad's file: one character, 0 for off.
#include <fcntl.h>
#include <unistd.h>

#include "aaa_client.h"
#include "session/client_state.h"
#include "transport/cancellation.h"
#include "transport/debug_log.h"
#include "transport/paths.h"

std::uint32_t aaa_get_new_model_from_file() {
  char path[256] = {};
  if (aaa_make_path(path, aaa::new_model_suffix, sizeof path) == 0) {
    AAA_DEBUG_LOG("aaalib make new model path error.\n\r\n");
    return 0;
  }
  const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    AAA_DEBUG_LOG("aaalib open new model path error.\n\r\n");
    return 0;
  }
  char state = '0';
  if (read(fd, &state, 1) <= 0) AAA_DEBUG_LOG("aaalib fail to read new model file.\n\r\n");
  close(fd);
  return state != '0' ? 1 : 0;
}

std::uint32_t aaa_get_new_model_status_syn() {
  if (aaa_is_alive() == 0) return 0;
  const std::uint32_t state = aaa_get_new_model_from_file();
  aaa::store(g_aaa_status.new_model, state);
  return state;
}
