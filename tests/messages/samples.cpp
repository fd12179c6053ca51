#include "messages/samples.h"

#include <cstdlib>
#include <set>

#include "messages/sample_bodies.h"
#include "messages/sample_fields.h"
#include "support/bytes.h"

namespace test {
namespace {

using aaa_messages::Sender;
using aaa_messages::Socket;

bool holds_text(const BlockRow& row) {
  const std::string name = row.name;
  return name.starts_with("chars") || name.starts_with("text");
}

MessageSample of_client(std::uint32_t type, const char* name, std::uint32_t id, std::string body,
                        const char* fields) {
  return {name, Socket::request, Sender::client, type, id, std::move(body), fields};
}

MessageSample on_event_socket(MessageSample sample) {
  sample.socket = Socket::event;
  return sample;
}

std::vector<MessageSample> requests() {
  return {
      of_client(0, "register_request", 0, "1dot1x" + zeros(1),
                R"([{"name":"role","offset":16,"length":1,"value":"1"},
                    {"name":"model_name","offset":17,"length":6,"value":"dot1x"}])"),
      on_event_socket(of_client(0, "register_event", 0, "2dot1x" + zeros(1),
                                R"([{"name":"role","offset":16,"length":1,"value":"2"},
                    {"name":"model_name","offset":17,"length":6,"value":"dot1x"}])")),
      of_client(1, "reregister", 0, sample_secret,
                R"([{"name":"body","offset":16,"length":9,"secret":true}])"),
      of_client(2, "deregister", 0, "dot1x", model),
      of_client(3, "get_session_id", 0, word_bytes({1, 2}), words_2),
      of_client(4, "send_rare_result", 77, result(), "result"),
      of_client(5, "authen", 77, authen(), "authen"),
      of_client(6, "author", 77, author(), "author"),
      of_client(7, "acct", 77, acct(), "acct"),
      of_client(8, "delete_user", 77, word_bytes({77, 2}), user_words),
      of_client(9, "query_mlist", 0, word_bytes({1, 2, 3}) + "default" + zeros(1),
                R"([{"name":"w0","offset":16,"length":4,"value":1},
                    {"name":"w1","offset":20,"length":4,"value":2},
                    {"name":"w2","offset":24,"length":4,"value":3},
                    {"name":"name","offset":28,"length":8,"value":"default"}])"),
      of_client(10, "user_sync", 2, word_bytes({1, 2, 3, 4, 0, 0, 0, 0}),
                R"([{"name":"w0","offset":16,"length":4,"value":1},
                    {"name":"words","offset":20,"length":12,"value":[2,3,4]}])"),
      of_client(11, "restore_user", 77, sample_block(restore_user_rows, 392), "restore_user"),
      of_client(12, "server_mib", 0, "mib" + zeros(389) + word_bytes(5),
                R"([{"name":"mib","offset":16,"length":392,"value":"mib"},
                    {"name":"w","offset":408,"length":4,"value":5}])"),
      of_client(13, "register_group", 0, word_bytes({1, 2}) + "radius" + zeros(1),
                R"([{"name":"w0","offset":16,"length":4,"value":1},
                    {"name":"w1","offset":20,"length":4,"value":2},
                    {"name":"name","offset":24,"length":7,"value":"radius"}])"),
      on_event_socket(of_client(14, "gs_valid_answer", 0, hex("ffffffff"),
                                R"([{"name":"verdict","offset":16,"length":4,"value":-1}])")),
      on_event_socket(
          of_client(15, "online_info_answer", 0, hex("0102030405060708"),
                    R"([{"name":"answer","offset":16,"length":8,"hex":"0102030405060708"}])")),
      of_client(16, "set_group_state", 0, hex("0100 0400 6c616200 0200 0400 03000000"),
                R"([{"name":"group_name","tag":1,"offset":20,"length":4,"value":"lab"},
                    {"name":"state","tag":2,"offset":28,"length":4,"value":3}])"),
      of_client(17, "group_state_change", 0, "", "[]"),
      of_client(18, "query_authen_mlist", 0, word_bytes(10) + "default" + zeros(1),
                R"([{"name":"kind","offset":16,"length":4,"value":10},
                    {"name":"name","offset":20,"length":8,"value":"default"}])"),
      of_client(19, "clear_user", 0, hex("01020304"),
                R"([{"name":"session_id","offset":16,"length":4,"value":16909060}])"),
      of_client(20, "hot_backup", 77, sample_block(restore_user_rows, 392).replace(344, 1, "\1"),
                "hot_backup"),
      of_client(21, "dot1x_mib", 0, word_bytes({1, 2}), words_2),
      of_client(22, "query_pwd", 0, item_bytes(1, sample_secret) + item_bytes(2, sample_secret),
                two_secret_items),
      of_client(23, "radext", 0, sample_block(radext_rows, 2784), "radext_request"),
      of_client(24, "add_radext_result", 4, word_bytes({1, 2, 3, 4, 5, 6}), words_6),
      of_client(25, "batch", 0,
                message_with_id(0, 28, word_bytes({1, 2, 3})) + message_with_id(77, 6, author()),
                "batch"),
      of_client(26, "update_pwd", 0, word_bytes({1, 2}) + three_secrets(),
                R"([{"name":"w0","offset":16,"length":4,"value":1},
                    {"name":"w1","offset":20,"length":4,"value":2},
                    {"name":"s1_length","offset":24,"length":4,"value":9},
                    {"name":"s1","offset":28,"length":9,"secret":true},
                    {"name":"s2_length","offset":37,"length":4,"value":9},
                    {"name":"s2","offset":41,"length":9,"secret":true},
                    {"name":"s3_length","offset":50,"length":4,"value":9},
                    {"name":"s3","offset":54,"length":9,"secret":true}])"),
      of_client(27, "pwd_update_result", 1, word_bytes({1, 2}), words_2),
      of_client(28, "interface_control", 0, word_bytes({1, 2, 3}), words_3),
      of_client(29, "get_new_model_state", 0, "", "[]"),
      of_client(32, "ldap_search", 77, ldap_search(), ldap_search_fields),
      of_client(33, "ldap_result", 77, ldap_result(), ldap_result_fields),
      of_client(34, "move_out_delete_user", 77, word_bytes({77, 2}), user_words),
      of_client(115, "local_authen", 0, authen(), "authen"),
      of_client(116, "local_author", 0, author(), "author"),
      of_client(117, "local_change_pwd", 0,
                item_bytes(1, sample_secret) + item_bytes(2, sample_secret) +
                    item_bytes(3, sample_secret),
                three_secret_items),
      of_client(118, "local_grant", 0,
                item_bytes(1, "alice") + item_bytes(2, "/flash") + item_bytes(3, word_bytes(6)),
                R"([{"name":"s1","tag":1,"offset":20,"length":5,"value":"alice"},
                    {"name":"s2","tag":2,"offset":29,"length":6,"value":"/flash"},
                    {"name":"value","tag":3,"offset":39,"length":4,"value":6}])"),
      of_client(119, "local_copy_user", 0, "alice", name_of_a_user),
      of_client(120, "local_update_user", 0, local_user(), local_user_fields),
      of_client(132, "client_heartbeat", 0, "", "[]"),
  };
}

