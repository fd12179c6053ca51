// Names of the messages' bodies, for tables of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "messages/catalogue.h"

namespace protocol_tables {

// "AAA_MSG_HEARTBEAT". Throws std::out_of_range when no message has this type.
std::string_view constant_of(std::uint32_t type);

// A name for what several messages have in their bodies: "authen"; else empty.
std::string_view record_of(const aaa_messages::Part& part);

// The record's name; else the message's own, from its constant: "register_req".
std::string record_of(const aaa_messages::Message& message, const aaa_messages::Part& part);

}  // namespace protocol_tables
