#include "support/records.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {
namespace {

// Without padding in the last item.
constexpr std::size_t least_request = 4 + AAA_AUTHEN_BLOCK_SIZE + 6 * 4 + 24 + 40 + 40 + 24 + 24;
constexpr std::size_t least_result = 4 + AAA_RESULT_BLOCK_SIZE + 5 * 4 + 24 + 40 + 40 + 24;

const std::string text(24, 't');
const std::string data(40, 'd');
const std::string padding(16384, 'f');

aaa_item item(const std::string& value) {
  return {0, static_cast<std::uint16_t>(value.size()), value.data()};
}

std::uint32_t padding_size(std::size_t body_length, std::size_t least) {
  if (body_length <= least || body_length - least > padding.size()) {
    throw std::runtime_error("no record of " + std::to_string(body_length) + " bytes");
  }
  return static_cast<std::uint32_t>(body_length - least);
}

}  // namespace

authen_info typical_request(std::size_t body_length) {
  authen_info record = {};
  std::strcpy(record.chars65_a, "alice");
  record.session_id = 1;
  record.user_password = item(text);
  record.eap_message = item(data);
  record.state = item(data);
  record.chargeable_user_identity = item(text);
  record.ext_text = text.c_str();
  record.tail_data = padding.data();
  record.tail_len = padding_size(body_length, least_request);
  return record;
}

Bytes typical_result(std::size_t body_length) {
  result_info record = {};
  record.reply_message = item(text);
  record.class_ = item(data);
  record.state = item(data);
  record.text_302 = text.data();
  record.text_302_len = static_cast<std::uint32_t>(text.size());
  record.tail_data = padding.data();
  record.tail_len = padding_size(body_length, least_result);
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  Bytes bytes(static_cast<std::uint8_t*>(body), static_cast<std::uint8_t*>(body) + length);
  aaa_free(0, "", body);
  return bytes;
}

}  // namespace bench
