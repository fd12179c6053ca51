// A hand-made supplicant on the one side of the sample authenticator, a stand-in for aaad whose
// results the test chooses on the other.
#pragma once

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
#include "support/eventually.h"

namespace dot1x_test {

using aaa_sim::Bytes;
using aaa_sim::received;
using real_test::item_of;
using real_test::Process;
using real_test::VethPair;
using testing::ElementsAre;

inline Bytes operator+(Bytes left, const Bytes& right) {
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

  void send(const Bytes& payload, const Bytes& from = kOwn, const Bytes& to = kGroup) {
    EXPECT_TRUE(try_to_send(payload, from, to)) << std::strerror(errno);
  }

  // Sends starts until one is answered; returns the answer, empty when none was.
  Bytes start_until_answered() {
    Bytes answer;
    EXPECT_TRUE(test::eventually([&] {
      try_to_send({2, 1, 0, 0}, kOwn, kGroup);
      return !(answer = receive(kOwn, 100)).empty();
    })) << "no start is answered";
    return answer;
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
  bool try_to_send(const Bytes& payload, const Bytes& from, const Bytes& to) {
    const Bytes frame = to + from + kEapol + payload;
    return ::send(socket_.get(), frame.data(), frame.size(), 0) ==
           static_cast<ssize_t>(frame.size());
  }

  aaa_sim::FileDescriptor socket_;
};

// The EAP packet of an acceptance.
inline const std::string kSuccess("\x03\x02\x00\x04", 4);

struct Result {
  std::uint32_t code;
  std::uint32_t session_id;
  std::string eap = {};
  std::string state = {};
  std::string session_class = {};
  std::uint32_t session_timeout = 0;
  std::string vlan = {};
};

inline aaa_sim::Reply reply_with(const Result& result) {
  result_info record{};
  record.sub.num_a = result.code;
  record.sub.session_id = result.session_id;
  record.sub.num_b = result.session_timeout;
  result.vlan.copy(record.sub.chars65_b, sizeof record.sub.chars65_b - 1);
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
    AAA_SKIP_FOR(VethPair::missing());
    wire_ = std::make_unique<VethPair>();
    AAA_SKIP_FOR(wire_->is_up() ? "" : "the kernel has no virtual Ethernet interfaces");
    host_ = std::make_unique<Supplicant>();
    sim_.start();
    start_dot1x({});
  }

  // A new one, with the options besides those that every test needs.
  void start_dot1x(const std::vector<std::string>& options) {
    if (dot1x_) dot1x_->stop();
    std::vector<std::string> command{AAA_DOT1X, "-i", "port", "-d", directory_.path(), "-q", "0"};
    command.insert(command.end(), options.begin(), options.end());
    dot1x_ = std::make_unique<Process>(command, directory_.path() + "/dot1x.log");
    ASSERT_TRUE(dot1x_->prints("waiting for a supplicant at port\n"));
    ASSERT_THAT(
        host_->receive(Supplicant::kGroup),
        ElementsAre(2, 0, 0, 5, 1, 1, 0, 5, 1));  // EAP-Request/Identity to whoever is there
  }

  // At once: what is sent at the end of the program is for other tests.
  void TearDown() override {
    if (dot1x_) dot1x_->signal(SIGKILL);
  }

  void expect_request(std::uint32_t type, std::size_t skip = 0) {
    EXPECT_TRUE(sim_.wait_for_message(received(type), aaa_sim::AaadSim::kTimeout, skip))
        << "no message " << type << " after " << skip << ":\n"
        << dot1x_->output();
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
  void leave_unanswered(std::uint32_t type) {
    sim_.set_answer(type, [](const aaa_sim::Request&) { return aaa_sim::Replies{}; });
  }
  void send_identity() { host_->send({2, 0, 0, 8, 2, 2, 0, 8, 1, 'b', 'o', 'b'}); }

  test::TemporaryDirectory directory_;
  std::unique_ptr<VethPair> wire_;
  std::unique_ptr<Supplicant> host_;
  aaa_sim::AaadSim sim_{directory_.path()};
  std::unique_ptr<Process> dot1x_;
};

using LoginRecord = std::unique_ptr<authen_info, decltype(&aaa_free_authen_info)>;

inline LoginRecord login_in(const aaa_sim::Message& message) {
  authen_info* record = nullptr;
  EXPECT_EQ(aaa_parse_authen_info(&record, message.body().data(),
                                  static_cast<std::int32_t>(message.body().size())),
            1U);
  return {record, aaa_free_authen_info};
}

using ReportRecord = std::unique_ptr<acct_info, decltype(&aaa_free_acct_info)>;

inline ReportRecord report_in(const aaa_sim::Message& message) {
  acct_info* record = nullptr;
  EXPECT_EQ(aaa_parse_acct_info(&record, message.body().data(),
                                static_cast<std::int32_t>(message.body().size())),
            1U);
  return {record, aaa_free_acct_info};
}

inline std::string text_of(const aaa_item& item) {
  return {static_cast<const char*>(item.value), item.len};
}
inline std::string text_of(const std::uint8_t* text) {
  return reinterpret_cast<const char*>(text);
}

}  // namespace dot1x_test
