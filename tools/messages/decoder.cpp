#include "messages/decoder.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "aaa_client.h"
#include "messages/body_cursor.h"
#include "messages/catalogue.h"

namespace aaa_messages {
namespace {

std::uint64_t size_of(const Decoded& message) {
  return sizeof(aaa_ipc_header) + std::uint64_t{message.body_length};
}

// A message from `at` on. A batch may be part of a message, but has no batches.
Decoded decode_at(const Frame& frame, std::size_t at, std::size_t end, bool in_batch,
                  std::size_t& listed);

// A text behind its length, which has `width` bytes.
bool take_counted_text(BodyCursor& cursor, const Part& part, std::size_t width,
                       std::vector<Field>& fields) {
  if (cursor.left() < width) return false;
  const std::string name(part.name);
  const std::uint64_t claimed = little_number(cursor.next(width));
  fields.push_back(
      {.name = name + "_length", .offset = cursor.at, .length = width, .value = claimed});
  cursor.at += width;
  if (claimed > cursor.left()) return false;
  const auto length = static_cast<std::size_t>(claimed);
  const auto text = cursor.next(length);
  fields.push_back({.name = name,
                    .offset = cursor.at,
                    .length = length,
                    .value = std::string(text.begin(), text.end()),
                    .secret = part.secret});
  cursor.at += length;
  return true;
}

void take_field(BodyCursor& cursor, const Part& part, Kind kind, std::size_t length,
                std::vector<Field>& fields) {
  fields.push_back({.name = std::string(part.name),
                    .offset = cursor.at,
                    .length = length,
                    .value = value_of(cursor.next(length), kind)});
  cursor.at += length;
}

// What is behind its NUL may be anything.
void take_text(BodyCursor& cursor, const Part& part, std::vector<Field>& fields) {
  const auto bytes = cursor.next(cursor.left());
  const auto text = std::ranges::find(bytes, 0) - bytes.begin();
  take_field(cursor, part, Kind::text, cursor.present(static_cast<std::size_t>(text) + 1), fields);
  if (cursor.left() == 0) return;
  cursor.remark(std::string(part.name) + " goes on behind its end");
  fields.push_back(take_unknown(cursor, "undecoded", cursor.left()));
}

class MessageReader {
 public:
  MessageReader(const Frame& frame, BodyCursor& cursor, Decoded& message, bool in_batch)
      : frame_(frame), cursor_(cursor), message_(message), in_batch_(in_batch) {}

  void read(const Message& description) {
    check_socket(description);
    const bool whole =
        std::ranges::all_of(description.parts, [&](const Part& part) { return read_part(part); });
    if (!whole || cursor_.at != cursor_.claimed_end) doubt_texts();
  }

 private:
  // A text whose length is wrong is not the text alone, and what is taken for a second length may
  // be a piece of the first text.
  void doubt_texts() {
    if (long_texts_) {
      message_.fields.resize(long_texts_->fields);
      cursor_.at = long_texts_->at;
    }
    for (Field& field : message_.fields)
      if (field.name == "group_name") field.secret = true;
  }

  bool read_long_text(const Part& part) {
    if (!long_texts_) long_texts_ = {cursor_.at, message_.fields.size()};
    return take_counted_text(cursor_, part, 4, message_.fields);
  }

  void check_socket(const Message& description) const {
    if (description.sockets == Sockets::both || message_.socket == Socket::unknown) return;
    const bool on_request = message_.socket == Socket::request;
    if ((description.sockets == Sockets::request) != on_request)
      cursor_.remark("is not sent on this socket");
  }

