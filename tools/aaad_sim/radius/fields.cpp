#include "radius/fields.h"

#include <charconv>
#include <cstdio>

namespace aaa_sim::radius {
namespace {

// Members that are sent when they are not 0 or not empty.
template <typename Record>
struct NumberRow {
  Type type;
  std::uint32_t Record::*member;
};
template <typename Record>
struct ItemRow {
  Type type;
  aaa_item Record::*member;
};

constexpr NumberRow<authen_info> authen_numbers[] = {
    {Type::nas_port, &authen_info::num_b},
    {Type::nas_port_type, &authen_info::num_c},
    {Type::service_type, &authen_info::num_d},
};
constexpr ItemRow<authen_info> authen_items[] = {
    {Type::chap_password, &authen_info::chap_password},
    {Type::chap_challenge, &authen_info::chap_challenge},
    {Type::nas_ip_address, &authen_info::nas_ip_address},
    {Type::state, &authen_info::state},
    {Type::chargeable_user_identity, &authen_info::chargeable_user_identity},
};

constexpr NumberRow<acct_info> acct_totals[] = {
    {Type::acct_session_time, &acct_info::num_b},   {Type::acct_input_octets, &acct_info::num_c},
    {Type::acct_output_octets, &acct_info::num_d},  {Type::acct_input_packets, &acct_info::num_i},
    {Type::acct_output_packets, &acct_info::num_j},
};
constexpr NumberRow<acct_info> acct_gigawords[] = {
    {Type::acct_input_gigawords, &acct_info::num_f},
    {Type::acct_output_gigawords, &acct_info::num_g},
};
constexpr ItemRow<acct_info> acct_items[] = {
    {Type::attribute_class, &acct_info::class_},
    {Type::chargeable_user_identity, &acct_info::chargeable_user_identity},
};

constexpr NumberRow<result_info_sub> result_numbers[] = {
    {Type::session_timeout, &result_info_sub::num_b},
    {Type::idle_timeout, &result_info_sub::num_c},
    {Type::acct_interim_interval, &result_info_sub::num_d},
};
constexpr ItemRow<result_info> result_items[] = {
    {Type::state, &result_info::state},
    {Type::attribute_class, &result_info::class_},
    {Type::nas_port_id, &result_info::nas_port_id},
    {Type::chargeable_user_identity, &result_info::chargeable_user_identity},
};

enum AcctStatus : std::uint32_t { acct_start = 1, acct_stop = 2, acct_interim = 3 };

View bytes_of(const aaa_item& item) {
  return {static_cast<const std::uint8_t*>(item.value), item.len};
}

aaa_item item_in(View value) {
  return {.type = 0, .len = static_cast<std::uint16_t>(value.size()), .value = value.data()};
}

void add_text(Attributes& attributes, Type type, std::string_view text) {
  if (!text.empty()) attributes.add(type, text);
}

template <typename Record, std::size_t size>
void add_numbers(Attributes& attributes, const Record& record,
                 const NumberRow<Record> (&rows)[size]) {
  for (const auto& [type, member] : rows)
    if (record.*member != 0) attributes.add(type, record.*member);
}

template <typename Record, std::size_t size>
void add_items(Attributes& attributes, const Record& record, const ItemRow<Record> (&rows)[size]) {
  for (const auto& [type, member] : rows)
    if ((record.*member).len != 0) attributes.add(type, bytes_of(record.*member));
}

// What both requests have in the same places.
template <typename Record>
Attributes common_attributes(const Record& request, const std::string& nas_identifier) {
  Attributes attributes;
  add_text(attributes, Type::user_name, text_of(request.chars65_a));
  add_text(attributes, Type::nas_identifier, nas_identifier);
  attributes.add(Type::acct_session_id, session_text(request.session_id));
  add_text(attributes, Type::called_station_id, text_of(request.octets100_b));
  add_text(attributes, Type::calling_station_id, text_of(request.octets128_a));
  add_text(attributes, Type::nas_port_id, text_of(request.octets100_a));
  return attributes;
}

// An empty one is sent too, unless another proof of identity is.
void add_password(Attributes& attributes, const authen_info& request) {
  const bool has_other = request.chap_password.len != 0 || request.eap_message.len != 0;
  if (request.user_password.len == 0 && has_other) return;
  attributes.add(Type::user_password, bytes_of(request.user_password));
}

ResultCode code_of(const Reply* reply) {
  if (reply == nullptr) return ResultCode::unavailable;
  switch (reply->packet.code()) {
    case Code::access_accept:
    case Code::accounting_response:
      return ResultCode::accept;
    case Code::access_challenge:
      return ResultCode::challenge;
    default:
      return ResultCode::reject;
  }
}

// MS-MPPE keys.
constexpr std::uint32_t key_vendor = 311;
constexpr std::uint8_t send_key = 16;
constexpr std::uint8_t receive_key = 17;

// The values of one type in a Vendor-Specific attribute of that vendor. It may hold several types.
std::vector<View> key_values(View attribute, std::uint8_t kind) {
  constexpr std::size_t vendor_size = 4;
  constexpr std::size_t header_size = 2;  // type, length
  std::vector<View> values;
  if (attribute.size() < vendor_size || number_in(attribute.first(vendor_size)) != key_vendor)
    return values;
  for (View rest = attribute.subspan(vendor_size); rest.size() >= header_size;) {
    const std::size_t size = rest[1];
    if (size < header_size || size > rest.size()) break;
    if (rest[0] == kind) values.push_back(rest.subspan(header_size, size - header_size));
    rest = rest.subspan(size);
  }
  return values;
}

// Empty when there is none.
Bytes key_in(const Reply& reply, std::uint8_t kind) {
  for (const View attribute : reply.packet.find_all(Type::vendor_specific)) {
    for (const View value : key_values(attribute, kind)) {
      const auto key = reveal_key(value, reply.request_authenticator, reply.secret);
      if (key) return *key;
    }
  }
  return {};
}

std::string joined_messages(const Packet& packet) {
  std::string text;
  for (const View part : packet.find_all(Type::reply_message)) {
    if (!text.empty()) text += '\n';
    text += text_of(part);
  }
  return text;
}

void set_tunnel(result_info_sub& result, const Packet& packet) {
  if (const auto type = packet.find(Type::tunnel_type)) result.words4_a[0] = untagged_number(*type);
  if (const auto medium = packet.find(Type::tunnel_medium_type))
    result.words4_a[1] = untagged_number(*medium);
  if (const auto group = packet.find(Type::tunnel_private_group_id))
    set_text(result.chars65_b, untagged_text(*group));
}

// 0 stands for a reply without one.
std::uint32_t prompt_in(const Packet& packet) {
  const auto prompt = packet.find(Type::prompt);
  if (!prompt || number_in(*prompt) > 1) return 0;
  return number_in(*prompt) + 1;
}

Bytes encode_with_reply(result_info& result, const Reply& reply) {
  const Packet& packet = reply.packet;
  for (const auto& [type, member] : result_numbers)
    if (const auto value = packet.find(type)) result.sub.*member = number_in(*value);
  for (const auto& [type, member] : result_items)
    if (const auto value = packet.find(type)) result.*member = item_in(*value);
  set_tunnel(result.sub, packet);
  result.sub.code_a = prompt_in(packet);
  const std::string message = joined_messages(packet);
  result.reply_message = item_of(message);
  const Bytes eap_message = packet.eap_message();
  result.eap_message = item_in(eap_message);
  const Bytes receive = key_in(reply, receive_key);
  result.item_309 = item_in(receive);
  const Bytes send = key_in(reply, send_key);
  result.item_311 = item_in(send);
  return encode(result);
}

}  // namespace

Attributes attributes_of(const authen_info& request, const std::string& nas_identifier) {
  Attributes attributes = common_attributes(request, nas_identifier);
  add_password(attributes, request);
  add_numbers(attributes, request, authen_numbers);
  add_items(attributes, request, authen_items);
  attributes.add_eap_message(bytes_of(request.eap_message));
  return attributes;
}

Attributes attributes_of(const acct_info& request, const std::string& nas_identifier) {
  if (request.code_a < acct_start || request.code_a > acct_interim)
    throw BadRecord("no kind of accounting: " + std::to_string(request.code_a));
  Attributes attributes = common_attributes(request, nas_identifier);
  attributes.add(Type::acct_status_type, request.code_a);
  add_items(attributes, request, acct_items);
  if (request.num_h != 0) attributes.add(Type::acct_delay_time, request.num_h);
  if (request.code_a == acct_start) return attributes;
  for (const auto& [type, member] : acct_totals)
    attributes.add(type, request.*member);
  add_numbers(attributes, request, acct_gigawords);
  if (request.code_a == acct_stop) attributes.add(Type::acct_terminate_cause, request.num_e);
  return attributes;
}

std::string_view user_of(const Reply* reply, std::string_view requested) {
  const auto name = reply != nullptr ? reply->packet.find(Type::user_name) : std::nullopt;
  return name ? text_of(*name) : requested;
}

Bytes result_of(const Reply* reply, std::uint32_t session_id, std::string_view user) {
  result_info result{};
  result.sub.num_a = static_cast<std::uint32_t>(code_of(reply));
  result.sub.session_id = session_id;
  set_text(result.sub.chars65_a, user_of(reply, user));
  return reply != nullptr ? encode_with_reply(result, *reply) : encode(result);
}

std::string session_text(std::uint32_t session_id) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", session_id);
  return text;
}

std::optional<std::uint32_t> session_id_in(View value) {
  const std::string_view text = text_of(value);
  std::uint32_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id, 16);
  if (text.size() != 8 || error != std::errc{} || end != text.data() + 8) return std::nullopt;
  return id;
}

// A first octet above 0x1f belongs to the text.
std::string_view untagged_text(View value) {
  const bool has_tag = !value.empty() && value[0] <= 0x1f;
  return text_of(has_tag ? value.subspan(1) : value);
}

std::uint32_t untagged_number(View value) {
  return number_in(value) & 0xffffff;
}

}  // namespace aaa_sim::radius
