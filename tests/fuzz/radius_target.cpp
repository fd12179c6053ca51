// The decoders of RADIUS packets. The first byte of the input says what the rest is taken for; the
// digests and signatures of a second copy of it are made right, so that what is behind them is
// reached too.
#include <nettle/hmac.h>
#include <nettle/md5.h>

#include <algorithm>
#include <string>
#include <vector>

#include "radius/fields.h"
#include "radius/packet.h"
#include "traffic/touch.h"

namespace fuzz {
namespace {

using aaa_sim::Bytes;
using aaa_sim::View;
using aaa_sim::radius::Attributes;
using aaa_sim::radius::Authenticator;
using aaa_sim::radius::Code;
using aaa_sim::radius::Defect;
using aaa_sim::radius::Exchange;
using aaa_sim::radius::Packet;
using aaa_sim::radius::TooLong;
using aaa_sim::radius::Type;
using traffic::require;

const std::string kSecret = "secret";
constexpr Authenticator kRequestAuthenticator = {1, 2, 3, 4, 5, 6, 7, 8};

// Bits of the first byte.
constexpr unsigned kIsAccounting = 1;
constexpr unsigned kMayBeUnsigned = 2;
constexpr unsigned kSigned = 4;

View secret() {
  return aaa_sim::bytes_of(kSecret);
}

void put(Bytes& packet, std::size_t offset, View bytes) {
  std::copy(bytes.begin(), bytes.end(), packet.begin() + static_cast<std::ptrdiff_t>(offset));
}

// Where the value of the first Message-Authenticator is, in a packet that was decoded.
std::size_t signature_offset(const Packet& packet) {
  const auto found = packet.find(Type::message_authenticator);
  if (!found || found->size() != 16) return 0;
  return static_cast<std::size_t>(found->data() - packet.bytes().data());
}

void sign(Bytes& packet, std::size_t offset) {
  const Bytes nothing(16);
  put(packet, offset, nothing);
  hmac_md5_ctx context;
  hmac_md5_set_key(&context, secret().size(), secret().data());
  hmac_md5_update(&context, packet.size(), packet.data());
  Bytes signature(16);
  hmac_md5_digest(&context, signature.size(), signature.data());
  put(packet, offset, signature);
}

// As if somebody who knows the secret had sent it.
Bytes authentic(const Packet& packet, const Authenticator& authenticator, bool is_signed) {
  Bytes copy(packet.bytes().begin(), packet.bytes().end());
  put(copy, 4, authenticator);
  const std::size_t signature = signature_offset(packet);
  if (is_signed && signature != 0) sign(copy, signature);
  md5_ctx context;
  md5_init(&context);
  md5_update(&context, copy.size(), copy.data());
  md5_update(&context, secret().size(), secret().data());
  Bytes digest(16);
  md5_digest(&context, digest.size(), digest.data());
  put(copy, 4, digest);
  return copy;
}

void check_result(Packet packet) {
  const aaa_sim::radius::Reply reply{std::move(packet), kRequestAuthenticator, kSecret};
  const Bytes body = aaa_sim::radius::result_of(&reply, 7, "user");
  const auto record = aaa_sim::decode_result(body);
  require(record != nullptr && record->sub.session_id == 7);
  traffic::touch_items(*record);
}

void check_attributes(const Packet& packet) {
  for (int type = 0; type < 256; ++type)
    for (const View value : packet.find_all(static_cast<Type>(type)))
      traffic::touch(value.data(), value.size());
  require(packet.eap_message().size() <= packet.bytes().size());
}

void check_reply(View datagram, unsigned flags) {
  const bool is_accounting = (flags & kIsAccounting) != 0;
  const Exchange exchange{is_accounting ? Code::accounting_request : Code::access_request,
                          kRequestAuthenticator, kSecret, (flags & kMayBeUnsigned) == 0};
  Packet reply;
  const Defect defect = aaa_sim::radius::decode_reply(datagram, exchange, reply);
  if (defect == Defect::malformed) return;
  check_attributes(reply);
  Packet again;
  const Bytes copy = authentic(reply, kRequestAuthenticator, (flags & kSigned) != 0);
  const Defect second = aaa_sim::radius::decode_reply(copy, exchange, again);
  require(second != Defect::malformed && second != Defect::wrong_authenticator);
  if (second != Defect::none) return;
  const std::size_t signatures = again.find_all(Type::message_authenticator).size();
  require(signatures == 1 || (signatures == 0 && !exchange.needs_message_authenticator));
  check_result(std::move(again));
}

void check_answer(const Packet& request) {
  Attributes attributes;
  try {
    for (const View state : request.find_all(Type::proxy_state))
      attributes.add(Type::proxy_state, state);
    attributes.add(Type::error_cause, 503u);
  } catch (const TooLong&) {
    return;
  }
  const Bytes answer =
      aaa_sim::radius::encode_response(Code::disconnect_nak, request, attributes, kSecret);
  Packet decoded;
  require(decoded.decode(answer) && decoded.identifier() == request.identifier());
}

void check_dynamic_request(View datagram, unsigned flags) {
  Packet request;
  const Defect defect = aaa_sim::radius::decode_dynamic_request(datagram, kSecret, request);
  if (defect == Defect::malformed || defect == Defect::wrong_code) return;
  Packet again;
  const Bytes copy = authentic(request, {}, (flags & kSigned) != 0);
  const Defect second = aaa_sim::radius::decode_dynamic_request(copy, kSecret, again);
  require(second == Defect::none || second == Defect::wrong_message_authenticator);
  if (second == Defect::none) check_answer(again);
}

void check_values(View value) {
  const auto key = aaa_sim::radius::reveal_key(value, kRequestAuthenticator, kSecret);
  require(!key || key->size() < value.size());
  require(aaa_sim::radius::untagged_text(value).size() <= value.size());
  static_cast<void>(aaa_sim::radius::untagged_number(value));
  const auto id = aaa_sim::radius::session_id_in(value);
  require(!id || aaa_sim::radius::session_text(*id).size() == value.size());
}

}  // namespace
}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // A copy of its own, so that reading past the end is seen.
  const std::vector<std::uint8_t> datagram(data + 1, data + size);
  fuzz::check_reply(datagram, data[0]);
  fuzz::check_dynamic_request(datagram, data[0]);
  fuzz::check_values(datagram);
  return 0;
}
