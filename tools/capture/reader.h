// Reads captures of any pcapng writer, in either byte order. Blocks and options that it does not
// know are passed over. Of packets it reads those in Enhanced Packet Blocks; those in Simple Packet
// Blocks and obsolete Packet Blocks, which lack a time or are no longer written, are counted only.
#pragma once

#include <istream>
#include <stdexcept>
#include <vector>

#include "capture/block_cursor.h"
#include "capture/packet.h"
#include "capture/pcapng.h"

namespace aaa_capture {

// The input is no capture, or ends or breaks inside one. The text says where.
class CaptureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Reader {
 public:
  // Reads no further than the block that it needs, so that packets come as soon as they are
  // written. `input` must outlive it.
  explicit Reader(std::istream& input) : input_(input) {}

  // The next packet, of whatever link type; false at the end. Throws CaptureError.
  bool next(Packet& packet);
  // That of the packet read last.
  const Interface& interface() const { return interfaces_[packet_interface_].is; }
  // Packets so far in blocks of the other kinds.
  std::size_t passed_over() const { return passed_over_; }

 private:
  struct Source {
    Interface is;
    std::uint8_t resolution = kMicroseconds;
    std::uint64_t offset = 0;  // seconds to add to times
  };

  bool read_block();
  void read_byte_order();
  void read_up_to(std::size_t size);
  void read_rest();
  void skip_body();
  std::uint32_t number_at(std::size_t offset) const;
  BlockCursor body() const;
  void start_section();
  void add_interface();
  void read_packet(Packet& packet);
  [[noreturn]] void fail(const char* what) const;

  std::istream& input_;
  std::uint64_t position_ = 0;  // of the block
  std::uint32_t type_ = 0;
  std::uint32_t size_ = 0;
  std::vector<std::uint8_t> block_;  // whole, or without the body when that is not needed
  bool in_section_ = false;
  bool swapped_ = false;
  std::vector<Source> interfaces_;
  std::uint32_t packet_interface_ = 0;
  std::size_t passed_over_ = 0;
};

}  // namespace aaa_capture