MessageSample reply(std::uint32_t type, const char* name, std::string body, const char* fields) {
  return {name, Socket::request, Sender::daemon, type, 0, std::move(body), fields};
}

std::vector<MessageSample> replies() {
  return {
      reply(3, "session_ids", word_bytes({100, 3}),
            R"([{"name":"first_id","offset":16,"length":4,"value":100},
                {"name":"count","offset":20,"length":4,"value":3}])"),
      reply(100, "register_answer", hex("ffffffff"),
            R"([{"name":"aaa_id","offset":16,"length":4,"value":-1}])"),
      reply(101, "deregister_answer", "", "[]"),
      reply(104, "mlist_existed", word_bytes(7), a_result),
      reply(107, "server_mib_answer", word_bytes(7), a_result),
      reply(108, "register_group_answer", word_bytes(7), a_result),
      reply(114, "authen_mlist_state", word_bytes(7), a_result),
      reply(115, "local_authen_answer", result(), "result"),
      reply(116, "local_author_answer", result(), "result"),
      reply(117, "local_change_pwd_answer", word_bytes(7), a_result),
      reply(118, "local_grant_answer", hex("01"), a_result_byte),
      reply(119, "local_copy_user_answer", local_user(), local_user_fields),
      reply(120, "local_update_user_answer", hex("01"), a_result_byte),
      reply(124, "query_pwd_answer", word_bytes(7), a_result),
      reply(129, "update_pwd_answer", word_bytes({1, 7}),
            R"([{"name":"w0","offset":16,"length":4,"value":1},
                {"name":"status","offset":20,"length":4,"value":7}])"),
      reply(130, "new_model_state", "", "[]"),
  };
}

MessageSample event(std::uint32_t type, const char* name, std::uint32_t id, std::string body,
                    const char* fields) {
  return {name, Socket::event, Sender::daemon, type, id, std::move(body), fields};
}

const std::string status = word_bytes({1, 0xfffffffb, 3, 1, 5, 6, 7, 8, 9, 10});
const std::string group = "\3lab";

