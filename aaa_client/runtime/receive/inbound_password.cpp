// aaad asks the client to update a user's password.
#include <cstring>

#include "aaa_client.h"
#include "codec/tlv.h"
#include "runtime/receive/inbound.h"
#include "transport/base/atomic_word.h"
#include "transport/base/memory.h"
#include "transport/debug_log.h"

namespace aaa {

aaa_user_pwd_update_fn g_aaa_user_pwd_update_req_handle = nullptr;

namespace {

constexpr std::int64_t first_string_offset = 8;

// A string of the body, copied and terminated; never longer than the bytes that are there.
struct Text {
  char* text = nullptr;
  std::uint32_t length = 0;

  // Copies the string whose length field is at *offset and advances *offset past it. Returns false
  // when there is no memory.
  bool copy(const Body& body, std::int64_t* offset) {
    std::uint32_t claimed = 0;
    body.copy(&claimed, body.at(*offset), sizeof claimed);
    const std::uint8_t* const from = body.at(*offset + std::int64_t{sizeof claimed});
    *offset += std::int64_t{sizeof claimed} + std::int64_t{claimed};
    length = static_cast<std::uint32_t>(body.available(from, claimed));
    text = static_cast<char*>(AAA_MALLOC(length + 1));
    if (text == nullptr) return false;
    std::memcpy(text, from, length);
    text[length] = '\0';
    return true;
  }

  ~Text() { wipe_and_free(text, length); }
};

void update(const Inbound& message, std::uint32_t code, const Body& body) {
  std::int64_t offset = first_string_offset;
  Text s1;
  Text s2;
  Text s3;
  if (!s1.copy(body, &offset) || !s2.copy(body, &offset) || !s3.copy(body, &offset)) return;
  AAA_DEBUG_LOG_AS("aaalib_ipc_msg_proc_backend_update_user_pwd", "%u %s %s %s\r\n", code, s1.text,
                   s2.text, s3.text);
  const auto handler = message.callback(g_aaa_user_pwd_update_req_handle);
  if (handler != nullptr) handler(code, s1.text, s2.text, s3.text);
}

}  // namespace

void handle_backend_update_user_pwd(const Inbound& message) {
  if (message.body == nullptr) return;
  const Body bytes(message.body, static_cast<std::int32_t>(message.header->length));
  std::uint32_t code = 0;
  bytes.copy(&code, message.body, sizeof code);
  update(message, code, bytes);
}

}  // namespace aaa
