// The dissector, run by tshark over messages of each type, whole and broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

#include "capture/writer.h"
#include "messages/expected.h"
#include "messages/render.h"
#include "messages/samples.h"
#include "support/bytes.h"
#include "support/child_program.h"
#include "support/temporary_directory.h"
#include "wireshark/expected_fields.h"
#include "wireshark/pdml.h"

namespace test::dissector {
namespace {

using aaa_capture::Direction;
using aaa_capture::Packet;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

constexpr char tshark[] = "/usr/bin/tshark";
constexpr std::chrono::seconds patience(60);

const aaa_capture::Interface interfaces[] = {
    {.name = "unknown"}, {.name = "request"}, {.name = "event"}};

Packet packet_of(const MessageSample& sample, const std::string& bytes) {
  const bool from_client = sample.sender == aaa_messages::Sender::client;
  return {.interface = static_cast<std::uint32_t>(sample.socket),
          .direction = from_client ? Direction::inbound : Direction::outbound,
          .bytes = {bytes.begin(), bytes.end()},
          .length = static_cast<std::uint32_t>(bytes.size())};
}

// Every message of the samples, then broken ones.
class Packets {
 public:
  Packets() {
    for (const MessageSample& sample : message_samples())
      packets_.push_back(packet_of(sample, sample.bytes()));
    for (const MessageSample& sample : message_samples()) {
      add_cut(sample);
      add_changed(sample);
      add_elsewhere(sample);
    }
    add_ended("local_update_user");
    for (std::size_t size = 0; size < 40; ++size)
      packets_.push_back(packet_of(message_samples()[0], noise(size)));
    add_texts_with_more();
    add_too_many();
  }

  std::vector<Packet> take() { return std::move(packets_); }

 private:
  std::size_t below(std::size_t end) { return random_() % end; }

  std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(below(256)); });
    return bytes;
  }

  void add_cut(const MessageSample& sample) {
    const std::string bytes = sample.bytes();
    for (std::size_t size : {0, 15, 16, 18, 20, 23, 27})
      packets_.push_back(packet_of(sample, bytes.substr(0, size)));
    for (int i = 0; i < 4; ++i)
      packets_.push_back(packet_of(sample, bytes.substr(0, below(bytes.size()))));
  }

  // A local user whose items end before the message.
  void add_ended(const std::string& name) {
    for (const std::uint32_t tag : {0, 2, 3, 6}) {
      MessageSample sample = message_sample(name);
      sample.body = word_bytes({2, 12, 22, tag, 0, 1, 2});
      packets_.push_back(packet_of(sample, sample.bytes()));
    }
  }

  // One byte, or several, and mostly where lengths are: behind the header and near the end.
  void add_changed(const MessageSample& sample) {
    for (int i = 0; i < 12; ++i) {
      std::string bytes = sample.bytes();
      const std::size_t end = i % 2 == 0 ? bytes.size() : std::min<std::size_t>(bytes.size(), 40);
      const std::size_t start = i % 3 == 0 && bytes.size() > 200 ? bytes.size() - 200 : 0;
      for (std::size_t changes = 1 + below(3); changes > 0; --changes)
        bytes[start + below(end - std::min(start, end - 1))] = noise(1)[0];
      packets_.push_back(packet_of(sample, bytes));
    }
    packets_.push_back(packet_of(sample, sample.bytes() + noise(5)));
  }

  void add_texts_with_more() {
    for (const char* name : {"register_request", "deregister", "query_mlist", "local_copy_user"}) {
      MessageSample sample = message_sample(name);
      sample.body += "more";
      packets_.push_back(packet_of(sample, sample.bytes()));
    }
  }

  // Items, and messages of a batch, than are listed.
  void add_too_many() {
    MessageSample sample = message_sample("notify_result");
    for (int i = 0; i < 4100; ++i)
      sample.body += item_bytes(400, "");
    packets_.push_back(packet_of(sample, sample.bytes()));
    sample = message_sample("batch");
    sample.body.clear();
    for (int i = 0; i < 4100; ++i)
      sample.body += message_sample("group_state_change").bytes();
    packets_.push_back(packet_of(sample, sample.bytes()));
  }

  // On another socket, and from the other side.
  void add_elsewhere(const MessageSample& sample) {
    Packet packet = packet_of(sample, sample.bytes());
    packet.interface = (packet.interface + 1) % 3;
    packets_.push_back(packet);
    packet.direction =
        packet.direction == Direction::inbound ? Direction::outbound : Direction::inbound;
    packets_.push_back(packet);
    packet.direction = Direction::unknown;
    packets_.push_back(packet);
  }

  std::vector<Packet> packets_;
  std::mt19937 random_{20};  // the same packets in every run
};

