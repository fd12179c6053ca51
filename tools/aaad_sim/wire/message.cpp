#include "wire/message.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace aaa_sim {

const char* role_name(Role role) {
  switch (role) {
    case Role::request:
      return "request";
    case Role::event:
      return "event";
    case Role::none:
      break;
  }
  return "-";
}

std::string describe(const ClientName& name) {
  return (name.model.empty() ? "-" : name.model) + "/" + std::to_string(name.pid);
}

bool matches(const ClientName& pattern, const ClientName& name) {
  return (pattern.model.empty() || pattern.model == name.model) &&
         (pattern.pid == 0 || pattern.pid == name.pid);
}

Frame make_frame(std::uint32_t type, std::uint32_t id, View body) {
  const auto length = static_cast<std::uint32_t>(body.size());
  return {{kMarker, id, type, length}, Bytes(body.begin(), body.end())};
}

Bytes to_bytes(const Frame& frame) {
  Bytes bytes(kHeaderSize + frame.body.size());
  std::memcpy(bytes.data(), &frame.header, kHeaderSize);
  std::ranges::copy(frame.body, bytes.begin() + kHeaderSize);
  return bytes;
}

void FrameReader::append(View bytes) {
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(used_));
  used_ = 0;
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

FrameReader::Status FrameReader::next(Frame& frame) {
  if (pending() < kHeaderSize) return Status::need_more;
  aaa_ipc_header header;
  std::memcpy(&header, bytes_.data() + used_, kHeaderSize);
  if (header.marker != kMarker) return Status::bad_marker;
  if (header.length > kMaxBody) return Status::bad_length;
  if (pending() - kHeaderSize < header.length) return Status::need_more;
  const View body = View(bytes_).subspan(used_ + kHeaderSize, header.length);
  frame = {header, Bytes(body.begin(), body.end())};
  used_ += kHeaderSize + header.length;
  return Status::frame;
}

Bytes encode_words(std::span<const std::uint32_t> words) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(words.data());
  return Bytes(first, first + words.size_bytes());
}

Bytes encode_status(const aaa_status& status) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(&status);
  return Bytes(first, first + sizeof status);
}

std::string describe(const Message& message) {
  const bool inbound = message.direction == Direction::received;
  char line[256];
  std::snprintf(line, sizeof line, "%11.6f %s %.100s %-7s %3u (%s) id %u len %u%s",
                static_cast<double>(message.time.count()) / 1e6, inbound ? "recv" : "send",
                describe(message.client).c_str(), role_name(message.role), message.header.type,
                aaa_ipc_get_msg_type_str(message.header.type), message.header.id,
                message.header.length, message.in_batch ? " in batch" : "");
  return line;
}

}  // namespace aaa_sim
