// Which member of a record is which attribute: docs/fields.md has the table.
#pragma once

#include <optional>
#include <string>

#include "radius/client.h"
#include "wire/records.h"

namespace aaa_sim::radius {

// A request that cannot be expressed as attributes.
struct BadRecord : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The attributes of an Access-Request. Throws TooLong.
Attributes attributes_of(const authen_info& request, const std::string& nas_identifier);

// The attributes of an Accounting-Request. Throws TooLong and BadRecord.
Attributes attributes_of(const acct_info& request, const std::string& nas_identifier);

// The name that the server has given the user, else the one in the request.
std::string_view user_of(const Reply* reply, std::string_view requested);

// The body of the result that a reply stands for; null: no server has answered. `user` is the name
// in the request.
Bytes result_of(const Reply* reply, std::uint32_t session_id, std::string_view user);

// Acct-Session-Id.
std::string session_text(std::uint32_t session_id);
// None for a text that session_text() cannot return.
std::optional<std::uint32_t> session_id_in(View value);

// The text or number in an attribute that can have a tag, without the tag.
std::string_view untagged_text(View value);
std::uint32_t untagged_number(View value);

}  // namespace aaa_sim::radius
