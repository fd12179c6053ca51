#include "capture_input.h"

#include <string>

#include "capture/reader.h"

namespace aaa_dissect {
namespace {

void append(std::string& line, std::size_t packets, const char* of) {
  if (packets == 0) return;
  if (!line.empty()) line += ", ";
  line += std::to_string(packets) + (packets == 1 ? " packet " : " packets ") + of +
          (packets == 1 ? " is left out" : " are left out");
}

// The packets of another link type.
std::size_t print_messages(aaa_capture::Reader& reader, Printer& printer, std::string& error) {
  aaa_capture::Packet packet;
  std::size_t others = 0;
  try {
    while (reader.next(packet)) {
      if (reader.interface().link_type != aaa_capture::kUser0)
        ++others;
      else if (!printer.print(reader.interface(), packet))
        break;
    }
  } catch (const aaa_capture::CaptureError& caught) {
    error = caught.what();
  }
  return others;
}

}  // namespace

void dissect(std::istream& input, Printer& printer) {
  aaa_capture::Reader reader(input);
  std::string error;
  const std::size_t others = print_messages(reader, printer, error);
  if (printer.error() != 0) return;
  append(error, others, "of another link type than USER0");
  append(error, reader.passed_over(), "in other blocks than Enhanced Packet Blocks");
  if (!error.empty()) throw aaa_capture::CaptureError(error);
}

}  // namespace aaa_dissect
