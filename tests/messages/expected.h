// What the samples decode to. Offsets are those of the tables, added to where the block begins.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "messages/decoder.h"
#include "messages/samples.h"

namespace test {

using Json = nlohmann::ordered_json;

// The fields of a sample.
Json expected_fields(const MessageSample& sample);

Json decoded_object(const MessageSample& sample, const std::string& bytes);
Json decoded_object(const MessageSample& sample);

aaa_messages::Decoded decoded(const MessageSample& sample, const std::string& bytes);

// The names of fields, those inside others too: "user_password", "entry", "entry.dn".
std::vector<std::string> names_of(const std::vector<aaa_messages::Field>& fields);

// As a text of lines, for a comparison that shows which ones differ.
std::string lines_of(const Json& fields);

}  // namespace test
