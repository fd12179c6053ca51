#include "frame_reader.h"

#include <cstring>

namespace aaa_sim {

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

}  // namespace aaa_sim
