#include "radius/packet.h"

#include <nettle/hmac.h>
#include <nettle/md5.h>
#include <nettle/memops.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace aaa_sim::radius {
namespace {

constexpr std::size_t header_size = 20;
constexpr std::size_t attribute_header_size = 2;
constexpr std::size_t length_offset = 2;
constexpr std::size_t authenticator_offset = 4;
constexpr std::size_t digest_size = 16;
// For the header, a Message-Authenticator and an Acct-Delay-Time.
constexpr std::size_t reserved_size = header_size + (attribute_header_size + digest_size) + 6;

Bytes network_order(std::uint32_t number) {
  return {static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
          static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

class Md5 {
 public:
  Md5() { md5_init(&context_); }
  Md5& add(View bytes) {
    md5_update(&context_, bytes.size(), bytes.data());
    return *this;
  }
  Authenticator digest() {
    Authenticator result;
    md5_digest(&context_, result.size(), result.data());
    return result;
  }

 private:
  md5_ctx context_;
};

Authenticator hmac(View packet, std::string_view secret) {
  hmac_md5_ctx context;
  hmac_md5_set_key(&context, secret.size(), bytes_of(secret).data());
  hmac_md5_update(&context, packet.size(), packet.data());
  Authenticator result;
  hmac_md5_digest(&context, result.size(), result.data());
  return result;
}

bool equal(View a, View b) {
  return a.size() == b.size() && memeql_sec(a.data(), b.data(), a.size()) != 0;
}

void put_length(Bytes& packet) {
  packet[length_offset] = static_cast<std::uint8_t>(packet.size() >> 8);
  packet[length_offset + 1] = static_cast<std::uint8_t>(packet.size());
}

std::size_t length_in(View packet) {
  return static_cast<std::size_t>(packet[length_offset] << 8 | packet[length_offset + 1]);
}

void put_attribute(Bytes& packet, Type type, View value) {
  packet.push_back(static_cast<std::uint8_t>(type));
  packet.push_back(static_cast<std::uint8_t>(attribute_header_size + value.size()));
  packet.insert(packet.end(), value.begin(), value.end());
}

// Encrypts or decrypts: the blocks of `text` are combined with digests that are chained over the
// encrypted blocks, which are the input when `decrypts`.
Bytes combine(View text, View first_block, std::string_view secret, bool decrypts) {
  Bytes result(text.begin(), text.end());
  Authenticator digest = Md5().add(bytes_of(secret)).add(first_block).digest();
  for (std::size_t block = 0; block < text.size(); block += digest_size) {
    for (std::size_t n = 0; n < digest_size; ++n)
      result[block + n] ^= digest[n];
    const View encrypted =
        decrypts ? text.subspan(block, digest_size) : View(result).subspan(block, digest_size);
    digest = Md5().add(bytes_of(secret)).add(encrypted).digest();
  }
  return result;
}

// At least one block, also for an empty password.
Bytes hide_password(View password, const Authenticator& authenticator, std::string_view secret) {
  const std::size_t blocks = std::max<std::size_t>(1, (password.size() + 15) / digest_size);
  Bytes padded(blocks * digest_size);
  std::copy(password.begin(), password.end(), padded.begin());
  Bytes hidden = combine(padded, authenticator, secret, false);
  explicit_bzero(padded.data(), padded.size());
  return hidden;
}

Bytes begin_packet(Code code, std::uint8_t identifier, const Authenticator& authenticator) {
  Bytes packet(header_size);
  packet[0] = static_cast<std::uint8_t>(code);
  packet[1] = identifier;
  std::copy(authenticator.begin(), authenticator.end(), packet.begin() + authenticator_offset);
  return packet;
}

void put_all(Bytes& packet, const Attributes& attributes, std::string_view secret) {
  for (const Attribute& attribute : attributes.all()) {
    if (attribute.type == Type::user_password) {
      put_attribute(packet, attribute.type,
                    hide_password(attribute.value, authenticator_of(packet), secret));
    } else {
      put_attribute(packet, attribute.type, attribute.value);
    }
  }
  put_length(packet);
}

bool answers(Code reply, Code request) {
  switch (request) {
    case Code::access_request:
      return reply == Code::access_accept || reply == Code::access_reject ||
             reply == Code::access_challenge;
    case Code::accounting_request:
      return reply == Code::accounting_response;
    default:
      return false;
  }
}

// A copy of a reply with the request's authenticator in place of its own, as it was signed.
Bytes with_authenticator(View packet, const Authenticator& authenticator) {
  Bytes copy(packet.begin(), packet.end());
  std::copy(authenticator.begin(), authenticator.end(), copy.begin() + authenticator_offset);
  return copy;
}

// The Message-Authenticator is computed with zeros in its place and `authenticator` in the header.
Defect check_message_authenticator(const Packet& packet, const Authenticator& authenticator,
                                   std::string_view secret) {
  const std::vector<View> found = packet.find_all(Type::message_authenticator);
  if (found.empty()) return Defect::no_message_authenticator;
  if (found.size() > 1 || found[0].size() != digest_size)
    return Defect::wrong_message_authenticator;
  Bytes as_signed = with_authenticator(packet.bytes(), authenticator);
  std::fill_n(as_signed.begin() + (found[0].data() - packet.bytes().data()), digest_size, 0);
  return equal(hmac(as_signed, secret), found[0]) ? Defect::none
                                                  : Defect::wrong_message_authenticator;
}

// The digest over the packet, with `authenticator` in its header, and the secret.
Authenticator digest_of(View packet, const Authenticator& authenticator, std::string_view secret) {
  return Md5().add(with_authenticator(packet, authenticator)).add(bytes_of(secret)).digest();
}

void put_message_authenticator(Bytes& packet, std::string_view secret) {
  const Authenticator signature = hmac(packet, secret);
  std::copy(signature.begin(), signature.end(),
            packet.begin() + header_size + attribute_header_size);
}

void put_authenticator(Bytes& packet, const Authenticator& authenticator) {
  std::copy(authenticator.begin(), authenticator.end(), packet.begin() + authenticator_offset);
}

}  // namespace

Attributes::~Attributes() {
  for (auto& [type, value] : attributes_)
    if (!value.empty()) explicit_bzero(value.data(), value.size());
}

Attributes& Attributes::add(Type type, View value) {
  const std::size_t limit = type == Type::user_password ? max_password_size : max_value_size;
  if (value.size() > limit) {
    throw TooLong("attribute " + std::to_string(static_cast<int>(type)) + " holds " +
                  std::to_string(limit) + " bytes, not " + std::to_string(value.size()));
  }
  const std::size_t hidden_size = type == Type::user_password ? max_password_size : value.size();
  size_ += attribute_header_size + hidden_size;
  if (size_ > max_packet_size - reserved_size) throw TooLong("the attributes do not fit a packet");
  attributes_.push_back({type, Bytes(value.begin(), value.end())});
  return *this;
}

Attributes& Attributes::add(Type type, std::string_view text) {
  return add(type, bytes_of(text));
}

Attributes& Attributes::add(Type type, std::uint32_t number) {
  return add(type, network_order(number));
}

Attributes& Attributes::add_eap_message(View message) {
  while (!message.empty()) {
    const View part = message.first(std::min(message.size(), max_value_size));
    add(Type::eap_message, part);
    message = message.subspan(part.size());
  }
  return *this;
}

void Attributes::delay_by(std::uint32_t seconds) {
  const auto found = std::ranges::find(attributes_, Type::acct_delay_time, &Attribute::type);
  if (found == attributes_.end()) {
    if (seconds != 0) attributes_.push_back({Type::acct_delay_time, network_order(seconds)});
  } else {
    found->value = network_order(number_in(found->value) + seconds);
  }
}

Bytes encode_request(Code code, std::uint8_t identifier, const Authenticator& authenticator,
                     const Attributes& attributes, std::string_view secret) {
  Bytes packet = begin_packet(code, identifier, authenticator);
  put_attribute(packet, Type::message_authenticator, Bytes(digest_size));
  put_all(packet, attributes, secret);
  put_message_authenticator(packet, secret);
  return packet;
}

Bytes encode_accounting_request(std::uint8_t identifier, const Attributes& attributes,
                                std::string_view secret) {
  Bytes packet = begin_packet(Code::accounting_request, identifier, {});
  put_all(packet, attributes, secret);
  put_authenticator(packet, Md5().add(packet).add(bytes_of(secret)).digest());
  return packet;
}

bool Packet::decode(View datagram) {
  if (datagram.size() < header_size) return false;
  const std::size_t length = length_in(datagram);
  if (length < header_size || length > max_packet_size || length > datagram.size()) return false;
  Bytes bytes(datagram.begin(), datagram.begin() + static_cast<std::ptrdiff_t>(length));
  std::vector<std::pair<Type, View>> attributes;
  for (View rest = View(bytes).subspan(header_size); !rest.empty();) {
    if (rest.size() < attribute_header_size) return false;
    const std::size_t size = rest[1];
    if (size < attribute_header_size || size > rest.size()) return false;
    attributes.emplace_back(static_cast<Type>(rest[0]),
                            rest.subspan(attribute_header_size, size - attribute_header_size));
    rest = rest.subspan(size);
  }
  bytes_ = std::move(bytes);
  attributes_ = std::move(attributes);
  return true;
}

std::optional<View> Packet::find(Type type) const {
  for (const auto& [found, value] : attributes_)
    if (found == type) return value;
  return std::nullopt;
}

std::vector<View> Packet::find_all(Type type) const {
  std::vector<View> values;
  for (const auto& [found, value] : attributes_)
    if (found == type) values.push_back(value);
  return values;
}

Bytes Packet::eap_message() const {
  Bytes message;
  for (const View part : find_all(Type::eap_message))
    message.insert(message.end(), part.begin(), part.end());
  return message;
}

Defect decode_reply(View datagram, const Exchange& exchange, Packet& reply) {
  if (!reply.decode(datagram)) return Defect::malformed;
  if (!answers(reply.code(), exchange.request)) return Defect::wrong_code;
  const Authenticator expected = digest_of(reply.bytes(), exchange.authenticator, exchange.secret);
  if (!equal(expected, authenticator_of(reply.bytes()))) return Defect::wrong_authenticator;
  const Defect defect = check_message_authenticator(reply, exchange.authenticator, exchange.secret);
  const bool may_be_missing =
      !exchange.needs_message_authenticator && !reply.find(Type::eap_message);
  return defect == Defect::no_message_authenticator && may_be_missing ? Defect::none : defect;
}

Defect decode_dynamic_request(View datagram, std::string_view secret, Packet& request) {
  if (!request.decode(datagram)) return Defect::malformed;
  if (request.code() != Code::disconnect_request && request.code() != Code::coa_request)
    return Defect::wrong_code;
  if (!equal(digest_of(request.bytes(), {}, secret), authenticator_of(request.bytes())))
    return Defect::wrong_authenticator;
  const Defect defect = check_message_authenticator(request, {}, secret);
  return defect == Defect::no_message_authenticator ? Defect::none : defect;
}

Bytes encode_response(Code code, const Packet& request, const Attributes& attributes,
                      std::string_view secret) {
  Bytes packet = begin_packet(code, request.identifier(), authenticator_of(request.bytes()));
  const bool is_signed = request.find(Type::message_authenticator).has_value();
  if (is_signed) put_attribute(packet, Type::message_authenticator, Bytes(digest_size));
  put_all(packet, attributes, secret);
  if (is_signed) put_message_authenticator(packet, secret);
  put_authenticator(packet, Md5().add(packet).add(bytes_of(secret)).digest());
  return packet;
}

std::uint32_t number_in(View value) {
  if (value.size() != 4) return 0;
  return std::uint32_t{value[0]} << 24 | std::uint32_t{value[1]} << 16 |
         std::uint32_t{value[2]} << 8 | value[3];
}

Authenticator authenticator_of(View packet) {
  Authenticator authenticator;
  std::copy_n(packet.begin() + authenticator_offset, authenticator.size(), authenticator.begin());
  return authenticator;
}

std::optional<Bytes> reveal_key(View value, const Authenticator& authenticator,
                                std::string_view secret) {
  constexpr std::size_t salt_size = 2;
  if (value.size() < salt_size + digest_size || (value.size() - salt_size) % digest_size != 0) {
    return std::nullopt;
  }
  Bytes first_block(authenticator.begin(), authenticator.end());
  first_block.insert(first_block.end(), value.begin(), value.begin() + salt_size);
  const Bytes text = combine(value.subspan(salt_size), first_block, secret, true);
  const std::size_t length = text[0];
  if (length > text.size() - 1) return std::nullopt;
  return Bytes(text.begin() + 1, text.begin() + 1 + static_cast<std::ptrdiff_t>(length));
}

}  // namespace aaa_sim::radius
