// Messages handed to the dispatch as the receive thread hands them over, without a receive thread.
#pragma once

#include "runtime/noting_client.h"
#include "support/encoded_body.h"
#include "support/locked_state.h"

namespace test {

// Records as they travel in bodies, told apart by their session ids.
template <class Record, std::uint32_t (*encode)(Record*, void**)>
std::string record_body(std::uint32_t session_id) {
  Record record = {};
  if constexpr (requires { record.session_id; })
    record.session_id = session_id;
  else if constexpr (requires { record.sub.session_id; })
    record.sub.session_id = session_id;
  else
    record.head.session_id = session_id;
  return encoded_body(encode, record);
}
inline constexpr auto authen_body = record_body<authen_info, aaa_encap_authen_info>;
inline constexpr auto author_body = record_body<author_info, aaa_encap_author_info>;
inline constexpr auto acct_body = record_body<acct_info, aaa_encap_acct_info>;
inline constexpr auto result_body = record_body<result_info, aaa_encap_result_info>;
inline constexpr auto search_body = record_body<ldap_search_info, aaa_encap_ldap_search_info>;
inline constexpr auto found_body =
    record_body<ldap_search_result, aaa_encap_ldap_search_result_info>;

// A body with a group name ahead of the record.
inline std::string named(const std::string& group, const std::string& record) {
  return std::string(1, static_cast<char>(group.size())) + group + record;
}

// A client with every callback, each of which must find the library's locks free.
class DispatchTest : public LibraryTest {
 protected:
  DispatchTest() {
    notes.reset();
    notes.then = [this](const std::string& told) {
      EXPECT_THAT(locks_held(), IsEmpty());
      in_callback_(told);
    };
    aaa::store(g_aaa_client_cb.async_fd, aaad_.own());
    test::set_model_name("test");
    reg_info info = noting_client();
    info.aaa_event_cb = [](std::uint32_t event) {
      return notes.add("event " + word_bytes({event})), 0;
    };
    use(info);
  }
  ~DispatchTest() override { notes.reset(); }

  static void use(const reg_info& info) { test::store_callbacks(info); }
  void in_callback(std::function<void(const std::string&)> action) { in_callback_ = action; }

  // One message, with the NUL behind its body; no body is a null body.
  static void deliver(std::uint32_t type, const std::string& body = "", std::uint32_t id = 0) {
    const aaa_ipc_header header = {0x01010101, id, type, static_cast<std::uint32_t>(body.size())};
    aaa_lib_async_msg_proc(&header, body.empty() ? nullptr : body.c_str());
  }
  // The same, and what the callbacks noted of it alone.
  static std::vector<std::string> told_by(std::uint32_t type, const std::string& body = "") {
    const std::size_t before = noted().size();
    deliver(type, body);
    std::vector<std::string> all = noted();
    return {all.begin() + static_cast<std::ptrdiff_t>(before), all.end()};
  }
  static void expect_dropped(std::uint32_t type, const std::string& body = "") {
    const LibraryCounters counters;
    EXPECT_THAT(told_by(type, body), IsEmpty()) << "type " << type;
    EXPECT_EQ(counters.blocks_allocated(), counters.blocks_freed()) << "type " << type;
  }

  // What the library answered on the event socket.
  std::string answers() { return aaad_.peer_reads(); }

  ScriptedPeer aaad_;

 private:
  std::function<void(const std::string&)> in_callback_ = [](const std::string&) {};
};

}  // namespace test
