// Dissects a capture.
#pragma once

#include <istream>
#include <string>

#include "printer.h"

namespace aaa_dissect {

// Prints its messages until it ends, or the output takes no more. Throws std::runtime_error when it
// could not be read to its end, or not all of it consists of messages; the messages that could be
// read are printed before.
void dissect(std::istream& input, Printer& printer);

}  // namespace aaa_dissect
