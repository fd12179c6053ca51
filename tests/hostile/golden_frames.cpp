#include "hostile/golden_frames.h"

#include <initializer_list>

#include "hostile/full_bodies.h"

namespace test {
namespace {

Bytes words(std::initializer_list<std::uint32_t> values) {
  BodyBuilder body;
  for (const std::uint32_t value : values)
    body.word32(value);
  return body.body();
}

// A body of `size` bytes whose first word is `first`.
Bytes block(std::uint32_t first, std::size_t size) {
  return BodyBuilder().word32(first).bytes(std::string(size - 4, '\x5a')).body();
}

Bytes counted_text(BodyBuilder body, std::initializer_list<const char*> texts) {
  for (const std::string text : texts)
    body.word32(static_cast<std::uint32_t>(text.size())).bytes(text);
  return body.body();
}

Bytes password_update() {
  return counted_text(BodyBuilder().word32(7).word32(0), {"alice", "old", "new"});
}

// Items whose length counts their header of 8 bytes.
Bytes local_user() {
  BodyBuilder body;
  const auto text = [&](std::uint32_t type, const std::string& value) {
    body.word32(type).word32(static_cast<std::uint32_t>(8 + value.size())).bytes(value);
  };
  text(1, "alice");
  text(6, "first");
  text(6, "second");
  text(18, "string 18");
  text(19, "string 19");
  for (const std::uint32_t type : {2u, 5u, 10u, 12u, 13u, 20u, 7u, 8u, 9u})
    body.word32(type).word32(12).word32(type);
  return body.body();
}

}  // namespace

Bytes bytes_of(const GoldenFrame& frame) {
  return BodyBuilder()
      .word32(0x01010101)
      .word32(0)
      .word32(frame.type)
      .word32(static_cast<std::uint32_t>(frame.body.size()))
      .bytes({frame.body.begin(), frame.body.end()})
      .body();
}

GoldenFrame golden_registration() {
  return {"registration", 100, words({7})};
}
GoldenFrame golden_welcome() {
  return {"info_ready", 102, words({1, 0, 1, 0, 0, 0, 1, 1, 1, 64})};
}
GoldenFrame golden_farewell() {
  return {"farewell", 101, {}};
}

std::vector<GoldenFrame> golden_events() {
  return {golden_welcome(),
          {"result", 103, full_body<result_info>()},
          {"del_notice", 105, block(2, 560)},
          {"debug_info", 106, words({0, 500})},
          {"authen_group", 109, named("group", full_body<authen_info>())},
          {"author_group", 110, named("group", full_body<author_info>())},
          {"acct_group", 111, named("group", full_body<acct_info>())},
          {"gs_valid", 112, block(0, 396)},
          {"online_info", 113, words({1, 2})},
          {"enable_authen", 121, full_body<authen_info>()},
          {"mlist_change", 122, {}},
          {"del_request", 123, words({0, 1, 2})},
          {"radext_result", 125, block(1, 24)},
          {"coa_request", 126, block(0, 720)},
          {"localeap", 127, full_body<authen_info>()},
          {"password_update", 128, password_update()},
          {"heartbeat", 132, {}},
          {"ldap_question", 140, named("group", ldap_question_body())},
          {"ldap_answer", 141, ldap_answer_body()}};
}

std::vector<GoldenAnswer> golden_answers() {
  return {{fuzz::kSessionId, {"session_ids", 3, words({1000, 100})}},
          {fuzz::kMethodList, {"method_list", 104, words({1})}},
          {fuzz::kMethodListState, {"method_list_state", 114, words({1})}},
          {fuzz::kGroup, {"group", 108, words({1})}},
          {fuzz::kPasswordChange, {"password_change", 117, words({0})}},
          {fuzz::kGrant, {"grant", 118, words({0})}},
          {fuzz::kPasswordSecurity, {"password_security", 124, words({2})}},
          {fuzz::kLogin, {"login", 115, full_body<result_info>()}},
          {fuzz::kAuthorization, {"authorization", 116, full_body<result_info>()}},
          {fuzz::kUser, {"user", 119, local_user()}},
          {fuzz::kPasswordUpdate, {"password_update", 129, words({7, 1})}},
          {fuzz::kStatistics, {"statistics", 107, words({1})}}};
}

}  // namespace test
