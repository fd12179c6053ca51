#include "capture_input.h"

#include "capture/reader.h"

namespace aaa_dissect {

void dissect(std::istream& input, Printer& printer) {
  aaa_capture::Reader reader(input);
  aaa_capture::Packet packet;
  std::size_t others = 0;
  while (reader.next(packet)) {
    if (reader.interface().link_type != aaa_capture::kUser0)
      ++others;
    else if (!printer.print(reader.interface(), packet))
      return;
  }
  if (others != 0)
    throw aaa_capture::CaptureError(std::to_string(others) +
                                    " packets of another link type than USER0 are left out");
}

}  // namespace aaa_dissect
