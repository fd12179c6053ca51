// A record whose carried fields all differ, beside the block that must carry them. A test names
// each field once, with its literal place in the block.
#pragma once

#include "codec/codec_test.h"

namespace test {

template <typename Record>
class BlockSample {
 public:
  Record sent{};         // what the encoder gets
  Record arrived{};      // what a decoder makes of `received`
  std::string block;     // what the encoder makes of `sent`
  std::string received;  // the same, with what a peer may send beyond it
  std::vector<std::pair<std::size_t, std::uint8_t Record::*>> flags;

  explicit BlockSample(std::size_t size) : block(zeros(size)), received(zeros(size)) {
    std::memset(&sent, 0, sizeof sent);
    std::memset(&arrived, 0, sizeof arrived);
  }

  // The same bytes in the record and in the block.
  template <typename Value>
  void same(std::size_t offset, Value Record::*member) {
    const std::string value = next_bytes(sizeof(Value));
    set(member, value, value);
    put(block, offset, value);
    put(received, offset, value);
  }

  // A word of which only the low byte travels.
  void low_byte(std::size_t offset, std::uint32_t Record::*member) {
    const std::string value = next_bytes(4);
    set(member, value, value.substr(0, 1) + zeros(3));
    block.at(offset) = received.at(offset) = value[0];
  }

  void flag(std::size_t offset, std::uint8_t Record::*member) {
    wide_flag(offset, member);
    flags.push_back({offset, member});
  }

  // Sent as 16 bits, any of which makes it 1.
  void wide_flag(std::size_t offset, std::uint8_t Record::*member) {
    sent.*member = arrived.*member = 1;
    block.at(offset) = received.at(offset) = 1;
  }

  // Text whose last byte is not sent, but taken when it arrives.
  template <std::size_t N>
  void cut_text(std::size_t offset, char (Record::*member)[N]) {
    same(offset, member);
    block.at(offset + N - 1) = 0;
  }

  template <std::size_t N>
  void received_only(std::size_t offset, std::uint8_t (Record::*member)[N]) {
    same(offset, member);
    put(block, offset, zeros(N));
  }

  template <typename Value>
  void not_carried(Value Record::*member) {
    set(member, next_bytes(sizeof(Value)), zeros(sizeof(Value)));
  }

 private:
  // Never zero, and different for fields that lie near each other.
  std::string next_bytes(std::size_t count) {
    std::string bytes = zeros(count);
    for (auto& byte : bytes)
      byte = static_cast<char>(next_++ % 251 + 1);
    next_ += 17;
    return bytes;
  }

  template <typename Value>
  void set(Value Record::*member, const std::string& in_sent, const std::string& in_arrived) {
    std::memcpy(&(sent.*member), in_sent.data(), sizeof(Value));
    std::memcpy(&(arrived.*member), in_arrived.data(), sizeof(Value));
  }

  static void put(std::string& bytes, std::size_t offset, const std::string& value) {
    ASSERT_LE(offset + value.size(), bytes.size());
    bytes.replace(offset, value.size(), value);
  }

  std::size_t next_ = 1;
};

template <typename Record>
bool same_bytes(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof(Record)) == 0;
}

}  // namespace test
