// Users that aaad knows of: deleting, synchronising, restoring, and password updates, which either
// side can request.
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "runtime/receive/inbound.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"

namespace {

// A word that the rows of the block leave free.
constexpr std::size_t ha_flag_offset = 344;

// Counts a failure; returns the result of the call.
std::int32_t count_outcome(std::uint32_t& failures, bool done) {
  if (done) return 0;
  aaa::add(failures, 1U);
  return -1;
}

void delete_user(aaa_msg_type type, std::uint32_t session_id, std::uint32_t w1) {
  if (aaa_is_alive() == 0) return;
  aaa::add(g_aaalib_stat.user_deletions, 1U);
  const std::uint32_t body[2] = {session_id, w1};
  const std::int32_t error = aaa::send_one_way(type, session_id, body, sizeof body);
  count_outcome(g_aaalib_stat.user_deletion_failures, error == 0);
}

}  // namespace

std::int32_t aaa_delete_user(std::uint32_t session_id, std::uint32_t w1) {
  delete_user(AAA_MSG_DELETE_USER, session_id, w1);
  return 0;
}

std::int32_t aaa_move_out_delete_user(std::uint32_t session_id, std::uint32_t w1) {
  delete_user(AAA_MSG_MOVE_OUT_DELETE_USER, session_id, w1);
  return 0;
}

std::int32_t aaa_user_syn(std::uint32_t w0, const std::uint32_t words[3]) {
  if (aaa_is_alive() == 0) return -1;
  if (words == nullptr) return -EINVAL;
  const std::uint32_t body[8] = {w0, words[0], words[1], words[2]};
  const std::int32_t error = aaa::send_one_way(AAA_MSG_USER_SYNC, words[0], body, sizeof body);
  AAA_DEBUG_LOG("send ipc msg return %d.\r\n", error);
  return error == 0 ? 0 : -1;
}

std::int32_t aaa_restore_user(const restore_user_info* record, std::uint32_t flag) {
  if (aaa_is_alive() == 0) return -1;
  aaa::add(g_aaalib_stat.user_restores, 1U);
  bool sent = false;
  if (record != nullptr && flag != 0) {
    unsigned char body[AAA_RESTORE_USER_BLOCK_SIZE];
    aaa_encap_restore_user(record, body);
    sent = aaa::send_one_way(AAA_MSG_RESTORE_USER, record->num_a, body, sizeof body) == 0;
    aaa::wipe(body, sizeof body);
  }
  return count_outcome(g_aaalib_stat.user_restore_failures, sent);
}

std::int32_t aaa_ha_user_syn(std::uint32_t id, std::uint32_t, const restore_user_info* record,
                             const void* flag) {
  if (aaa_is_alive() == 0) return -1;
  aaa::add(g_aaalib_stat.ha_user_syncs, 1U);
  unsigned char body[AAA_RESTORE_USER_BLOCK_SIZE] = {};
  aaa_encap_restore_user(record, body);
  const std::uint32_t set = 1;
  if (flag != nullptr) std::memcpy(body + ha_flag_offset, &set, sizeof set);
  const std::int32_t error = aaa::send_one_way(AAA_MSG_HOT_BACKUP_USER_SYNC, id, body, sizeof body);
  aaa::wipe(body, sizeof body);
  return count_outcome(g_aaalib_stat.ha_user_sync_failures, error == 0);
}

namespace {

// Results of aaa_update_user_pwd() other than 0.
constexpr std::int32_t bad_argument = 2;
constexpr std::int32_t no_reply = 4;
constexpr std::int32_t no_memory = 5;

constexpr std::uint32_t not_updated = 1;  // the status when the reply is of another type

constexpr std::size_t text_header_size = 4;

// A 32-bit length, then the characters.
void add_text(aaa::RequestBody& body, const char* text, std::size_t length) {
  body.add_word(static_cast<std::uint32_t>(length));
  body.add_bytes(text, length);
}

}  // namespace

std::int32_t aaa_update_user_pwd(std::uint32_t w0, std::uint32_t w1, const char* s1, const char* s2,
                                 const char* s3, std::uint32_t* status_out) {
  if (s1 == nullptr || s2 == nullptr || s3 == nullptr || status_out == nullptr) return bad_argument;
  const std::size_t length1 = std::strlen(s1);
  const std::size_t length2 = std::strlen(s2);
  const std::size_t length3 = std::strlen(s3);
  aaa::RequestBody body(sizeof w0 + sizeof w1 + 3 * text_header_size + length1 + length2 + length3);
  if (!body) return no_memory;
  body.add_word(w0);
  body.add_word(w1);
  add_text(body, s1, length1);
  add_text(body, s2, length2);
  add_text(body, s3, length3);
  const aaa::Reply reply(aaa::exchange(AAA_MSG_UPDATE_USER_PWD_REQ, body));
  if (!reply) return no_reply;
  *status_out = reply.type() == AAA_MSG_UPDATE_USER_PWD_RESP ? reply.word(1) : not_updated;
  AAA_DEBUG_LOG("Update user pwd: %d\r\n", static_cast<int>(*status_out));
  return 0;
}

void aaa_add_user_pwd_update_req_handle(aaa_user_pwd_update_fn handler) {
  aaa::store(aaa::g_aaa_user_pwd_update_req_handle, handler);
}

std::int32_t aaa_add_user_pwd_update_result(std::uint32_t w0, std::uint32_t w1) {
  const std::uint32_t body[2] = {w0, w1};
  return aaa::send_one_way(AAA_MSG_USER_PWD_UPDATE_RESULT, w0, body, sizeof body);
}
