// Captures of other writers, and what is no capture.
#include "capture/reader.h"

#include <random>
#include <sstream>

#include "dissect/dissect_fixture.h"

namespace dissect_test {
namespace reader {

using aaa_capture::CaptureError;
using aaa_capture::Direction;
using aaa_capture::Packet;
using aaa_capture::Reader;

// The packets up to the end or to an error, whose text it sets.
std::vector<Packet> read_all(const std::string& bytes, std::string& error) {
  std::istringstream input(bytes);
  Reader reader(input);
  std::vector<Packet> packets;
  error.clear();
  try {
    for (Packet packet; reader.next(packet);)
      packets.push_back(packet);
  } catch (const CaptureError& caught) {
    error = caught.what();
  }
  return packets;
}

std::vector<Packet> read_all(const std::string& bytes) {
  std::string error;
  const auto packets = read_all(bytes, error);
  EXPECT_EQ(error, "");
  return packets;
}

std::string error_of(const std::string& bytes) {
  std::string error;
  read_all(bytes, error);
  return error;
}

TEST(CaptureReader, ReadsTheOtherByteOrder) {
  const std::string bytes = hex(
      "0a0d0d0a 0000001c 1a2b3c4d 0001 0000 ffffffffffffffff 0000001c"
      "00000001 0000002c 0093 0000 00000000 0002 0005 6576656e74000000 0009 0001 09000000 00000000"
      "0000002c"
      "00000006 00000030 00000000 00000001 00000002 00000003 00000010 aabbcc00 0002 0004 00000002"
      "00000000 00000030");
  std::istringstream input(bytes);
  Reader reader(input);
  Packet packet;
  ASSERT_TRUE(reader.next(packet));
  EXPECT_EQ(packet.time, 0x100000002u);
  EXPECT_EQ(packet.direction, Direction::outbound);
  EXPECT_EQ(packet.bytes, (std::vector<std::uint8_t>{0xaa, 0xbb, 0xcc}));
  EXPECT_EQ(packet.length, 16u);
  EXPECT_EQ(reader.interface().name, "event");
  EXPECT_EQ(reader.interface().link_type, 147);
  EXPECT_FALSE(reader.next(packet));
}

TEST(CaptureReader, PassesOverWhatItDoesNotKnow) {
  const auto packets =
      read_all(kSection + block(4, hex("00000000")) + interface("9300", "0b00 0300 01020300") +
               block(0x0bad, "") + packet(kHeartbeat, "0400 0100 09000000 0100 0200 68690000"));
  ASSERT_EQ(packets.size(), 1u);
  EXPECT_EQ(packets[0].comment, "hi");
  EXPECT_EQ(packets[0].direction, Direction::unknown);
}

TEST(CaptureReader, ALongBlockThatItDoesNotKnowIsPassedOver) {
  const std::string start = kSection + interface(), last = packet(kHeartbeat);
  const std::string unknown = block(0x0bad, std::string(40u << 20, 'x'));
  EXPECT_EQ(read_all(start + unknown + last).size(), 1u);
  EXPECT_EQ(read_all(start + block(0x0bad, "four") + last).size(), 1u);
  const std::string at = " at byte " + std::to_string(start.size());
  for (const std::size_t missing : {1u, 4u, 5u, 40u << 20})
    EXPECT_EQ(error_of(start + unknown.substr(0, unknown.size() - missing)), "cut" + at) << missing;
  EXPECT_EQ(error_of(start + unknown.substr(0, unknown.size() - 1) + "x" + last),
            "broken block" + at);
  EXPECT_EQ(error_of(start + unknown + last.substr(1)),
            "broken block at byte " + std::to_string(start.size() + unknown.size()));
}

TEST(CaptureReader, ASectionHasInterfacesOfItsOwn) {
  EXPECT_EQ(
      read_all(kSection + interface() + packet("x") + kSection + interface("0100") + packet("yz"))
          .size(),
      2u);
  const std::string one = kSection + interface() + packet("x");
  EXPECT_EQ(error_of(one + kSection + packet("y")),
            "broken block at byte " + std::to_string(one.size() + kSection.size()));
}

TEST(CaptureReader, TimesHaveTheResolutionOfTheInterface) {
  const auto time_with = [](const std::string& option) {
    const auto packets = read_all(kSection + block(1, hex("9300 0000 00000000" + option)) +
                                  block(6, word_bytes({0, 1, 2, 0, 0})));
    return packets.at(0).time;
  };
  EXPECT_EQ(time_with(""), 4294967298000u) << "microseconds";
  EXPECT_EQ(time_with("0900 0100 03000000"), 4294967298000000u);
  EXPECT_EQ(time_with("0900 0100 0c000000"), 4294967u) << "picoseconds";
  EXPECT_EQ(time_with("0900 0100 a0000000"), 1000000000u) << "parts of 2 to the power of 32";
  EXPECT_EQ(time_with("0900 0100 ff000000"), 0u);
  EXPECT_EQ(time_with("0900 0100 7f000000"), 0u);
  EXPECT_EQ(time_with("0900 0100 09000000 0e00 0800 0a00000000000000"), 14294967298u);
}

TEST(CaptureReader, ACaptureThatIsCutGivesWhatIsBefore) {
  const std::string start = kSection + interface();
  const std::string first = packet(kHeartbeat), second = packet("12345");
  const std::string whole = start + first + second;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    std::string error;
    const std::size_t packets = read_all(whole.substr(0, size), error).size();
    EXPECT_EQ(packets, (size >= start.size() + first.size()) + (size == whole.size())) << size;
    const bool is_at_end = size == kSection.size() || size == start.size() ||
                           size == start.size() + first.size() || size == whole.size();
    if (size < 12) {
      EXPECT_EQ(error, "no pcapng capture at byte 0") << size;
    } else {
      EXPECT_EQ(error.starts_with("cut at byte "), !is_at_end) << size << " " << error;
      EXPECT_EQ(error.empty(), is_at_end) << size << " " << error;
    }
  }
}

TEST(CaptureReader, LengthsAreNotBelieved) {
  const std::string start = kSection + interface();
  const std::string at = " at byte " + std::to_string(start.size());
  for (const char* length : {"00000000", "0b000000", "0d000000", "fcffffff", "04000002"})
    EXPECT_EQ(error_of(start + hex("06000000") + hex(length) + std::string(40, '\0')),
              "broken block" + at)
        << length;
  EXPECT_EQ(error_of(start + hex("06000000 00000002") + std::string(40, '\0')), "cut" + at);
  const std::string longer = block(6, word_bytes({0, 0, 3, 17, 17}) + std::string(16, 'x'));
  EXPECT_EQ(error_of(start + longer), "broken block" + at) << "a packet longer than its block";
  EXPECT_EQ(error_of(start + packet("1234", "0100 0500 31323334")), "broken block" + at);
  EXPECT_EQ(error_of(start + packet("1234", "0200 0200 01000000")), "broken block" + at);
  std::string uneven = packet("1234");
  uneven.back() = 1;
  EXPECT_EQ(error_of(start + uneven), "broken block" + at) << "two different lengths";
}

TEST(CaptureReader, TheHeaderTellsWhatIsNoCapture) {
  EXPECT_EQ(error_of(std::string(64, '\0')), "no pcapng capture at byte 0");
  EXPECT_EQ(error_of(hex("d4c3b2a1 0200 0400") + std::string(16, '\0')),
            "no pcapng capture at byte 0");
  EXPECT_EQ(error_of(block(0x0a0d0d0a, hex("4d3c2b1b 0100 0000 ffffffffffffffff"))),
            "no pcapng capture at byte 0");
  EXPECT_EQ(error_of(block(0x0a0d0d0a, hex("4d3c2b1a 0200 0000 ffffffffffffffff"))),
            "unknown version of pcapng at byte 0");
  EXPECT_EQ(error_of(interface()), "no pcapng capture at byte 0");
}

TEST(CaptureReader, NoiseIsAnError) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string noise(random() % 200 + 1, '\0');
    for (char& byte : noise)
      byte = static_cast<char>(random());
    EXPECT_NE(error_of(kSection + interface() + packet("1") + noise), "") << i;
  }
}

TEST(CaptureReader, AnyChangedByteEndsInAnErrorOrInPackets) {
  const std::string whole = kSection + interface() + packet(kHeartbeat, "0100 0200 68690000");
  for (std::size_t i = 0; i < whole.size(); ++i)
    for (int value = 0; value < 256; ++value) {
      std::string changed = whole;
      changed[i] = static_cast<char>(value);
      std::string error;
      EXPECT_LE(read_all(changed, error).size(), 1u);
    }
}

}  // namespace reader
}  // namespace dissect_test
