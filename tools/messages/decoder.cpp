#include "messages/decoder.h"

#include <cstring>

#include "aaa_client.h"

namespace aaa_messages {

Decoded decode(const Frame& frame) {
  Decoded message{.socket = frame.socket, .sender = frame.sender};
  aaa_ipc_header header;
  if (frame.bytes.size() < sizeof header) {
    message.remarks.emplace_back("the header is truncated");
    return message;
  }
  std::memcpy(&header, frame.bytes.data(), sizeof header);
  message.has_header = true;
  message.id = header.id;
  message.type = header.type;
  message.type_name = aaa_ipc_get_msg_type_str(header.type);
  message.body_length = header.length;
  return message;
}

}  // namespace aaa_messages
