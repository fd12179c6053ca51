#include "messages/catalogue.h"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <utility>

#include "aaa_client.h"
#include "messages/records.h"

namespace aaa_messages {
namespace {

using Parts = std::vector<Part>;

// ---- Parts. ---------------------------------------------------------------------------------

Part block(const Block& of) {
  return {.shape = Shape::block, .block = &of};
}
Part items(const ItemList& of) {
  return {.shape = Shape::items, .items = &of};
}
Part text(std::string_view name) {
  return {.shape = Shape::text, .name = name};
}
Part octets(std::string_view name) {
  return {.shape = Shape::octets, .name = name};
}

constexpr Part group_name = {.shape = Shape::short_text, .name = "group_name"};
constexpr Part batch = {.shape = Shape::messages};
// aaad and its clients know what it is, or nobody reads it.
constexpr Part unknown_body = {.shape = Shape::unknown, .name = "body"};

// Blocks without names in a header: they live as long as the program.
Part block(std::size_t size, std::vector<Row> rows) {
  static std::vector<std::unique_ptr<const Block>> blocks;
  blocks.push_back(std::make_unique<const Block>(Block{size, std::move(rows)}));
  return block(*blocks.back());
}

// 32-bit words, one after another.
Part numbers(std::initializer_list<std::string_view> names) {
  std::vector<Row> rows;
  for (const std::string_view name : names)
    rows.push_back({name, 4 * rows.size(), 4, Kind::number});
  return block(4 * names.size(), rows);
}

Part number(std::string_view name, Kind kind) {
  return block(4, {{name, 0, 4, kind}});
}

Part byte(std::string_view name) {
  return block(1, {{name, 0, 1, Kind::number}});
}

// Which of the texts are passwords is known to aaad alone.
Parts password_texts(Part head) {
  const auto secret = [](std::string_view name) {
    return Part{.shape = Shape::long_text, .name = name, .secret = true};
  };
  return {head, secret("s1"), secret("s2"), secret("s3")};
}

// ---- Messages of clients. -------------------------------------------------------------------

Message request(std::uint32_t type, Parts parts) {
  return {type, Sender::client, Sockets::request, std::move(parts)};
}

Message on(Sockets sockets, Message message) {
  message.sockets = sockets;
  return message;
}

std::vector<Message> requests() {
  const auto role = block(1, {{"role", 0, 1, Kind::text}});
  return {
      on(Sockets::both, request(AAA_MSG_REGISTER_REQ, {role, text("model_name")})),
      on(Sockets::both, request(AAA_MSG_REREGISTER_REQ, {unknown_body})),
      request(AAA_MSG_DEREGISTER_REQ, {text("model_name")}),
      request(AAA_MSG_GET_SESSION_ID, {numbers({"w0", "w1"})}),
      request(AAA_MSG_SEND_RARE_RESULT, {items(result_items())}),
      request(AAA_MSG_AUTHEN_REQ, {items(authen_items())}),
      request(AAA_MSG_AUTHOR_REQ, {items(author_items())}),
      request(AAA_MSG_ACCT_REQ, {items(acct_items())}),
      request(AAA_MSG_DELETE_USER, {numbers({"session_id", "w1"})}),
      request(AAA_MSG_QUERY_MLIST_EXIST, {numbers({"w0", "w1", "w2"}), text("name")}),
      request(AAA_MSG_USER_SYNC,
              {block(32, {{"w0", 0, 4, Kind::number}, {"words", 4, 12, Kind::words}})}),
      request(AAA_MSG_RESTORE_USER, {block(restore_user_block())}),
      request(AAA_MSG_SERVER_MIB,
              {block(396, {{"mib", 0, 392, Kind::octets}, {"w", 392, 4, Kind::number}})}),
      request(AAA_MSG_REGISTER_GROUP, {numbers({"w0", "w1"}), text("name")}),
      on(Sockets::event, request(AAA_MSG_GS_VALID_RESP, {number("verdict", Kind::signed_number)})),
      on(Sockets::event,
         request(AAA_MSG_RDS_ONLINE_INFO_RESP, {block(8, {{"answer", 0, 8, Kind::octets}})})),
      request(AAA_MSG_SET_RADIUS_GROUP_STATE, {items(group_state_items())}),
      request(AAA_MSG_RADIUS_GROUP_STATE_CHANGE, {}),
      request(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, {numbers({"kind"}), text("name")}),
      request(AAA_MSG_CLEAR_USER, {number("session_id", Kind::network_number)}),
      request(AAA_MSG_HOT_BACKUP_USER_SYNC, {block(hot_backup_block())}),
      request(AAA_MSG_DOT1X_MIB, {numbers({"w0", "w1"})}),
      request(AAA_MSG_LOCAL_QUERY_PWD, {items(password_check_items())}),
      request(AAA_MSG_RADEXT_REQ, {block(radext_request_block())}),
      request(AAA_MSG_RADEXT_ADD_RESULT, {numbers({"w0", "w1", "w2", "w3", "w4", "w5"})}),
      request(AAA_MSG_PAD_PKT, {batch}),
      request(AAA_MSG_UPDATE_USER_PWD_REQ, password_texts(numbers({"w0", "w1"}))),
      request(AAA_MSG_USER_PWD_UPDATE_RESULT, {numbers({"w0", "w1"})}),
      request(AAA_MSG_INTERFACE_CONTROL, {numbers({"w0", "w1", "w2"})}),
      on(Sockets::both, request(AAA_MSG_GET_NEW_MODEL_STATE_REQ, {unknown_body})),
      request(AAA_MSG_LDAP_SEARCH_REQ,
              {block(ldap_search_head_block()), items(ldap_search_items())}),
      request(AAA_MSG_LDAP_SEARCH_RESULT,
              {block(ldap_result_head_block()), items(ldap_result_items())}),
      request(AAA_MSG_MOVE_OUT_DELETE_USER, {numbers({"session_id", "w1"})}),
      request(AAA_MSG_LOCAL_AUTHEN_REQ, {items(authen_items())}),
      request(AAA_MSG_LOCAL_AUTHOR_REQ, {items(author_items())}),
      request(AAA_MSG_LOCAL_CHANGE_PWD_REQ, {items(password_change_items())}),
      request(AAA_MSG_LOCAL_FS_GRANT, {items(file_grant_items())}),
      request(AAA_MSG_LOCAL_COPY_USER, {text("user_name")}),
      request(AAA_MSG_LOCAL_UPDATE_USER, {items(local_user_items())}),
      request(AAA_MSG_HEARTBEAT, {}),
  };
}

// ---- Messages of aaad. ----------------------------------------------------------------------

Message reply(std::uint32_t type, Parts parts) {
  return {type, Sender::daemon, Sockets::request, std::move(parts)};
}

std::vector<Message> replies() {
  return {
      reply(AAA_MSG_GET_SESSION_ID, {numbers({"first_id", "count"})}),
      reply(AAA_MSG_REGISTER_RESP, {number("aaa_id", Kind::signed_number)}),
      on(Sockets::both, reply(AAA_MSG_DEREGISTER_RESP, {unknown_body})),
      reply(AAA_MSG_MLIST_EXISTED_RESP, {numbers({"result"})}),
      reply(AAA_MSG_SERVER_MIB_RESP, {numbers({"result"})}),
      reply(AAA_MSG_REGISTER_GROUP_RESP, {numbers({"result"})}),
      reply(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, {numbers({"result"})}),
      reply(AAA_MSG_LOCAL_AUTHEN_REQ, {items(result_items())}),
      reply(AAA_MSG_LOCAL_AUTHOR_REQ, {items(result_items())}),
      reply(AAA_MSG_LOCAL_CHANGE_PWD_REQ, {numbers({"result"})}),
      reply(AAA_MSG_LOCAL_FS_GRANT, {byte("result")}),
      reply(AAA_MSG_LOCAL_COPY_USER, {items(local_user_items())}),
      reply(AAA_MSG_LOCAL_UPDATE_USER, {byte("result")}),
      reply(AAA_MSG_LOCAL_QUERY_PWD_RESP, {numbers({"result"})}),
      reply(AAA_MSG_UPDATE_USER_PWD_RESP, {numbers({"w0", "status"})}),
      on(Sockets::both, reply(AAA_MSG_GET_NEW_MODEL_STATE_RESP, {unknown_body})),
  };
}

Message event(std::uint32_t type, Parts parts) {
  return {type, Sender::daemon, Sockets::event, std::move(parts)};
}

// What aaad says about RADIUS extensions: six words, or a whole block.
Message radext_words() {
  Message message =
      event(AAA_MSG_ADD_RADEXT_RESULT, {numbers({"w0", "w1", "w2", "w3", "w4", "w5"})});
  message.body_length = 24;
  return message;
}

std::vector<Message> events() {
  return {
      event(AAA_MSG_AAA_INFO_READY, {block(status_block())}),
      event(AAA_MSG_NOTIFY_RESULT, {items(result_items())}),
      event(AAA_MSG_NOTIFY_DEL_MSG,
            {block(560, {{"kind", 0, 4, Kind::number}, {"data", 4, 556, Kind::octets}})}),
      event(AAA_MSG_AAA_DEBUG_INFO, {numbers({"enable", "limit"})}),
      event(AAA_MSG_AUTHEN_GROUP_REQ, {group_name, items(authen_items())}),
      event(AAA_MSG_AUTHOR_GROUP_REQ, {group_name, items(author_items())}),
      event(AAA_MSG_ACCT_GROUP_REQ, {group_name, items(acct_items())}),
      event(AAA_MSG_GS_VALID_REQ,
            {block(396, {{"data", 0, 392, Kind::octets}, {"word", 392, 4, Kind::number}})}),
      event(AAA_MSG_GET_ONLINE_INFO, {octets("data")}),
      event(AAA_MSG_ENABLE_AUTHEN, {items(authen_items())}),
      event(AAA_MSG_MLIST_CHANGE, {octets("data")}),
      event(AAA_MSG_DEL_MSG_REQ, {numbers({"w0", "w1", "w2"})}),
      radext_words(),
      event(AAA_MSG_ADD_RADEXT_RESULT, {block(radext_result_block())}),
      event(AAA_MSG_NOTIFY_COA_REQ, {block(720, {{"data", 0, 720, Kind::octets}})}),
      event(AAA_MSG_LOCALEAP_AUTHEN, {items(authen_items())}),
      event(AAA_MSG_BACKEND_UPDATE_USER_PWD,
            password_texts(block(8, {{"code", 0, 4, Kind::number}}))),
      on(Sockets::both, event(AAA_MSG_KEL, {unknown_body})),
      event(AAA_MSG_HEARTBEAT, {octets("data")}),
      event(AAA_MSG_LDAP_SEARCH_ENTRY_REQ,
            {group_name, block(ldap_search_head_block()), items(ldap_search_items())}),
      event(AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT,
            {block(ldap_result_head_block()), items(ldap_result_items())}),
  };
}

std::vector<Message> all_messages() {
  std::vector<Message> all = requests();
  for (const auto& more : {replies(), events()})
    all.insert(all.end(), more.begin(), more.end());
  std::ranges::stable_sort(all, {}, &Message::type);
  return all;
}

}  // namespace

std::span<const Message> catalogue() {
  static const std::vector<Message> messages = all_messages();
  return messages;
}

const Message* find(std::uint32_t type, Sender sender, std::size_t body_length) {
  for (const Message& message : catalogue()) {
    if (message.type == type && message.sender == sender &&
        message.body_length.value_or(body_length) == body_length)
      return &message;
  }
  return nullptr;
}

}  // namespace aaa_messages
