#include "session/link/connect.h"

#include <cstring>

#include "aaa_client.h"
#include "session/state/client_state.h"
#include "session/state/locks.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/link_sockets.h"
#include "transport/message.h"

namespace aaa {
namespace {

constexpr char log_name[] = "aaa_lib_client_reg";
constexpr std::int32_t refused_id = 255;

constexpr MessageReader response_reader = {MessageBlock::body, false, receive_exactly};

// The value in a register response. Bytes missing from a short body read as zero.
template <class Value>
Value value_of(const Message& response) {
  Value value = {};
  const std::uint32_t length = response.header.length;
  std::memcpy(&value, response.body, length < sizeof value ? length : sizeof value);
  return value;
}

bool ask_to_register(LinkSocket socket) {
  const ModelName model;
  const std::size_t name_size = std::strlen(model.text) + 1;
  const auto length = static_cast<std::uint32_t>(1 + name_size);
  auto* const body = static_cast<char*>(AAA_MALLOC(length));
  if (body == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "out of memory.\r\n");
    return false;
  }
  body[0] = socket == LinkSocket::request ? '1' : '2';
  std::memcpy(body + 1, model.text, name_size);
  const std::int32_t error =
      aaalib_send_ipc_msg_print(load(field_of(socket)), AAA_MSG_REGISTER_REQ, body, length);
  if (error != 0) {
    AAA_DEBUG_LOG_AS(log_name, "send packet error with error %s.\r\n", std::strerror(error));
  }
  AAA_FREE(body);
  return error == 0;
}

bool log_reading(const ReadOutcome& outcome) {
  if (outcome.step == ReadStep::header) {
    AAA_DEBUG_LOG_AS(log_name, "receive message error %d.\n\r\n", outcome.error);
  } else if (outcome.step == ReadStep::memory) {
    AAA_DEBUG_LOG_AS(log_name, "out of memory.\r\n");
  }
  return outcome.step == ReadStep::done;
}

// On success the caller releases the response, which has a body.
bool receive_response(std::int32_t fd, Message& response) {
  if (!log_reading(read_message(fd, response_reader, response))) return false;
  if (response.body == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "receive message len is 0.\r\n");
    return false;
  }
  AAA_DEBUG_LOG_AS(log_name, "%s: aaa lib receive message from aaad type (%s), len(%d)\r\n",
                   g_aaalib_process_name, aaa_ipc_get_msg_type_str(response.header.type),
                   static_cast<int>(response.header.length));
  return true;
}

std::int32_t accept_id(const Message& response) REQUIRES(aaa_lib_lock) {
  const auto id = value_of<std::int32_t>(response);
  set_aaa_id(id);
  if (id != refused_id) return 0;
  AAA_DEBUG_LOG_AS(log_name, "model %s has been registered or tag is used up\r\n",
                   ModelName().text);
  AAA_DEBUG_LOG_AS(log_name, "model %s has already registered or is an illegal model.\r\n",
                   ModelName().text);
  return -1;
}

std::int32_t accept_response(const Message& response, LinkSocket socket) REQUIRES(aaa_lib_lock) {
  if (socket == LinkSocket::request && response.header.type == AAA_MSG_REGISTER_RESP) {
    return accept_id(response);
  }
  if (socket == LinkSocket::event && response.header.type == AAA_MSG_AAA_INFO_READY) {
    store_status(value_of<aaa_status>(response));
    return 0;
  }
  AAA_DEBUG_LOG_AS(log_name, "get wrong response of register request.\r\n");
  return -1;
}

std::int32_t aaa_lib_client_reg(LinkSocket socket) REQUIRES(aaa_lib_lock) {
  if (!ask_to_register(socket)) return -1;
  Message response;
  if (!receive_response(load(field_of(socket)), response)) return -1;
  const std::int32_t result = accept_response(response, socket);
  response.release();
  return result;
}

std::int32_t aaalib_register_to_aaad() REQUIRES(aaa_lib_lock) {
  const std::int32_t sync_fd = load(g_aaa_client_cb.sync_fd);
  const std::int32_t async_fd = load(g_aaa_client_cb.async_fd);
  if (sync_fd == async_fd) {
    AAA_DEBUG_LOG("socket equal %d, not register\r\n", sync_fd);
    return -1;
  }
  if (aaa_lib_client_reg(LinkSocket::request) != 0) return -1;
  return aaa_lib_client_reg(LinkSocket::event);
}

}  // namespace

std::int32_t aaalib_connect_and_register_to_aaad() {
  const ScopedLock lock(aaa_lib_lock);
  set_reg_state(AAA_REG_CONNECTING);
  if (aaa_lib_client_connect_all() != 0) {
    AAA_DEBUG_LOG("connect to aaad failed\r\n");
    return -1;
  }
  AAA_DEBUG_LOG("connect to aaad successfully.\r\n");
  set_reg_state(AAA_REG_CONNECTED);
  if (aaalib_register_to_aaad() != 0) {
    AAA_DEBUG_LOG("register to aaad failed\r\n");
    return -1;
  }
  set_reg_state(AAA_REG_REGISTERED);
  AAA_DEBUG_LOG("register to aaad successfully.\r\n");
  return 0;
}

}  // namespace aaa

std::int32_t aaa_is_alive() {
  if (aaa::reg_state() == AAA_REG_REGISTERED) return 1;
  AAA_DEBUG_LOG("already unregistered or not registered or is connecting!\r\n");
  return 0;
}