  bool read_part(const Part& part) {
    std::vector<Field>& fields = message_.fields;
    switch (part.shape) {
      case Shape::block:
        return read_block(cursor_, *part.block, "the body", fields);
      case Shape::items:
        return read_items(cursor_, *part.items, fields);
      case Shape::short_text:
        return take_counted_text(cursor_, part, 1, fields);
      case Shape::long_text:
        return read_long_text(part);
      case Shape::text:
        take_text(cursor_, part, fields);
        return true;
      case Shape::octets:
        take_field(cursor_, part, Kind::octets, cursor_.left(), fields);
        return true;
      case Shape::unknown:
        if (cursor_.left() > 0) fields.push_back(take_unknown(cursor_, part.name, cursor_.left()));
        return true;
      case Shape::messages:
        return !in_batch_ && read_messages();
    }
    return false;
  }

  // Until something else than a message is met, or no more may be listed.
  bool read_messages() {
    while (cursor_.left() > 0) {
      if (!cursor_.may_list()) return false;
      Decoded part = decode_at(frame_, cursor_.at, cursor_.end, true, cursor_.listed);
      if (!part.has_header) return false;
      ++cursor_.listed;
      cursor_.at += cursor_.present(size_of(part));
      message_.messages.push_back(std::move(part));
    }
    return true;
  }

  struct Place {
    std::size_t at;
    std::size_t fields;
  };

  const Frame& frame_;
  BodyCursor& cursor_;
  Decoded& message_;
  bool in_batch_;
  std::optional<Place> long_texts_ = {};  // where the first one begins
};

void read_body(const Frame& frame, BodyCursor& cursor, Decoded& message, bool in_batch) {
  const Message* const description = find(message.type, message.sender, message.body_length);
  if (description == nullptr) {
    cursor.remark(message.sender == Sender::client ? "clients send no such message"
                                                   : "aaad sends no such message");
  } else {
    MessageReader(frame, cursor, message, in_batch).read(*description);
  }
  if (cursor.left() == 0) return;
  cursor.remark(std::to_string(cursor.left()) + " bytes of the body are not part of the message");
  message.fields.push_back(take_unknown(cursor, "undecoded", cursor.left()));
}

bool read_header(std::span<const std::uint8_t> bytes, Decoded& message) {
  aaa_ipc_header header;
  if (bytes.size() < sizeof header) return false;
  std::memcpy(&header, bytes.data(), sizeof header);
  if (header.marker != marker) return false;
  message.has_header = true;
  message.id = header.id;
  message.type = header.type;
  message.type_name = aaa_ipc_get_msg_type_str(header.type);
  message.body_length = header.length;
  return true;
}

Decoded decode_at(const Frame& frame, std::size_t at, std::size_t end, bool in_batch,
                  std::size_t& listed) {
  Decoded message{.socket = frame.socket, .sender = frame.sender, .offset = at};
  if (!read_header(frame.bytes.subspan(at, end - at), message)) return message;
  const std::size_t body = at + sizeof(aaa_ipc_header);
  const std::uint64_t claimed_end = at + size_of(message);
  const auto present_end = static_cast<std::size_t>(std::min<std::uint64_t>(claimed_end, end));
  BodyCursor cursor{frame.bytes,      body,  present_end, claimed_end, message.remarks,
                    message.reserved, listed};
  if (present_end < claimed_end) {
    cursor.remark("the body is truncated: " + std::to_string(cursor.left()) + " of " +
                  std::to_string(message.body_length) + " bytes are there");
  }
  read_body(frame, cursor, message, in_batch);
  return message;
}

}  // namespace

Decoded decode(const Frame& frame) {
  std::size_t listed = 0;
  Decoded message = decode_at(frame, 0, frame.bytes.size(), false, listed);
  BodyCursor rest{frame.bytes, 0, frame.bytes.size(), 0, message.remarks, message.reserved, listed};
  rest.at = message.has_header ? rest.present(size_of(message)) : 0;
  if (!message.has_header) rest.remark("no message begins here");
  if (rest.left() == 0) return message;
  rest.remark(std::to_string(rest.left()) + " bytes are not part of a message");
  message.fields.push_back(take_unknown(rest, "undecoded", rest.left()));
  return message;
}

}  // namespace aaa_messages
