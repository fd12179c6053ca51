// The module in libpam, in the test's process, beside a running simulator.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <security/pam_appl.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>

#include "aaad_sim.h"
#include "pam/conversation.h"
#include "pam/system_log.h"
#include "support/temporary_directory.h"

namespace pam_test {

using aaa_sim::received;
using aaa_sim::User;
using aaa_sim::Verdict;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// One login, from pam_start() to pam_end().
class Handle {
 public:
  Handle(const std::string& configuration, const std::string& user, Conversation& conversation)
      : functions_(conversation.functions()) {
    EXPECT_EQ(::pam_start_confdir("test", user.c_str(), &functions_, configuration.c_str(), &pam_),
              PAM_SUCCESS);
    EXPECT_EQ(::pam_set_item(pam_, PAM_FAIL_DELAY, reinterpret_cast<const void*>(keep_delay)),
              PAM_SUCCESS);
  }
  ~Handle() { ::pam_end(pam_, PAM_SUCCESS); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  operator pam_handle_t*() const { return pam_; }
  void set(int item, const std::string& text) {
    EXPECT_EQ(::pam_set_item(pam_, item, text.c_str()), PAM_SUCCESS);
  }
  // Empty when it is not set.
  std::string environment(const char* name) const {
    const char* const value = ::pam_getenv(pam_, name);
    return value == nullptr ? "" : value;
  }

  // In place of a wait, the last one of this thread, in microseconds.
  static inline thread_local unsigned delay = 0;

 private:
  static void keep_delay(int result, unsigned microseconds, void*) {
    delay = result == PAM_SUCCESS ? 0 : microseconds;
  }

  pam_conv functions_;
  pam_handle_t* pam_ = nullptr;
};

inline std::uint32_t word_at(aaa_sim::View body, std::size_t offset) {
  std::uint32_t word = 0;
  if (body.size() >= offset + sizeof word) std::memcpy(&word, body.data() + offset, sizeof word);
  return word;
}

// Up to a NUL, or `size` bytes.
inline std::string text_at(aaa_sim::View body, std::size_t offset, std::size_t size) {
  if (body.size() < offset + size) return "the body is too short";
  const char* const text = reinterpret_cast<const char*>(body.data()) + offset;
  return {text, ::strnlen(text, size)};
}

class PamTest : public testing::Test {
 protected:
  PamTest() {
    clear_system_log();
    sim_.add_user({.name = "alice", .password = "secret", .class_attribute = "staff"});
    sim_.start();
    configure();
  }

  static std::string own_uid() { return std::to_string(::geteuid()); }

  // The options with which the module finds the simulator.
  std::string found() const { return "directory=" + directory_.path() + " aaad_uid=" + own_uid(); }

  // The module alone, in all four groups.
  void configure(const std::string& options = "") {
    std::string lines;
    for (const char* group : {"auth", "account", "session", "password"})
      lines += line(group, found() + " timeout=10 " + options);
    configure_lines(lines);
  }
  static std::string line(const std::string& group, const std::string& options,
                          const std::string& control = "required") {
    return group + " " + control + " " AAA_PAM_MODULE " " + options + "\n";
  }
  void configure_lines(const std::string& lines) {
    std::ofstream(configuration_.path() + "/test") << lines;
  }

  // Logs in with a password, and answers to challenges.
  int log_in(const std::string& user, std::deque<std::string> answers, int flags = 0) {
    conversation_ = Conversation(std::move(answers));
    Handle handle(configuration_.path(), user, conversation_);
    return ::pam_authenticate(handle, flags);
  }

  std::size_t sent(aaa_msg_type type) { return sim_.count(received(type)); }

  // A request that has already arrived, or arrives.
  aaa_sim::Bytes body_of(aaa_msg_type type, std::size_t skip = 0) {
    const auto message = sim_.wait_for_message(received(type), sim_.kTimeout, skip);
    if (!message) ADD_FAILURE() << "no message of type " << type;
    return message ? aaa_sim::Bytes(message->body().begin(), message->body().end())
                   : aaa_sim::Bytes();
  }

  // Every authentication gets this body, made from the session id.
  void answer_authentication(std::function<aaa_sim::Bytes(std::uint32_t session_id)> body) {
    sim_.set_answer(AAA_MSG_AUTHEN_REQ, [=](const aaa_sim::Request& request) -> aaa_sim::Replies {
      const std::uint32_t id = request.header.id;
      return {{aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, id, body(id)}};
    });
  }

  test::TemporaryDirectory directory_;
  test::TemporaryDirectory configuration_;
  aaa_sim::AaadSim sim_{directory_.path()};
  Conversation conversation_;
};

// The body of a result with this code.
inline aaa_sim::Bytes result_body(std::uint32_t session_id, std::uint32_t code,
                                  const std::string& message = "", const std::string& state = "",
                                  std::uint32_t prompt = 0) {
  result_info result{};
  result.sub.num_a = code;
  result.sub.session_id = session_id;
  result.sub.code_a = prompt;
  result.reply_message = {0, static_cast<std::uint16_t>(message.size()), message.data()};
  result.state = {0, static_cast<std::uint16_t>(state.size()), state.data()};
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&result, &body);
  const auto* const first = static_cast<const std::uint8_t*>(body);
  aaa_sim::Bytes bytes(first, first + length);
  aaa_free(0, "", body);
  return bytes;
}

}  // namespace pam_test