std::string contents_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class Dissector : public testing::Test {
 protected:
  void SetUp() override {
    if (::access(tshark, X_OK) != 0) {
      std::printf("skipped: the Wireshark dissector: no tshark\n");
      GTEST_SKIP();
    }
  }

  // The packets as tshark shows them without an option.
  static const std::vector<ShownPacket>& shown() {
    static const std::vector<ShownPacket> result = packets_of(run({"-T", "pdml"}, packets()));
    return result;
  }

  static const std::vector<Packet>& packets() {
    static const std::vector<Packet> all = Packets().take();
    return all;
  }

  static const ShownPacket& shown_sample(const std::string& name) {
    const auto& samples = message_samples();
    const auto found = std::ranges::find(samples, name, &MessageSample::name);
    return shown().at(static_cast<std::size_t>(found - samples.begin()));
  }

  static std::string run(std::vector<std::string> options, const std::vector<Packet>& packets) {
    const TemporaryDirectory directory;
    const std::string capture = directory.path() + "/capture";
    const std::string output = directory.path() + "/output";
    write_capture(capture, packets);
    // Plugins of this user would be loaded too.
    ::setenv("HOME", directory.path().c_str(), 1);
    options.insert(options.begin(), {"--pdeathsig", "KILL", "--", tshark, "-X",
                                     "lua_script:" AAA_DISSECTOR, "-r", capture});
    ChildProgram program("/usr/bin/setpriv", std::move(options), "", output);
    EXPECT_THAT(program.remaining_errors(), Not(AnyOf(HasSubstr("Lua"), HasSubstr("lua"))));
    EXPECT_EQ(0, program.exit_status(patience));
    return contents_of(output);
  }

 private:
  static void write_capture(const std::string& path, const std::vector<Packet>& packets) {
    aaa_capture::Writer writer(path);
    writer.begin("test");
    for (const aaa_capture::Interface& interface : interfaces)
      writer.add(interface);
    for (const Packet& packet : packets)
      writer.write(packet);
  }
};

aaa_messages::Decoded decoded(const Packet& packet) {
  const bool from_daemon = packet.direction == Direction::outbound;
  return aaa_messages::decode(
      {.socket = static_cast<aaa_messages::Socket>(packet.interface),
       .sender = from_daemon ? aaa_messages::Sender::daemon : aaa_messages::Sender::client,
       .bytes = packet.bytes});
}

