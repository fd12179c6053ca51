// What the sample authenticator sends and takes, frame by frame: a hand-made supplicant on the one
// side, a stand-in for aaad whose results the test chooses on the other.
#include <gmock/gmock.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>

#include <cstring>

#include "aaad_sim.h"
#include "real/client.h"
#include "real/ports.h"
#include "real/skip.h"
#include "real/veth_pair.h"

namespace {

using aaa_sim::Bytes;
using aaa_sim::received;
using real_test::item_of;
using real_test::Process;
using testing::ElementsAre;
using testing::HasSubstr;

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Sends and receives EAPOL at the interface "host".
class Supplicant {
 public:
  static inline const Bytes kGroup{0x01, 0x80, 0xc2, 0x00, 0x00, 0x03};
  static inline const Bytes kOwn{0x02, 0x00, 0x00, 0x00, 0x00, 0x0a};
  static inline const Bytes kEapol{0x88, 0x8e};

  Supplicant() : socket_(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0)) {
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(0x888e);
    address.sll_ifindex = static_cast<int>(::if_nametoindex("host"));
    EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }

  void send(const Bytes& payload, const Bytes& from = kOwn) {
    const Bytes frame = kGroup + from + kEapol + payload;
    EXPECT_EQ(::send(socket_.get(), frame.data(), frame.size(), 0),
              static_cast<ssize_t>(frame.size()));
  }

  // The next frame to the address, without its Ethernet header; empty after the time.
  Bytes receive(const Bytes& to = kOwn, int milliseconds = 10000) {
    pollfd wait{socket_.get(), POLLIN, 0};
    Bytes frame(2000);
    while (::poll(&wait, 1, milliseconds) == 1) {
      const ssize_t size = ::recv(socket_.get(), frame.data(), frame.size(), 0);
      if (size >= 14 && std::equal(to.begin(), to.end(), frame.begin()))
        return {frame.begin() + 14, frame.begin() + size};
    }
    return {};
  }

 private:
  aaa_sim::FileDescriptor socket_;
};

struct Result {
  std::uint32_t code;
  std::uint32_t session_id;
  std::string eap = {};
  std::string state = {};
  std::string session_class = {};
  std::uint32_t session_timeout = 0;
};

aaa_sim::Reply reply_with(const Result& result) {
  result_info record{};
  record.sub.num_a = result.code;
  record.sub.session_id = result.session_id;
  record.sub.num_b = result.session_timeout;
  record.eap_message = item_of(result.eap);
  record.state = item_of(result.state);
  record.class_ = item_of(result.session_class);
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&record, &body);
  const auto* first = static_cast<const std::uint8_t*>(body);
  const Bytes bytes(first, first + length);
  aaa_free(0, "", body);
  return {aaa_sim::Role::event, AAA_MSG_NOTIFY_RESULT, result.session_id, bytes};
}

class FramesTest : public testing::Test {
 protected:
  void SetUp() override {
    AAA_SKIP_FOR(real_test::VethPair::missing());
    wire_ = std::make_unique<real_test::VethPair>();
    AAA_SKIP_FOR(wire_->is_up() ? "" : "the kernel has no virtual Ethernet interfaces");
    host_ = std::make_unique<Supplicant>();
    sim_.start();
    dot1x_ = std::make_unique<Process>(
        std::vector<std::string>{AAA_DOT1X, "-i", "port", "-d", directory_.path()},
        directory_.path() + "/dot1x.log");
    ASSERT_TRUE(dot1x_->prints("waiting for a supplicant at port\n"));
    ASSERT_THAT(
        host_->receive(Supplicant::kGroup),
        ElementsAre(2, 0, 0, 5, 1, 1, 0, 5, 1));  // EAP-Request/Identity to whoever is there
  }

  // At once: what is sent at the end of the program is for other tests.
  void TearDown() override {
    if (dot1x_) dot1x_->signal(SIGKILL);
  }

  // Answers each login with the results that are left.
  void answer_logins(std::vector<std::vector<Result>> rounds) {
    sim_.set_answer(AAA_MSG_AUTHEN_REQ, [rounds, next = 0U](const aaa_sim::Request&) mutable {
      aaa_sim::Replies replies;
      if (next < rounds.size()) {
        for (const Result& result : rounds[next++])
          replies.push_back(reply_with(result));
      }
      return replies;
    });
  }

