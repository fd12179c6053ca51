// Anything at all on the event socket: afterwards the client is in service.
#include <algorithm>
#include <random>

#include "support/login.h"

namespace {

using aaa_sim::Role;

std::string header(std::uint32_t type, std::uint32_t length, std::uint32_t marker = 0x01010101) {
  return test::word_bytes({marker, 0, type, length});
}

class MalformedInput : public test::SimulatedTest {
 protected:
  void SetUp() override {
    SimulatedTest::SetUp();
    clock_.shorten_sleeps();
    test::forgo_heartbeats(sim_);
    sim_.add_user(test::alice());
    register_client(test::client_with(test::ResultBy::callback));
  }

  void send(const std::string& bytes) {
    EXPECT_EQ(1u, sim_.send_raw({}, Role::event, test::view(bytes)));
  }
  static void expect_registered_again(std::size_t times = 1) {
    test::expect_service_again(test::ResultBy::callback, times);
  }
  static void expect_login() { test::expect_service(test::ResultBy::callback); }
  void expect_same_connection() {
    expect_login();
    EXPECT_EQ(2u, sim_.accepted_connections());
    EXPECT_EQ((std::vector<std::uint32_t>{AAA_EVENT_REGISTERED}), test::client_events());
  }

  test::MovedClock clock_;
};

TEST_F(MalformedInput, AWrongMarkerIsToldAndTheLinkIsBuiltAnew) {
  const test::LogCapture log;
  send(header(103, 0, 0x01010102));
  expect_registered_again();
  std::size_t told = 0;
  for (const test::LogLine& line : log.lines())
    told += line.text.ends_with("] aaa id not match.\r\n") ? 1 : 0;
  EXPECT_EQ(1u, told);
}

TEST_F(MalformedInput, HalfAHeaderOrHalfABodyAndTheEndAreALostLink) {
  std::size_t times = 0;
  for (const std::size_t size : {8, 1000}) {
    send(test::message_bytes(103, test::zeros(100000)).substr(0, size));
    sim_.close_connections({}, Role::event);
    expect_registered_again(++times);
  }
}

TEST_F(MalformedInput, ALengthThatNoMemoryHasIsALostLink) {
  std::size_t times = 0;
  for (const std::uint32_t length : {0xffffffffu, 0xfffffff0u, 0x80000000u, 0x7fffffffu}) {
    send(header(103, length));
    expect_registered_again(++times);
  }
}

TEST_F(MalformedInput, NonsenseTypesArePassedOver) {
  for (const std::uint32_t type : {0u, 1u, 99u, 100u, 101u, 104u, 142u, 0x80000000u, 0xffffffffu}) {
    send(header(type, 0));
    send(test::message_bytes(type, std::string(300, '\xff')));
  }
  expect_same_connection();
}

TEST_F(MalformedInput, BodiesOfEveryTypeAndManySizesArePassedOver) {
  std::mt19937 random(1);
  for (std::uint32_t type = 102; type <= 141; ++type) {
    for (const std::uint32_t size : {1u, 2u, 3u, 7u, 39u, 255u, 559u, 2000u}) {
      std::string body = test::zeros(size);
      std::ranges::generate(body, [&] { return static_cast<char>(random()); });
      send(test::message_bytes(type, body));
    }
  }
  expect_login();
  EXPECT_EQ(2u, sim_.accepted_connections());
}

TEST_F(MalformedInput, MessagesThatComeByteByByteAreWhole) {
  sim_.change([](aaa_sim::Settings& settings) { settings.byte_wise = true; });
  expect_same_connection();
}

TEST_F(MalformedInput, ARegistrationAnsweredByteByByteSucceeds) {
  sim_.change([](aaa_sim::Settings& settings) { settings.byte_wise = true; });
  sim_.close_connections();
  expect_registered_again();
}

}  // namespace
