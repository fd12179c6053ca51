// What the decoder finds in a message, in the form of what the dissector shows.
#pragma once

#include <string>
#include <vector>

#include "messages/decoder.h"
#include "wireshark/pdml.h"

namespace test::dissector {

// The names are the last part of the shown ones: "user_password.secret".
std::vector<ShownField> expected_shown_fields(const aaa_messages::Decoded& message);

// Of all messages of a batch too, in the order in which they are shown.
std::vector<std::string> expected_remarks(const aaa_messages::Decoded& message);

}  // namespace test::dissector
