#include "remembered.h"

#include <arpa/inet.h>

#include <algorithm>

#include "body_reader.h"
#include "records.h"

namespace aaa_sim {
namespace {

constexpr std::size_t kRestoreSize = 392;
constexpr std::size_t kRadextSent = 2784;  // of the 2788 bytes of the block
constexpr std::uint16_t kGroupName = 1;
constexpr std::uint16_t kGroupState = 2;

template <std::size_t count>
std::array<std::uint32_t, count> read_words(BodyReader& body) {
  std::array<std::uint32_t, count> words;
  for (std::uint32_t& word : words)
    word = body.word();
  return words;
}

template <std::size_t count>
std::array<std::uint32_t, count> read_words(View body) {
  BodyReader reader(body);
  return read_words<count>(reader);
}

Replies forget_user(World& world, const Request& request, bool moved_out) {
  const auto [session_id, word] = read_words<2>(request.body);
  world.memory.users.erase(session_id);
  world.memory.deleted_users.push_back({session_id, word, moved_out});
  return {};
}

Replies keep_record(World& world, std::uint32_t session_id, const Request& request) {
  const View record = BodyReader(request.body).bytes(kRestoreSize);
  world.memory.users[session_id].record = Bytes(record.begin(), record.end());
  return {};
}

}  // namespace

Replies remember_rare_result(World& world, const Request& request) {
  const ResultInfo result = decode_result(request.body);
  if (!result) throw BadBody("unreadable result");
  world.memory.rare_results[result->sub.session_id] = result->sub.num_a;
  return {};
}

Replies delete_user(World& world, const Request& request) {
  return forget_user(world, request, false);
}

Replies move_out_user(World& world, const Request& request) {
  return forget_user(world, request, true);
}

Replies synchronise_user(World& world, const Request& request) {
  const auto words = read_words<4>(request.body);
  world.memory.users[words[1]].words = words;
  return {};
}

Replies restore_user(World& world, const Request& request) {
  return keep_record(world, BodyReader(request.body).word(), request);
}

Replies back_up_user(World& world, const Request& request) {
  return keep_record(world, request.header.id, request);
}

Replies register_group(World& world, const Request& request) {
  BodyReader body(request.body);
  const auto [w0, w1] = read_words<2>(body);
  world.memory.groups[body.last_text()] = {w0, w1};
  const std::uint32_t registered = 0;
  return {{Role::request, AAA_MSG_REGISTER_GROUP_RESP, 0, encode_words({&registered, 1})}};
}

Replies remember_group_verdict(World& world, const Request& request) {
  world.memory.group_verdicts.push_back(static_cast<std::int32_t>(BodyReader(request.body).word()));
  return {};
}

Replies remember_online_info(World& world, const Request& request) {
  std::array<std::uint8_t, 8> info;
  std::ranges::copy(BodyReader(request.body).bytes(info.size()), info.begin());
  world.memory.online_infos.push_back(info);
  return {};
}

Replies set_radius_group_state(World& world, const Request& request) {
  std::string name;
  std::uint32_t state = 0;
  for (BodyReader body(request.body); body.left() > 0;) {
    const std::uint16_t type = body.short_word();
    BodyReader item(body.bytes(body.short_word()));
    if (type == kGroupName) name = item.last_text();
    if (type == kGroupState) state = item.word();
  }
  world.memory.radius_group_states[name] = state;
  return {};
}

Replies count_radius_group_change(World& world, const Request&) {
  ++world.memory.radius_group_changes;
  return {};
}

std::uint32_t cleared_session(View body) {
  return ::ntohl(BodyReader(body).word());
}

Replies clear_user(World& world, const Request& request) {
  world.memory.cleared_sessions.push_back(cleared_session(request.body));
  return {};
}

Replies remember_dot1x(World& world, const Request& request) {
  world.memory.dot1x_statistics.push_back(read_words<2>(request.body));
  return {};
}

Replies take_radext_request(World& world, const Request& request) {
  const View sent = BodyReader(request.body).bytes(kRadextSent);
  Bytes block(sent.begin(), sent.end());
  block.resize(AAA_RADEXT_BLOCK_SIZE);
  radext_msg_info record{};
  aaa_parse_radext_msg_sub(block.data(), &record);
  world.memory.radext_requests.push_back(
      {record.num_a, record.num_b, std::string(text_of(record.text_a))});
  const std::array<std::uint32_t, 6> result{record.num_a, record.num_b};
  return {{Role::event, AAA_MSG_ADD_RADEXT_RESULT, 0, encode_words(result)}};
}

Replies remember_radext_result(World& world, const Request& request) {
  world.memory.radext_results.push_back(read_words<6>(request.body));
  return {};
}

Replies remember_password_result(World& world, const Request& request) {
  const auto [code, status] = read_words<2>(request.body);
  world.memory.password_results[code] = status;
  return {};
}

Replies remember_interface_control(World& world, const Request& request) {
  world.memory.interface_controls.push_back(read_words<3>(request.body));
  return {};
}

Replies remember_ldap_answer(World& world, const Request& request) {
  world.memory.ldap_answers.push_back(decode_answer(request.body));
  return {};
}

}  // namespace aaa_sim
