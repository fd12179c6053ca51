#include "wire/local_user.h"

#include <algorithm>

#include "wire/body.h"

namespace aaa_sim {
namespace {

constexpr std::uint32_t kName = 1;
constexpr std::uint32_t kPassword = 6;
constexpr std::uint32_t kItemHeader = 8;

void add_text(BodyWriter& body, std::uint32_t type, const std::string& text) {
  body.word(type).word(kItemHeader + static_cast<std::uint32_t>(text.size())).text(text);
}

void add_number(BodyWriter& body, std::uint32_t type, std::uint32_t number) {
  body.word(type).word(kItemHeader + 4).word(number);
}

template <typename Value, std::size_t count>
const LocalUserField<Value>* find_field(const LocalUserField<Value> (&fields)[count],
                                        std::uint32_t type) {
  const auto* field = std::ranges::find(fields, type, &LocalUserField<Value>::type);
  return field == std::end(fields) ? nullptr : field;
}

void take_item(LocalUser& user, std::uint32_t type, View value) {
  const std::string text(value.begin(), value.end());
  if (type == kName) {
    user.name = text;
  } else if (type == kPassword) {
    user.passwords.push_back(text);
  } else if (const auto* number = find_field(kLocalUserNumbers, type)) {
    user.*number->member = BodyReader(value).word();
  } else if (const auto* flag = find_field(kLocalUserFlags, type)) {
    user.*flag->member = BodyReader(value).word() != 0;
  } else if (const auto* string = find_field(kLocalUserTexts, type)) {
    user.*string->member = text;
  }
}

}  // namespace

Bytes encode_local_user(const LocalUser& user) {
  BodyWriter body;
  add_text(body, kName, user.name);
  for (const auto& field : kLocalUserNumbers)
    add_number(body, field.type, user.*field.member);
  for (const auto& field : kLocalUserFlags) {
    if (user.*field.member) add_number(body, field.type, 1);
  }
  for (const auto& field : kLocalUserTexts) {
    if (!(user.*field.member).empty()) add_text(body, field.type, user.*field.member);
  }
  for (const std::string& password : user.passwords)
    add_text(body, kPassword, password);
  return body.take();
}

LocalUser decode_local_user(View body) {
  LocalUser user;
  for (BodyReader reader(body); reader.left() > 0;) {
    const std::uint32_t type = reader.word();
    const std::uint32_t length = reader.word();
    if (length < kItemHeader) throw BadBody("item of length " + std::to_string(length));
    take_item(user, type, reader.bytes(length - kItemHeader));
  }
  return user;
}

}  // namespace aaa_sim
