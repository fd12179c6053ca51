// The descriptions of the messages as tables in Lua, for the dissector.
#pragma once

#include <ostream>

namespace protocol_tables {

void write_lua(std::ostream& out);

}  // namespace protocol_tables
