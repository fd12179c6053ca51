// Single requests to aaad's local user database.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "codec/result_info.h"
#include "codec/tlv.h"
#include "session/state/locks.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"
#include "username_lib.h"

namespace {

constexpr std::size_t password_change_size = 180;
constexpr std::size_t max_changed_text = password_change_size - 3 * aaa::tlv_header_size;
constexpr std::size_t max_grant_text1 = 64;
constexpr std::size_t max_grant_text2 = 4096;

// Sends a request and reads its answer under one lock, so that nobody else takes the answer.
template <class Record>
aaa_ipc_header* send_and_receive(Record* record, aaa_msg_type type,
                                 std::int32_t (*send)(Record*, std::uint32_t)) {
  const aaa::ScopedLock lock(aaa_lib_lock);
  return send(record, type) == 0 ? aaalib_recv_ipc_msg() : nullptr;
}

template <class Record>
std::int32_t ask_for_result(const char* log_name, Record* record, aaa_msg_type type,
                            std::int32_t (*send)(Record*, std::uint32_t), result_info** result) {
  if (record == nullptr || result == nullptr) {
    AAA_DEBUG_LOG_AS(log_name, "Null param passed in.\r\n");
    return -1;
  }
  if (aaa_is_alive() == 0) return -1;
  const aaa::Reply reply(send_and_receive(record, type, send));
  if (!reply) return -1;
  if (reply.type() != type) {
    AAA_DEBUG_LOG_AS(log_name, "Wrong message type(%d).\r\n", static_cast<int>(reply.type()));
    return -1;
  }
  if (aaa::decode_result_without_body(result, reply.body(),
                                      static_cast<std::int32_t>(reply.length())) == 0) {
    AAA_DEBUG_LOG_AS(log_name, "Failed to parse result info.\r\n");
    return -1;
  }
  return 0;
}

// A text as an item. A text of 65536 bytes or more is sent whole, but its length is truncated.
void add_item(aaa::RequestBody& body, std::uint16_t type, const void* value, std::size_t length) {
  const auto item_length = static_cast<std::uint16_t>(length);
  body.add_bytes(&type, sizeof type);
  body.add_bytes(&item_length, sizeof item_length);
  body.add_bytes(value, length);
}

}  // namespace

std::int32_t username_lib_authen_req(authen_info* authen, result_info** result) {
  return ask_for_result(__func__, authen, AAA_MSG_LOCAL_AUTHEN_REQ, aaa_user_req_authen_sub,
                        result);
}

std::int32_t username_lib_author_req(author_info* author, result_info** result) {
  return ask_for_result(__func__, author, AAA_MSG_LOCAL_AUTHOR_REQ, aaa_user_req_author_sub,
                        result);
}

std::int32_t username_lib_chg_pwd(const char* s1, const char* s2, const char* s3) {
  if (s1 == nullptr || s2 == nullptr || s3 == nullptr) {
    AAA_DEBUG_LOG("Null param passed in.\r\n");
    return -1;
  }
  if (aaa_is_alive() == 0) return -5;
  const std::size_t lengths[] = {std::strlen(s1), std::strlen(s2), std::strlen(s3)};
  const std::size_t total = lengths[0] + lengths[1] + lengths[2];
  if (total > max_changed_text) {
    AAA_DEBUG_LOG("Strings of %zu bytes are too long, at most %zu.\r\n", total, max_changed_text);
    return -1;
  }
  std::uint8_t body[password_change_size] = {};
  aaa::ItemWriter items(body);
  items.put(1, static_cast<std::uint16_t>(lengths[0]), s1);
  items.put(2, static_cast<std::uint16_t>(lengths[1]), s2);
  items.put(3, static_cast<std::uint16_t>(lengths[2]), s3);
  const auto size = static_cast<std::int32_t>(3 * aaa::tlv_header_size + total);
  const aaa::Reply reply(aaalib_sr_ipc_msg(AAA_MSG_LOCAL_CHANGE_PWD_REQ, body, size));
  aaa::wipe(body, sizeof body);
  return reply ? static_cast<std::int32_t>(reply.word(0)) : -5;
}

std::int32_t username_lib_fs_grant_req(const char* s1, const char* s2, std::uint32_t value) {
  if (s1 == nullptr || s2 == nullptr) {
    AAA_DEBUG_LOG("Null param passed in.\r\n");
    return -2;
  }
  if (aaa_is_alive() == 0) return -3;
  const std::size_t length1 = std::min(std::strlen(s1), max_grant_text1);
  const std::size_t length2 = std::min(std::strlen(s2), max_grant_text2);
  aaa::RequestBody body(3 * aaa::tlv_header_size + length1 + length2 + sizeof value);
  if (!body) {
    AAA_DEBUG_LOG("Get new memory for sndbuf faild.\r\n");
    return -1;
  }
  add_item(body, 1, s1, length1);
  add_item(body, 2, s2, length2);
  add_item(body, 3, &value, sizeof value);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_LOCAL_FS_GRANT, body));
  return reply ? -static_cast<std::int32_t>(reply.first_byte()) : -1;
}

std::int32_t username_lib_query_pwd_secu(const char* s1, const char* s2) {
  if (s1 == nullptr || s2 == nullptr) {
    AAA_DEBUG_LOG("Null param passed in.\r\n");
    return -1;
  }
  if (aaa_is_alive() == 0) return -2;
  const std::size_t length1 = std::strlen(s1);
  const std::size_t length2 = std::strlen(s2);
  aaa::RequestBody body(2 * aaa::tlv_header_size + length1 + length2);
  if (!body) {
    AAA_DEBUG_LOG("out of memory\r\n");
    return -3;
  }
  add_item(body, 1, s1, length1);
  add_item(body, 2, s2, length2);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_LOCAL_QUERY_PWD, body));
  if (!reply) return -2;
  if (reply.type() != AAA_MSG_LOCAL_QUERY_PWD_RESP) return -3;
  return static_cast<std::int32_t>(reply.word(0));
}