  void send_result(const Result& result) {
    const aaa_sim::Reply reply = reply_with(result);
    EXPECT_EQ(sim_.send_message({}, reply.role, reply.type, reply.id, reply.body), 1U);
  }

  void start() {
    host_->send({2, 1, 0, 0});
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 2, 0, 5, 1));
  }
  void send_identity() { host_->send({2, 0, 0, 8, 2, 2, 0, 8, 1, 'b', 'o', 'b'}); }

  test::TemporaryDirectory directory_;
  std::unique_ptr<real_test::VethPair> wire_;
  std::unique_ptr<Supplicant> host_;
  aaa_sim::AaadSim sim_{directory_.path()};
  std::unique_ptr<Process> dot1x_;
};

using LoginRecord = std::unique_ptr<authen_info, decltype(&aaa_free_authen_info)>;

LoginRecord login_in(const aaa_sim::Message& message) {
  authen_info* record = nullptr;
  EXPECT_EQ(aaa_parse_authen_info(&record, message.body().data(),
                                  static_cast<std::int32_t>(message.body().size())),
            1U);
  return {record, aaa_free_authen_info};
}

std::string text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}
std::string text_of(const std::uint8_t* text) {
  return reinterpret_cast<const char*>(text);
}

TEST_F(FramesTest, PassesTheIdentityOnWithTheAddresses) {
  start();
  send_identity();
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message);
  const LoginRecord login = login_in(*message);
  EXPECT_EQ(login->session_id, 1U);
  EXPECT_STREQ(login->chars65_a, "bob");
  EXPECT_EQ(text_of(login->eap_message), std::string("\x02\x02\x00\x08\x01"
                                                     "bob",
                                                     8));
  EXPECT_EQ(login->state.len, 0);
  EXPECT_EQ(login->num_b, ::if_nametoindex("port"));
  EXPECT_EQ(login->num_c, 15U);
  EXPECT_EQ(login->num_d, 2U);
  EXPECT_EQ(text_of(login->octets100_a), "port");
  EXPECT_EQ(text_of(login->octets128_a), "02-00-00-00-00-0A");
  EXPECT_THAT(text_of(login->octets100_b), testing::MatchesRegex("([0-9A-F]{2}-){5}[0-9A-F]{2}"));
}

TEST_F(FramesTest, PassesAChallengeOnAndRepeatsItsState) {
  answer_logins({{{.code = 3,
                   .session_id = 1,
                   .eap = std::string("\x01\x07\x00\x06\x04\x55", 6),
                   .state = "step two"}},
                 {{.code = 0, .session_id = 1, .session_class = "gold"}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 6, 1, 7, 0, 6, 4, 0x55));
  host_->send({2, 0, 0, 6, 2, 7, 0, 6, 4, 0x66});
  const auto message =
      sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ), aaa_sim::AaadSim::kTimeout, 1);
  ASSERT_TRUE(message);
  const LoginRecord login = login_in(*message);
  EXPECT_STREQ(login->chars65_a, "bob");
  EXPECT_EQ(text_of(login->state), "step two");
  EXPECT_EQ(text_of(login->eap_message), std::string("\x02\x07\x00\x06\x04\x66", 6));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 7, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: port open, VLAN none, session timeout 0\n"));
  EXPECT_TRUE(sim_.wait_for_message(received(AAA_MSG_ACCT_REQ)));
}

TEST_F(FramesTest, SendsTheLastRequestFourTimesAndGivesUp) {
  start();
  for (int i = 0; i < 3; ++i)
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 2, 0, 5, 1));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("02-00-00-00-00-0A: does not answer\n"));
}

