#include "flow.h"

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace aaa_dissect {
namespace {

using aaa_capture::Form;
using aaa_sim::FrameReader;
using aaa_sim::View;

bool try_again() {
  return errno == EAGAIN || errno == EINTR;
}

bool begins_message(View bytes) {
  return bytes.size() >= sizeof aaa_sim::kMarker &&
         std::memcmp(bytes.data(), &aaa_sim::kMarker, sizeof aaa_sim::kMarker) == 0;
}

}  // namespace

void Flow::read() {
  std::array<std::uint8_t, 65536> chunk;
  const ssize_t got = ::recv(from_, chunk.data(), chunk.size(), 0);
  if (got < 0 && try_again()) return;
  if (got <= 0) return end_input();
  const View bytes(chunk.data(), static_cast<std::size_t>(got));
  split(bytes);
  output_.insert(output_.end(), bytes.begin(), bytes.end());
}

void Flow::write() {
  const ssize_t put = ::send(to_, output_.data(), output_.size(), MSG_NOSIGNAL);
  if (put >= 0) {
    output_.erase(output_.begin(), output_.begin() + put);
  } else if (!try_again()) {
    give_up();
  }
}

// Only what is there now: the sender may go on writing.
void Flow::give_up() {
  int queued = 0;
  (void)::ioctl(from_, FIONREAD, &queued);
  const std::size_t end = output_.size() + static_cast<std::size_t>(queued);
  for (std::size_t before = 0; is_open_ && output_.size() < end && output_.size() != before;) {
    before = output_.size();
    read();
  }
  lost_ += output_.size();
  output_.clear();
  end_input();
}

// What follows broken bytes is stray until something that begins as a message is read.
void Flow::split(View bytes) {
  if (is_broken_ && !begins_message(bytes)) return show_(bytes, Form::stray, "no message");
  is_broken_ = false;
  input_.append(bytes);
  for (aaa_sim::Frame frame;;) {
    switch (input_.next(frame)) {
      case FrameReader::Status::need_more:
        return;
      case FrameReader::Status::frame:
        show_(to_bytes(frame), Form::message, "");
        break;
      case FrameReader::Status::bad_marker:
        return show_broken("no message: bad marker");
      case FrameReader::Status::bad_length:
        return show_broken("no message: bad body length");
    }
  }
}

void Flow::show_broken(const char* remark) {
  is_broken_ = true;
  show_(input_.rest(), Form::message, remark);
  input_ = {};
}

void Flow::end_input() {
  is_open_ = false;
  if (input_.pending() != 0) show_broken("the connection was closed inside the message");
}

}  // namespace aaa_dissect
