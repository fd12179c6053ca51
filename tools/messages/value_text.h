// Values and names as texts, for all renderers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "messages/decoder.h"

namespace aaa_messages {

std::string_view sender_name(Sender sender);  // "client", "aaad"
std::string_view socket_name(Socket socket);  // "request", "event", or nothing

// A number's digits.
std::optional<std::string> number_of(const Field& field);

// Nothing when it is neither a text nor octets that are one. The octets of a block's field may be
// filled up with zeros.
std::optional<std::string> text_of(const Field& field);

// Digits of a text or of octets.
std::string hex_of(const Field& field);

}  // namespace aaa_messages
