#include "hostile/expected_course.h"

namespace test {
namespace {

// Silence in the middle of a header or a body: the bytes read so far are lost. The receive thread
// reads on; in agent mode the socket is no longer watched.
LinkAfter after_silence(Mode mode) {
  return mode == Mode::thread ? LinkAfter::in_step : LinkAfter::unwatched;
}

LinkAfter after_no_memory(Mode mode) {
  return mode == Mode::thread ? LinkAfter::lost : LinkAfter::unwatched;
}

}  // namespace

Course expected_course(const Bytes& stream, Mode mode, std::size_t memory) {
  Course course;
  std::size_t place = 0;
  while (place < stream.size()) {
    const std::size_t left = stream.size() - place;
    if (left < 16) {
      course.link = after_silence(mode);
      break;
    }
    if (mode == Mode::thread && word32(stream, place) != 0x01010101) {
      course.link = LinkAfter::lost;
      course.marker_told = true;
      break;
    }
    const std::uint32_t length = word32(stream, place + 12);
    if (length > memory) {
      course.link = after_no_memory(mode);
      break;
    }
    if (left - 16 < length) {
      course.link = after_silence(mode);
      break;
    }
    const auto body = stream.begin() + static_cast<std::ptrdiff_t>(place + 16);
    course.dispatched.push_back({word32(stream, place + 8), Bytes(body, body + length)});
    place += 16 + length;
  }
  return course;
}

}  // namespace test