TEST_F(FramesTest, DropsFramesThatAreNotWellFormedOrNotForTheQuestion) {
  start();
  host_->send({2, 0});
  host_->send({2, 0, 0, 9, 2, 2, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 2, 0, 9, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 4, 2, 2, 0, 4});
  host_->send({2, 0, 0, 8, 2, 2, 0, 3, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 1, 2, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 9, 0, 8, 1, 'b', 'a', 'd'});
  host_->send({2, 0, 0, 8, 2, 2, 0, 8, 1, 'b', 'a', 'd'}, {2, 0, 0, 0, 0, 0x0b});
  send_identity();
  const auto message = sim_.wait_for_message(received(AAA_MSG_AUTHEN_REQ));
  ASSERT_TRUE(message);
  EXPECT_STREQ(login_in(*message)->chars65_a, "bob");
  EXPECT_EQ(sim_.count(received(AAA_MSG_AUTHEN_REQ)), 1U);
}

TEST_F(FramesTest, RefusesAnIdentityThatIsNoName) {
  start();
  host_->send({2, 0, 0, 5, 2, 2, 0, 5, 1});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  const Bytes name(65, 'n');
  host_->send({2, 1, 0, 0});
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
  host_->send(Bytes{2, 0, 0, 70, 2, 3, 0, 70, 1} + name);
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 3, 0, 4));
  for (const std::uint8_t letter : {'\0', '\n', '\x1b', '\x7f'}) {
    host_->send({2, 1, 0, 0});
    const Bytes request = host_->receive();
    ASSERT_THAT(request, testing::SizeIs(9));
    host_->send({2, 0, 0, 8, 2, request[5], 0, 8, 1, 'b', letter, 'b'});
    EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, request[5], 0, 4));
  }
  EXPECT_EQ(sim_.count(received(AAA_MSG_AUTHEN_REQ)), 0U);
}

TEST_F(FramesTest, OpensForNoRecordOfZerosAndForNoOtherSession) {
  answer_logins(
      {{{.code = 0, .session_id = 0}, {.code = 0, .session_id = 2}, {.code = 1, .session_id = 1}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
  EXPECT_TRUE(dot1x_->prints("bob: rejected\n"));
  EXPECT_THAT(dot1x_->output(), Not(HasSubstr("port open")));
}

// Nothing in a result tells what it answers: a report's must not be taken for the login's.
TEST_F(FramesTest, BeginsNoLoginBeforeAReportIsAnswered) {
  sim_.set_answer(AAA_MSG_ACCT_REQ, [](const aaa_sim::Request&) { return aaa_sim::Replies{}; });
  answer_logins({{{.code = 0, .session_id = 1, .session_timeout = 1}}});
  start();
  send_identity();
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 2, 0, 4));
  ASSERT_TRUE(sim_.wait_for_message(received(AAA_MSG_ACCT_REQ)));
  host_->send({2, 1, 0, 0});
  EXPECT_THAT(host_->receive(Supplicant::kOwn, 1500), testing::IsEmpty());
  send_result({.code = 0, .session_id = 1});
  EXPECT_TRUE(dot1x_->prints("bob: accounting start taken\n"));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 5, 1, 3, 0, 5, 1));
}

// The line about the report, which is answered after the other notices, comes before the end.
TEST_F(FramesTest, ClosesForTheNoticeAboutItsSessionOnly) {
  const auto notify = [this](Bytes notice) {
    notice.resize(560);
    EXPECT_EQ(sim_.send_message({}, aaa_sim::Role::event, AAA_MSG_NOTIFY_DEL_MSG, 0, notice), 1U);
  };
  sim_.set_answer(AAA_MSG_ACCT_REQ, [](const aaa_sim::Request&) { return aaa_sim::Replies{}; });
  answer_logins({{{.code = 0, .session_id = 1}}});
  start();
  send_identity();
  ASSERT_TRUE(sim_.wait_for_message(received(AAA_MSG_ACCT_REQ)));
  notify({1, 0, 0, 0, 2, 0, 0, 0});
  notify({2, 0, 0, 0, 1, 0, 0, 0});
  send_result({.code = 0, .session_id = 1});
  notify({1, 0, 0, 0, 1, 0, 0, 0});
  EXPECT_TRUE(
      dot1x_->prints("bob: accounting start taken\n"
                     "bob: disconnected by aaad\n"
                     "bob: port closed: Admin reset\n"));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 3, 2, 0, 4));
  EXPECT_THAT(host_->receive(), ElementsAre(2, 0, 0, 4, 4, 2, 0, 4));
}

}  // namespace
