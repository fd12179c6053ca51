// A well-formed message of each type that aaad sends, and a client that receives them all.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "aaa_client.h"
#include "codec/records.h"
#include "support/encoded_body.h"

namespace traffic {

struct Message {
  std::string name;
  std::uint32_t type;
  std::string body;

  // As it crosses a socket.
  std::string bytes() const { return test::message_bytes(type, body); }
};

// The body of a record with a short value in every item.
template <typename Record>
std::string full_body() {
  using C = test::Codec<Record>;
  Record record{};
  for (const auto& descriptor : C::descriptors)
    record.*descriptor.member = test::record_item("value");
  for (const auto& data : C::datas) {
    record.*data.data = "some data";
    record.*data.length = 9;
  }
  if constexpr (test::has_ext_text<Record>) C::ext_text(record) = "text";
  if constexpr (test::has_ext_data<Record>) {
    C::ext_data(record) = "ext data";
    C::ext_data_len(record) = 8;
  }
  return test::encoded_body(C::encode, record);
}
std::string ldap_search_body();
std::string ldap_answer_body();

// The answers to the register requests on the two sockets, and to the deregister request.
Message register_answer();
Message info_ready();
Message deregister_answer();

// One of each type that aaad sends on the event socket.
const std::vector<Message>& event_messages();
// Those that it sends unasked and that change nothing, and one that nobody handles.
std::vector<Message> notices();

// Sets the callbacks of notices(), that for password updates among them. They read all that they
// are given.
void receive_notices(reg_info& info);
bool has_callback(std::uint32_t type);

// Since forget_notices(): how many of a type came, and how many of all came other than sent.
std::size_t received(std::uint32_t type);
std::size_t received_wrong();
void forget_notices();

}  // namespace traffic
