// Questions that aaad answers at once.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "commands.h"

namespace aaa_probe {

// The status words that the library gives to clients.
Status query_status(const Context& context);

// Whether a method list exists, and its state.
struct MethodListQuery {
  std::string name;
  std::uint32_t kind = 0;
};
Status query_method_list(const MethodListQuery& query, const Context& context);

// Whether aaad registers a server group. With a state, this is reported to aaad as that of the
// RADIUS group.
struct GroupQuery {
  std::string name;
  std::optional<std::uint32_t> state = {};
};
Status query_group(const GroupQuery& query, const Context& context);

Status query_session_id(const Context& context);

}  // namespace aaa_probe
