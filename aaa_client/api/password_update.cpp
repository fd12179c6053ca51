// Password updates: those that the client asks for, and the answers to those that aaad asks for.
#include <cstring>

#include "aaa_client.h"
#include "api/send_path.h"
#include "runtime/receive/inbound.h"
#include "transport/base/atomic_word.h"
#include "transport/debug_log.h"
#include "transport/exchange.h"

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
