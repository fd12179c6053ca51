// Servers that do not answer.
#include "radius/radius_fixture.h"

namespace radius_test {
namespace {

class FailoverTest : public RadiusTest {
 protected:
  FailoverTest() {
    radius_.servers.push_back(address_of(second_, "second secret"));
    radius_.timeout = milliseconds(500);
  }

  void accept_by_second(const Datagram& request) {
    second_.send(reply_to(request.bytes, request.bytes[0] == 4 ? 5 : 2, {}, "second secret"),
                 request);
  }

  ScriptedServer second_;
};

TEST_F(FailoverTest, SecondServerGetsARequestOfItsOwn) {
  start();
  log_in(7);
  const Datagram first = server_.receive();
  const Datagram second = second_.receive();
  EXPECT_EQ(reveal_password(first.bytes, kSecret), text("arctangent") + Bytes(6));
  EXPECT_EQ(reveal_password(second.bytes, "second secret"), text("arctangent") + Bytes(6));
  EXPECT_NE(part(first.bytes, 4, 16), part(second.bytes, 4, 16));
  // The first one's answer is late.
  server_.send(reply_to(first.bytes, 3), first);
  accept_by_second(second);
  EXPECT_EQ(result().code, 0u);
  EXPECT_EQ(counters().failovers, 1u);
  wait_for(&Counters::unexpected, 1);
  EXPECT_TRUE(sim_->wait_for_note("does not answer"));
}

// Copies of one packet have the same delay.
TEST_F(FailoverTest, DelayOfAccountingGrows) {
  radius_.timeout = milliseconds(550);
  radius_.tries = 2;
  start();
  account(7, 1);
  account(8, 1, 5);
  const Bytes without = server_.receive().bytes;
  const Bytes with = server_.receive().bytes;
  EXPECT_EQ(value_of(without, 41), kNoValue);
  EXPECT_EQ(value_of(with, 41), hex("00000005"));
  EXPECT_EQ(server_.receive().bytes, without);
  EXPECT_EQ(server_.receive().bytes, with);
  for (const char* delay : {"00000001", "00000006"}) {
    const Datagram request = second_.receive();
    EXPECT_EQ(value_of(request.bytes, 41), hex(delay));
    accept_by_second(request);
    EXPECT_EQ(result().code, 0u);
  }
}

TEST_F(FailoverTest, SilentServerIsPassedOverUntilThePauseEnds) {
  radius_.pause = milliseconds(2000);
  start();
  log_in(1);
  server_.receive();
  accept_by_second(second_.receive());
  const auto silent_since = Clock::now();
  EXPECT_EQ(result().code, 0u);
  log_in(2);
  accept_by_second(second_.receive());
  EXPECT_EQ(result().code, 0u);
  EXPECT_TRUE(server_.stays_silent(milliseconds(0)));
  // Authentication only: accounting has a port of its own.
  const auto deadline = Clock::now() + milliseconds(15000);
  std::uint32_t id = 2;
  while (server_.stays_silent(milliseconds(0)) && Clock::now() < deadline) {
    log_in(++id);
    accept_by_second(second_.receive());
    EXPECT_EQ(result().code, 0u);
  }
  EXPECT_GT(Clock::now() - silent_since, milliseconds(1900));
  EXPECT_FALSE(server_.stays_silent(milliseconds(0))) << "never asked again";
}

TEST_F(FailoverTest, PassedOverServerIsAskedWhenTheOtherIsSilentToo) {
  start();
  log_in(1);
  server_.receive();
  accept_by_second(second_.receive());
  EXPECT_EQ(result().code, 0u);
  log_in(2);
  second_.receive();
  server_.accept_next();
  EXPECT_EQ(result().code, 0u);
}

TEST_F(FailoverTest, SilenceOfAllServersEndsInTime) {
  radius_.timeout = milliseconds(40);
  radius_.tries = 3;
  start();
  const auto started = Clock::now();
  log_in(7);
  const Result answer = result();
  const auto took = Clock::now() - started;
  EXPECT_EQ(answer.code, 4u);
  EXPECT_EQ(answer.id, 7u);
  EXPECT_EQ(answer.user, "nemo");
  EXPECT_GE(took, milliseconds(2 * 3 * 40));
  EXPECT_LT(took, milliseconds(2 * 3 * 40 + 5000));
  EXPECT_EQ(counters().unanswered, 1u);
  // The last ones are left out when the timers were late.
  EXPECT_GE(counters().resent, 2u);
  EXPECT_LE(counters().resent, 4u);
}

TEST_F(FailoverTest, RequestsThatWaitedEndInTimeToo) {
  radius_.timeout = milliseconds(40);
  start();
  const auto started = Clock::now();
  for (std::uint32_t id = 1; id <= 600; ++id)
    log_in(id);
  for (int n = 0; n < 600; ++n)
    EXPECT_EQ(result().code, 4u);
  EXPECT_LT(Clock::now() - started, milliseconds(10000));
  EXPECT_EQ(counters().unanswered, 600u);
}

// What waits for an identifier of a server that turns out to be silent goes on to the next one.
TEST_F(FailoverTest, WaitingRequestsLeaveASilentServer) {
  radius_.timeout = milliseconds(2000);
  start();
  for (std::uint32_t id = 1; id <= 300; ++id)
    log_in(id);
  for (int n = 0; n < 300; ++n)
    accept_by_second(second_.receive());
  int accepted = 0;
  for (int n = 0; n < 300; ++n)
    accepted += result().code == 0 ? 1 : 0;
  EXPECT_EQ(accepted, 300);
  for (int n = 0; n < 256; ++n)
    server_.receive();
  EXPECT_TRUE(server_.stays_silent()) << "more than 256 requests to the silent server";
}

// A request whose time ends soon after it was sent says nothing about the server.
TEST_F(RadiusTest, RequestThatWaitedLongDoesNotMakeAServerSilent) {
  radius_.timeout = milliseconds(4000);
  start();
  const auto started = Clock::now();
  for (std::uint32_t id = 1; id <= 257; ++id)
    log_in(id);
  std::vector<Datagram> requests;
  for (int n = 0; n < 256; ++n)
    requests.push_back(server_.receive());
  std::this_thread::sleep_until(started + milliseconds(3000));
  for (const Datagram& request : requests)
    server_.send(reply_to(request.bytes, 2), request);
  for (int n = 0; n < 256; ++n)
    EXPECT_EQ(result().code, 0u);
  server_.receive();
  EXPECT_EQ(result().code, 4u);
  EXPECT_THAT(lines(), Not(HasSubstr("does not answer")));
}

}  // namespace
}  // namespace radius_test
