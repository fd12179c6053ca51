// A message of each type, with a value in every field, byte by byte.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "messages/decoder.h"
#include "messages/tables.h"

namespace test {

// What stands wherever a password or a key may be.
inline const std::string sample_secret = "Geheim!42";

struct MessageSample {
  std::string name;
  aaa_messages::Socket socket;
  aaa_messages::Sender sender;
  std::uint32_t type;
  std::uint32_t id;
  std::string body;
  std::string fields;  // as JSON; of the records only their name, see records_test.cpp

  std::string bytes() const;
  aaa_messages::Frame frame(std::span<const std::uint8_t> bytes) const {
    return {socket, sender, bytes};
  }
};

const std::vector<MessageSample>& message_samples();

// Those whose bodies differ.
std::vector<MessageSample> distinct_samples();

const MessageSample& message_sample(const std::string& name);

// Bytes that differ from field to field; letters in texts.
std::string sample_block(std::span<const BlockRow> rows, std::size_t size);

}  // namespace test
