// A simulator that asks scripted servers, with a registered client.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "aaad_sim.h"
#include "radius/scripted_server.h"
#include "support/temporary_directory.h"
#include "tools/raw_client.h"
#include "wire/records.h"

namespace radius_test {

using aaa_sim::Settings;
using aaa_sim::View;
using aaa_sim::radius::Counters;
using aaa_sim_test::RawClient;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Clock = std::chrono::steady_clock;
using Datagram = ScriptedServer::Datagram;

inline const std::string kPassword = "arctangent";

class RadiusTest : public testing::Test {
 protected:
  struct Result {
    std::uint32_t id = 0;
    std::uint32_t code = 99;  // sub.num_a
    std::string user = {};
    std::string message = {};
  };

  static aaa_sim::radius::ServerAddress address_of(const ScriptedServer& server,
                                                   const std::string& secret = kSecret) {
    return {"127.0.0.1", server.port(), server.port(), secret};
  }

  // One server that is asked once, for long enough that nothing is sent again.
  RadiusTest() {
    radius_.servers = {address_of(server_)};
    radius_.timeout = milliseconds(5000);
    radius_.tries = 1;
  }

  void start() {
    Settings settings;
    settings.radius = radius_;
    sim_.emplace(directory_.path(), settings, aaa_sim::Output{true, [this](const auto& line) {
                                                                const std::lock_guard lock(mutex_);
                                                                lines_ += line + "\n";
                                                              }});
    sim_->start();
    client_.emplace(sim_->socket_path());
  }

  // No test's secret or password is in what the simulator writes.
  void TearDown() override {
    if (!sim_) return;
    const std::string written = lines() + describe(sim_->reports());
    EXPECT_THAT(written, Not(HasSubstr(kSecret)));
    EXPECT_THAT(written, Not(HasSubstr(kPassword)));
  }

  void send(const Bytes& message) { client_->request.send(string_of(message)); }
  Bytes receive() { return text(client_->event.receive_message()); }

  void send_request(std::uint8_t type, std::uint32_t id, const Bytes& body) {
    send(framed(type, body, id));
  }

  static Bytes login_body(std::uint32_t id, const std::string& name = "nemo",
                          const std::string& password = kPassword) {
    authen_info record{};
    record.session_id = id;
    aaa_sim::set_text(record.chars65_a, name);
    record.user_password = aaa_sim::item_of(password);
    return aaa_sim::encode(record);
  }

  void log_in(std::uint32_t id, const std::string& name = "nemo",
              const std::string& password = kPassword) {
    send_request(AAA_MSG_AUTHEN_REQ, id, login_body(id, name, password));
  }

  void authorize(std::uint32_t id) { send_request(AAA_MSG_AUTHOR_REQ, id, Bytes(1000)); }

  // 1 start, 2 stop, 3 interim.
  void account(std::uint32_t id, std::uint32_t kind, std::uint32_t delay = 0) {
    acct_info record{};
    record.session_id = id;
    record.code_a = kind;
    record.num_h = delay;
    aaa_sim::set_text(record.chars65_a, "nemo");
    send_request(AAA_MSG_ACCT_REQ, id, aaa_sim::encode(record));
  }

  // The next one; fails the test when it does not come.
  Result result() {
    const Bytes message = receive();
    EXPECT_FALSE(message.empty()) << "no result in time";
    if (message.size() < 16) return {};
    EXPECT_EQ(word_at(message, 8), 103u);
    const auto record = aaa_sim::decode_result(View(message).subspan(16));
    if (!record) return {};
    EXPECT_EQ(record->sub.session_id, word_at(message, 4));
    return {record->sub.session_id, record->sub.num_a,
            std::string(aaa_sim::text_of(record->sub.chars65_a)),
            std::string(aaa_sim::text_of(record->reply_message))};
  }

  // Logs in with the next server, which accepts.
  void establish(std::uint32_t id, const std::string& name = "nemo") {
    log_in(id, name);
    server_.accept_next();
    EXPECT_EQ(result().code, 0u);
  }

  Counters counters() { return sim_->reports().radius; }

  // Fails the test when the counter has not reached the value in 5 seconds.
  void wait_for(std::uint64_t Counters::*counter, std::uint64_t value) {
    const auto deadline = Clock::now() + milliseconds(5000);
    while (counters().*counter < value && Clock::now() < deadline)
      std::this_thread::yield();
    EXPECT_EQ(counters().*counter, value);
  }

  std::string lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

  test::TemporaryDirectory directory_;
  ScriptedServer server_;
  aaa_sim::radius::Settings radius_;
  std::mutex mutex_;
  std::string lines_;  // guarded by mutex_
  std::optional<aaa_sim::AaadSim> sim_;
  std::optional<RawClient> client_;
};

}  // namespace radius_test
