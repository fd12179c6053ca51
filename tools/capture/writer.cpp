#include "capture/writer.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "capture/pcapng.h"

namespace aaa_capture {
namespace {

// The body of a block.
class Body {
 public:
  template <class Number>
  void add(Number number) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(&number);
    bytes_.insert(bytes_.end(), first, first + sizeof number);
  }

  void add_padded(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    bytes_.resize(padded(bytes_.size()));
  }

  void add_option(std::uint16_t code, std::span<const std::uint8_t> value) {
    add(code);
    add(static_cast<std::uint16_t>(value.size()));
    add_padded(value);
  }
  // Longer ones are cut, at what the option's length can say.
  void add_option(std::uint16_t code, std::string_view text) {
    text = text.substr(0, UINT16_MAX);
    add_option(code, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }
  template <class Number>
  void add_number_option(std::uint16_t code, Number number) {
    add_option(code, {reinterpret_cast<const std::uint8_t*>(&number), sizeof number});
  }
  void end_options() { add_option(kOptEndOfOpt, std::string_view()); }

  std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
};

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

[[noreturn]] void refuse(const std::string& path, const char* why) {
  throw std::runtime_error(path + ": " + why);
}

constexpr const char* kWrongType = "is neither a regular file nor a character device";

// Does not wait for the reader of a pipe. One without a reader, and a socket, are ENXIO.
aaa_sim::FileDescriptor open_file(const std::string& path) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                        S_IRUSR | S_IWUSR);
  if (fd < 0 && errno == ENXIO) refuse(path, kWrongType);
  return aaa_sim::checked(fd, path.c_str());
}

// Nothing of a file is changed that another program writes to. A file that exists keeps its owner
// and its mode when it is opened.
void take_over(int fd, const std::string& path, uid_t owner) {
  if (owner != ::geteuid()) refuse(path, "belongs to another user");
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) refuse(path, "another program writes a capture to it");
    fail(path);
  }
  if (::fchmod(fd, S_IRUSR | S_IWUSR) != 0 || ::ftruncate(fd, 0) != 0) fail(path);
}

void prepare(int fd, const std::string& path) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) fail(path);
  if (S_ISREG(status.st_mode)) return take_over(fd, path, status.st_uid);
  if (!S_ISCHR(status.st_mode)) refuse(path, kWrongType);
  if (::fcntl(fd, F_SETFL, 0) != 0) fail(path);
}

void write_all(int fd, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t put = ::write(fd, bytes.data(), bytes.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) fail("write");
    bytes = bytes.subspan(static_cast<std::size_t>(put));
  }
}

}  // namespace

Writer::Writer(const std::string& path) : file_(open_file(path)) {
  prepare(file_.get(), path);
}

void Writer::begin(std::string_view application) {
  Body body;
  body.add(kByteOrderMagic);
  body.add(kMajorVersion);
  body.add(kMinorVersion);
  body.add(std::int64_t{-1});  // the section's length is unknown
  body.add_option(kShbUserAppl, application);
  body.end_options();
  write_block(kSectionHeaderBlock, body.bytes());
}

std::uint32_t Writer::add(const Interface& interface) {
  Body body;
  body.add(interface.link_type);
  body.add(std::uint16_t{0});
  body.add(std::uint32_t{0});  // no packet is cut
  body.add_option(kIfName, interface.name);
  body.add_option(kIfDescription, interface.description);
  body.add_number_option(kIfTsresol, kNanoseconds);
  body.end_options();
  write_block(kInterfaceDescriptionBlock, body.bytes());
  return interfaces_++;
}

void Writer::write(const Packet& packet) {
  const auto length = static_cast<std::uint32_t>(packet.bytes.size());
  Body body;
  body.add(packet.interface);
  body.add(static_cast<std::uint32_t>(packet.time >> 32));
  body.add(static_cast<std::uint32_t>(packet.time));
  body.add(length);
  body.add(length);
  body.add_padded(packet.bytes);
  if (!packet.comment.empty()) body.add_option(kOptComment, packet.comment);
  body.add_number_option(kEpbFlags, static_cast<std::uint32_t>(packet.direction));
  body.end_options();
  write_block(kEnhancedPacketBlock, body.bytes());
}

// A block that does not fit on the disk is removed again, as far as it was written.
void Writer::write_block(std::uint32_t type, std::span<const std::uint8_t> body) {
  const auto length = static_cast<std::uint32_t>(kBlockOverhead + body.size());
  Body block;
  block.add(type);
  block.add(length);
  block.add_padded(body);
  block.add(length);
  const off_t start = ::lseek(file_.get(), 0, SEEK_CUR);
  try {
    write_all(file_.get(), block.bytes());
  } catch (const std::system_error&) {
    if (start >= 0 && ::ftruncate(file_.get(), start) == 0) ::lseek(file_.get(), start, SEEK_SET);
    throw;
  }
}

}  // namespace aaa_capture