// Texts of other characters are shown in a form of Wireshark's.
bool is_comparable(const std::string& text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

std::string without_record(const std::string& name) {
  if (name.starts_with("aaa.message.unknown_item")) return name;
  const bool is_secret = name.ends_with(".secret");
  const std::size_t end = is_secret ? name.rfind('.') : name.size();
  return name.substr(name.rfind('.', end - 1) + 1);
}

std::string difference(const ShownField& expected, const ShownField& shown) {
  ShownField adjusted = expected;
  ShownField compared = shown;
  compared.name = without_record(shown.name);
  if (compared.name.starts_with("aaa.message.unknown_item")) compared.name = adjusted.name;
  if (!is_comparable(expected.show)) compared.show = adjusted.show;
  const bool same_label = shown.name == "aaa.message" || shown.label == expected.label ||
                          shown.label.starts_with(expected.label + ":") ||
                          shown.label.starts_with(expected.label + " [truncated]:");
  if (compared.line() == adjusted.line() && same_label) return "";
  return "expected " + expected.label + ", " + expected.line() + "\n   shown " + shown.label +
         ", " + shown.line() + "\n";
}

std::string difference(const std::vector<ShownField>& expected,
                       const std::vector<ShownField>& shown) {
  for (std::size_t i = 0; i < std::min(expected.size(), shown.size()); ++i)
    if (const std::string text = difference(expected[i], shown[i]); !text.empty()) return text;
  if (expected.size() == shown.size()) return "";
  return std::to_string(expected.size()) + " fields expected, " + std::to_string(shown.size()) +
         " shown";
}

std::string first_line(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

TEST_F(Dissector, ShowsWhatTheDecoderFinds) {
  ASSERT_EQ(packets().size(), shown().size());
  for (std::size_t i = 0; i < packets().size() && !HasFailure(); ++i) {
    const aaa_messages::Decoded message = decoded(packets()[i]);
    SCOPED_TRACE("packet " + std::to_string(i + 1) + "\n" + aaa_messages::to_text(message));
    EXPECT_EQ(first_line(aaa_messages::to_text(message)), shown()[i].headline);
    EXPECT_EQ("", difference(expected_shown_fields(message), shown()[i].fields));
    EXPECT_EQ(expected_remarks(message), shown()[i].remarks);
  }
}

std::vector<std::string> lines_of(const ShownPacket& packet) {
  std::vector<std::string> lines;
  for (const ShownField& field : packet.fields)
    lines.push_back(field.line());
  return lines;
}

TEST_F(Dissector, NamesFieldsByTheirRecord) {
  const auto lines = lines_of(shown_sample("authen"));
  for (const char* line :
       {"aaa.id at 4, 4 bytes: 77", "aaa.type at 8, 4 bytes: 5",
        "aaa.authen.fixed_block at 20, 1184 bytes: ", "  aaa.authen.session_id at 420, 4 bytes: ",
        "aaa.authen.user_password.secret at 1208, 9 bytes: 9"})
    EXPECT_THAT(lines, Contains(HasSubstr(line)));
  EXPECT_THAT(lines_of(shown_sample("delete_user")),
              Contains("aaa.delete_user.session_id at 16, 4 bytes: 77"));
  EXPECT_THAT(lines_of(shown_sample("ldap_answer")),
              Contains("  aaa.ldap_result.dn at 68, 5 bytes: 75:69:64:3d:61"));
}

TEST_F(Dissector, ShowsValuesOfEachKind) {
  const auto field = [](const char* sample, const char* name) {
    const ShownField* const found = shown_sample(sample).find(name);
    return found == nullptr ? "none" : found->label;
  };
  EXPECT_EQ("type: authen request (5)", field("authen", "aaa.type"));
  EXPECT_EQ("verdict: -1", field("gs_valid_answer", "aaa.gs_valid_resp.verdict"));
  EXPECT_EQ("session_id: 16909060", field("clear_user", "aaa.clear_user.session_id"));
  EXPECT_EQ("model_name: dot1x", field("register_request", "aaa.register_req.model_name"));
  EXPECT_EQ("words: 2", field("user_sync", "aaa.user_sync.words"));
  EXPECT_EQ("answer: 0102030405060708",
            field("online_info_answer", "aaa.rds_online_info_resp.answer"));
  EXPECT_EQ("item_306 (306): 6e616d65 \"name\"", field("ldap_search", "aaa.ldap_search.item_306"));
}

TEST_F(Dissector, HidesSecrets) {
  for (std::size_t i = 0; i < message_samples().size(); ++i)
    for (const ShownField& field : shown().at(i).fields) {
      EXPECT_THAT(field.label, Not(HasSubstr(sample_secret))) << field.line();
      EXPECT_THAT(field.show, Not(HasSubstr("47:65:68:65"))) << field.line();
    }
}

TEST_F(Dissector, ShowsSecretsWhenAskedTo) {
  std::vector<Packet> some;
  for (const char* name : {"authen", "query_pwd", "reregister"})
    some.push_back(packet_of(message_sample(name), message_sample(name).bytes()));
  EXPECT_EQ(run({"-o", "aaa.secrets:TRUE", "-T", "fields", "-e", "_ws.col.Protocol", "-e",
                 "_ws.col.Info", "-e", "aaa.authen.user_password", "-e", "aaa.password_check.s2",
                 "-e", "aaa.reregister_req.body"},
                some),
            "AAA\t5 (authen request) id 77, 1350 bytes, from client on the request socket"
            "\t47656865696d213432\t\t\n"
            "AAA\t22 (local query pwd) id 0, 26 bytes, from client on the request socket"
            "\t\tGeheim!42\t\n"
            "AAA\t1 (reregister request) id 0, 9 bytes, from client on the request socket"
            "\t\t\t47656865696d213432\n");
}

}  // namespace
}  // namespace test::dissector
