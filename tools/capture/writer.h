// Writes a capture, in the byte order of this machine. Every block is written at once, so that the
// file can be read at any time, and also when its writer was killed.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "capture/packet.h"
#include "server/file_descriptor.h"

namespace aaa_capture {

class Writer {
 public:
  // Makes the file, or empties it, readable by its owner alone, and keeps other writers out of it.
  // Throws std::runtime_error, and leaves the file as it is, when another writer has it, when it
  // belongs to another user, or when it is neither a regular file nor a character device. The other
  // functions throw std::system_error.
  explicit Writer(const std::string& path);

  // Comes first. `application` is the name of the program.
  void begin(std::string_view application);

  // Its number, for packets.
  std::uint32_t add(const Interface& interface);
  // Its bytes are written whole; `length` is not looked at.
  void write(const Packet& packet);

 private:
  void write_block(std::uint32_t type, std::span<const std::uint8_t> body);

  aaa_sim::FileDescriptor file_;
  std::uint32_t interfaces_ = 0;
};

}  // namespace aaa_capture