std::vector<MessageSample> events() {
  return {
      event(102, "info_ready", 0, status,
            R"([{"name":"new_model","offset":16,"length":4,"value":1},
                {"name":"acct_period","offset":20,"length":4,"value":-5},
                {"name":"acct_status","offset":24,"length":4,"value":3},
                {"name":"debug","offset":28,"length":4,"value":1},
                {"name":"debug_msg_limit","offset":32,"length":4,"value":5},
                {"name":"pro_status","offset":36,"length":4,"value":6},
                {"name":"local_user_public_account","offset":40,"length":4,"value":7},
                {"name":"acct_start_fail_policy","offset":44,"length":4,"value":8},
                {"name":"login_service_check_mode","offset":48,"length":4,"value":9},
                {"name":"aaa_id_limit","offset":52,"length":4,"value":10}])"),
      event(103, "notify_result", 77, result(), "result"),
      event(105, "del_notice", 0, notice(560), "del_notice"),
      event(106, "debug_info", 0, word_bytes({1, 500}),
            R"([{"name":"enable","offset":16,"length":4,"value":1},
                {"name":"limit","offset":20,"length":4,"value":500}])"),
      event(109, "authen_group", 77, group + authen(), "authen"),
      event(110, "author_group", 77, group + author(), "author"),
      event(111, "acct_group", 77, group + acct(), "acct"),
      event(112, "gs_valid", 0, "front" + zeros(387) + word_bytes(6),
            R"([{"name":"data","offset":16,"length":392,"value":"front"},
                {"name":"word","offset":408,"length":4,"value":6}])"),
      event(113, "online_info", 0, "which",
            R"([{"name":"data","offset":16,"length":5,"value":"which"}])"),
      event(121, "enable_authen", 77, authen(), "authen"),
      event(122, "mlist_change", 0, "", R"([{"name":"data","offset":16,"length":0,"value":""}])"),
      event(123, "del_msg_req", 0, word_bytes({1, 2, 3}), words_3),
      event(125, "radext_words", 0, word_bytes({1, 2, 3, 4, 5, 6}), words_6),
      event(125, "radext_result", 0, sample_block(std::span(radext_rows).first(22), 2788),
            "radext_result"),
      event(126, "coa", 0, "session" + zeros(713),
            R"([{"name":"data","offset":16,"length":720,"value":"session"}])"),
      event(127, "localeap", 77, authen(), "authen"),
      event(128, "pwd_update", 0, word_bytes({7, 0}) + three_secrets(),
            R"([{"name":"code","offset":16,"length":4,"value":7},
                {"name":"s1_length","offset":24,"length":4,"value":9},
                {"name":"s1","offset":28,"length":9,"secret":true},
                {"name":"s2_length","offset":37,"length":4,"value":9},
                {"name":"s2","offset":41,"length":9,"secret":true},
                {"name":"s3_length","offset":50,"length":4,"value":9},
                {"name":"s3","offset":54,"length":9,"secret":true}])"),
      event(131, "peer_controller", 0, sample_secret,
            R"([{"name":"body","offset":16,"length":9,"secret":true}])"),
      event(132, "heartbeat", 0, "", R"([{"name":"data","offset":16,"length":0,"value":""}])"),
      event(140, "ldap_question", 77, group + ldap_search(), group_ldap_search_fields),
      event(141, "ldap_answer", 77, ldap_result(), ldap_result_fields),
  };
}

std::vector<MessageSample> all_samples() {
  std::vector<MessageSample> all = requests();
  for (const auto& more : {replies(), events()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace

std::string MessageSample::bytes() const {
  return message_with_id(id, type, body);
}

const std::vector<MessageSample>& message_samples() {
  static const std::vector<MessageSample> samples = all_samples();
  return samples;
}

std::vector<MessageSample> distinct_samples() {
  std::vector<MessageSample> samples = message_samples();
  std::set<std::string> bodies;
  std::erase_if(samples, [&](const MessageSample& sample) {
    return !bodies.insert(sample.fields + sample.body).second;
  });
  return samples;
}

const MessageSample& message_sample(const std::string& name) {
  for (const MessageSample& sample : message_samples())
    if (sample.name == name) return sample;
  std::abort();
}

std::string sample_block(std::span<const BlockRow> rows, std::size_t size) {
  std::string block = zeros(size);
  std::size_t next = 0;
  for (const BlockRow& row : rows) {
    for (std::size_t at = row.offset; at < row.offset + row.width; ++at, ++next)
      block[at] = static_cast<char>(holds_text(row) ? 'a' + next % 26 : 0x80 + next % 0x7f);
  }
  return block;
}

}  // namespace test
