// RADIUS packets: encoding and authenticating them (RFC 2865, 2866, 2869, 3579, 5176).
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "wire/message.h"

namespace aaa_sim::radius {

enum class Code : std::uint8_t {
  access_request = 1,
  access_accept = 2,
  access_reject = 3,
  accounting_request = 4,
  accounting_response = 5,
  access_challenge = 11,
  disconnect_request = 40,
  disconnect_ack = 41,
  disconnect_nak = 42,
  coa_request = 43,
  coa_ack = 44,
  coa_nak = 45,
};

enum class Type : std::uint8_t {
  user_name = 1,
  user_password = 2,
  chap_password = 3,
  nas_ip_address = 4,
  nas_port = 5,
  service_type = 6,
  reply_message = 18,
  state = 24,
  attribute_class = 25,
  vendor_specific = 26,
  session_timeout = 27,
  idle_timeout = 28,
  called_station_id = 30,
  calling_station_id = 31,
  nas_identifier = 32,
  proxy_state = 33,
  acct_status_type = 40,
  acct_delay_time = 41,
  acct_input_octets = 42,
  acct_output_octets = 43,
  acct_session_id = 44,
  acct_session_time = 46,
  acct_input_packets = 47,
  acct_output_packets = 48,
  acct_terminate_cause = 49,
  acct_input_gigawords = 52,
  acct_output_gigawords = 53,
  chap_challenge = 60,
  nas_port_type = 61,
  tunnel_type = 64,
  tunnel_medium_type = 65,
  prompt = 76,
  eap_message = 79,
  message_authenticator = 80,
  tunnel_private_group_id = 81,
  acct_interim_interval = 85,
  nas_port_id = 87,
  chargeable_user_identity = 89,
  error_cause = 101,
};

inline constexpr std::size_t max_value_size = 253;
inline constexpr std::size_t max_password_size = 128;
inline constexpr std::size_t max_packet_size = 4096;

using Authenticator = std::array<std::uint8_t, 16>;

// A value that does not fit its attribute, or attributes that do not fit a packet.
struct TooLong : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Attribute {
  Type type;
  Bytes value;
};

// Attributes in the order in which they are sent. A User-Password is kept in clear text: it is
// hidden when the packet is encoded, for each server anew.
class Attributes {
 public:
  Attributes() = default;
  Attributes(const Attributes&) = default;
  Attributes(Attributes&&) = default;
  Attributes& operator=(const Attributes&) = delete;
  Attributes& operator=(Attributes&&) = delete;
  // Wipes the values.
  ~Attributes();

  // The four throw TooLong, also when a packet has no room for the attribute.
  Attributes& add(Type type, View value);
  Attributes& add(Type type, std::string_view text);
  // In as many attributes as it needs.
  Attributes& add_eap_message(View message);
  Attributes& add(Type type, std::uint32_t number);

  // Adds to the Acct-Delay-Time.
  void delay_by(std::uint32_t seconds);

  const std::vector<Attribute>& all() const { return attributes_; }

 private:
  std::vector<Attribute> attributes_;
  std::size_t size_ = 0;  // in a packet
};

// An Access-Request begins with a Message-Authenticator.
Bytes encode_request(Code code, std::uint8_t identifier, const Authenticator& authenticator,
                     const Attributes& attributes, std::string_view secret);
// Its authenticator is computed from the rest.
Bytes encode_accounting_request(std::uint8_t identifier, const Attributes& attributes,
                                std::string_view secret);

// Why a datagram is not the reply to a request.
enum class Defect {
  none,
  malformed,                    // a length or an attribute that does not fit
  wrong_code,                   // not one that answers the request
  wrong_authenticator,          // the Response Authenticator does not match
  no_message_authenticator,     // and one is required
  wrong_message_authenticator,  // more than one, or one that does not match
};

// A packet that was received. Move-only: attributes refer to its bytes.
class Packet {
 public:
  Packet() = default;
  Packet(Packet&&) = default;
  Packet& operator=(Packet&&) = default;
  Packet(const Packet&) = delete;
  Packet& operator=(const Packet&) = delete;

  // Code, length and attribute bounds. False when one does not fit; the packet is then unchanged.
  // Bytes after the packet's own length are padding.
  bool decode(View datagram);

  Code code() const { return static_cast<Code>(bytes_[0]); }
  std::uint8_t identifier() const { return bytes_[1]; }
  View bytes() const { return bytes_; }

  // The first attribute of a type; all of them in their order.
  std::optional<View> find(Type type) const;
  std::vector<View> find_all(Type type) const;
  // The EAP-Message attributes joined; empty when there is none.
  Bytes eap_message() const;

 private:
  Bytes bytes_;
  std::vector<std::pair<Type, View>> attributes_;
};

// What a reply is checked against.
struct Exchange {
  Code request;
  Authenticator authenticator;  // of the request
  std::string_view secret;
  bool needs_message_authenticator;
};

// Decodes a reply and checks, in this order, its bounds, its code, its Response Authenticator and
// its Message-Authenticator, in constant time. A reply with an EAP-Message always needs one. The
// identifier is not looked at.
Defect decode_reply(View datagram, const Exchange& exchange, Packet& reply);

// Decodes a CoA-Request or Disconnect-Request and checks its bounds, its code, its Request
// Authenticator and, if it has one, its Message-Authenticator.
Defect decode_dynamic_request(View datagram, std::string_view secret, Packet& request);

// An answer to it. It has a Message-Authenticator when the request has one.
Bytes encode_response(Code code, const Packet& request, const Attributes& attributes,
                      std::string_view secret);

// The number in a value of 4 bytes; 0 for a value of another size.
std::uint32_t number_in(View value);

// The authenticator of an encoded packet.
Authenticator authenticator_of(View packet);

// The key in a value of MS-MPPE-Send-Key or MS-MPPE-Recv-Key, salt included (RFC 2548); none when
// the value is malformed.
std::optional<Bytes> reveal_key(View value, const Authenticator& authenticator,
                                std::string_view secret);

}  // namespace aaa_sim::radius
