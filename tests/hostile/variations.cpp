#include "hostile/variations.h"

#include <algorithm>
#include <set>

#include "soak/soak_length.h"

namespace hostile {
namespace {

constexpr std::uint16_t kNowhere = 0xffff;
constexpr std::uint16_t header_size = 16;

Variation whole(std::size_t frame, const std::string& bytes) {
  return {.frame = static_cast<std::uint16_t>(frame),
          .kept = static_cast<std::uint16_t>(bytes.size()),
          .place = kNowhere,
          .value = 0,
          .first_cut = 0,
          .bytewise = false,
          .glued = true};
}

std::set<std::uint8_t> other_values(std::uint8_t byte, bool all) {
  std::set<std::uint8_t> values = {0, 0xff, static_cast<std::uint8_t>(byte + 1),
                                   static_cast<std::uint8_t>(byte - 1)};
  for (int bit = 0; bit < 8; ++bit)
    values.insert(static_cast<std::uint8_t>(byte ^ 1 << bit));
  for (int value = 0; all && value < 256; ++value)
    values.insert(static_cast<std::uint8_t>(value));
  values.erase(byte);
  return values;
}

std::uint8_t flipped(char byte) {
  return static_cast<std::uint8_t>(byte ^ 0x80);
}

// Calls `visit` with a variation of each frame, and with each place in it.
template <class Visit>
void at_each_place(const std::vector<std::string>& frames, Visit visit) {
  for (std::size_t i = 0; i < frames.size(); ++i)
    for (std::uint16_t place = 0; place < frames[i].size(); ++place)
      visit(whole(i, frames[i]), frames[i], place);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Variation& variation) {
  return out << variation.frame << ", " << variation.kept << " bytes kept, byte " << variation.place
             << " is " << int{variation.value} << ", cut at " << variation.first_cut
             << (variation.bytewise ? ", bytewise" : "") << (variation.glued ? ", glued" : "");
}

std::vector<Variation> sample(const std::vector<Variation>& all, std::size_t one_in) {
  if (soak::is_long()) return all;
  std::vector<Variation> some;
  for (std::size_t i = 0; i < all.size(); ++i)
    if (i % one_in == 0 || all[i].place < header_size) some.push_back(all[i]);
  return some;
}

std::vector<Variation> changed_bytes(const std::vector<std::string>& frames) {
  std::vector<Variation> all;
  at_each_place(frames, [&](Variation one, const std::string& frame, std::uint16_t place) {
    one.place = place;
    for (const std::uint8_t value :
         other_values(static_cast<std::uint8_t>(frame[place]), soak::is_long())) {
      one.value = value;
      all.push_back(one);
    }
  });
  return all;
}

std::vector<Variation> truncations(const std::vector<std::string>& frames) {
  std::vector<Variation> all;
  at_each_place(frames, [&](Variation one, const std::string&, std::uint16_t place) {
    if (place == 0) return;
    one.kept = place;
    for (const bool glued : {false, true}) {
      one.glued = glued;
      all.push_back(one);
    }
  });
  return all;
}

std::vector<Variation> splits(const std::vector<std::string>& frames) {
  std::vector<Variation> all;
  at_each_place(frames, [&](Variation one, const std::string& frame, std::uint16_t place) {
    one.first_cut = static_cast<std::uint16_t>(place + 1);
    all.push_back(one);
    one.place = place;
    one.value = flipped(frame[place]);
    all.push_back(one);
  });
  return all;
}

std::vector<Variation> bytewise(const std::vector<std::string>& frames) {
  std::vector<Variation> all;
  at_each_place(frames, [&](Variation one, const std::string& frame, std::uint16_t place) {
    if (place >= header_size && place % 97 != 0) return;
    one.bytewise = true;
    one.place = place;
    one.value = flipped(frame[place]);
    all.push_back(one);
  });
  return all;
}

std::string stream_of(const Variation& variation, const std::string& frame,
                      const std::string& good_frame) {
  std::string bytes = frame;
  if (variation.place < bytes.size()) bytes[variation.place] = static_cast<char>(variation.value);
  bytes.resize(variation.kept);
  if (variation.glued) bytes += good_frame;
  return bytes;
}

std::vector<std::string> pieces_of(const Variation& variation, const std::string& stream) {
  std::vector<std::string> pieces;
  if (variation.bytewise) {
    for (const char byte : stream)
      pieces.push_back({byte});
  } else if (variation.first_cut > 0 && variation.first_cut < stream.size()) {
    pieces = {stream.substr(0, variation.first_cut), stream.substr(variation.first_cut)};
  } else {
    pieces = {stream};
  }
  return pieces;
}

}  // namespace hostile
