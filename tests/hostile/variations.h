// The ways in which a frame can be damaged and delivered.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace hostile {

struct Variation {
  std::uint16_t frame;      // its number
  std::uint16_t kept;       // so many of its bytes
  std::uint16_t place;      // of the byte that is changed, none when behind the end
  std::uint8_t value;       // that byte
  std::uint16_t first_cut;  // the bytes arrive in pieces that end here, 0: in one piece
  bool bytewise;            // or each for itself
  bool glued;               // a good frame follows at once
};

std::ostream& operator<<(std::ostream& out, const Variation& variation);

// Each byte of each frame, by value: in a long soak all 255 others, else those that matter most.
std::vector<Variation> changed_bytes(const std::vector<std::string>& frames);
// Each shorter length of each frame, alone and before a good frame.
std::vector<Variation> truncations(const std::vector<std::string>& frames);
// The frames as they are, and with one byte changed, cut in two at each place.
std::vector<Variation> splits(const std::vector<std::string>& frames);
// Each frame, whole and damaged, a byte at a time.
std::vector<Variation> bytewise(const std::vector<std::string>& frames);

// All of them in a long soak; else those of a header's bytes, and one of so many others.
std::vector<Variation> sample(const std::vector<Variation>& all, std::size_t one_in);

// The bytes that arrive, and where they are cut.
std::string stream_of(const Variation& variation, const std::string& frame,
                      const std::string& good_frame);
std::vector<std::string> pieces_of(const Variation& variation, const std::string& stream);

}  // namespace hostile
