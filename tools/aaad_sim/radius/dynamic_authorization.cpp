#include "radius/dynamic_authorization.h"

#include <sys/epoll.h>

#include <algorithm>
#include <cstring>

#include "radius/fields.h"
#include "radius/socket.h"
#include "wire/body.h"

namespace aaa_sim::radius {
namespace {

constexpr std::size_t remembered_answers = 256;

// Values of Error-Cause.
constexpr std::uint32_t missing_attribute = 402;
constexpr std::uint32_t nas_identification_mismatch = 403;
constexpr std::uint32_t unsupported_service = 405;
constexpr std::uint32_t session_context_not_found = 503;
constexpr std::uint32_t no_error = 0;

// A Service-Type: the client is to ask for an authorization, which RADIUS servers give only with an
// authentication here.
constexpr std::uint32_t authorize_only = 17;

constexpr std::uint32_t disconnect_kind = 1;
constexpr std::size_t name_size = 65;

BodyWriter& put_text(BodyWriter& body, std::string_view text) {
  std::string field(text.substr(0, name_size - 1));
  field.resize(name_size);
  return body.text(field);
}

std::uint32_t number_of(const Packet& request, Type type) {
  const auto value = request.find(type);
  return value ? number_in(*value) : 0;
}

std::uint32_t tagged_number_of(const Packet& request, Type type) {
  const auto value = request.find(type);
  return value ? untagged_number(*value) : 0;
}

EventMessage disconnect_notice(std::uint32_t session_id, const std::string& user) {
  BodyWriter rest;
  put_text(rest.word(session_id), user);
  return delete_notice(disconnect_kind, rest.take());
}

EventMessage coa_notice(std::uint32_t session_id, const std::string& user, const Packet& request) {
  constexpr std::uint8_t padding[3] = {};
  BodyWriter front;
  put_text(front.word(session_id).word(number_of(request, Type::session_timeout)), user);
  front.bytes(padding)
      .word(tagged_number_of(request, Type::tunnel_type))
      .word(tagged_number_of(request, Type::tunnel_medium_type));
  const auto group = request.find(Type::tunnel_private_group_id);
  put_text(front, group ? untagged_text(*group) : std::string_view());
  return coa_request(front.take());
}

Code code_of_answer(const Packet& request, bool is_done) {
  if (request.code() == Code::disconnect_request)
    return is_done ? Code::disconnect_ack : Code::disconnect_nak;
  return is_done ? Code::coa_ack : Code::coa_nak;
}

}  // namespace

bool DynamicAuthorization::Source::operator==(const Source& other) const {
  return size == other.size && std::memcmp(&address, &other.address, size) == 0;
}

DynamicAuthorization::DynamicAuthorization(EventLoop& loop, const Settings& settings,
                                           const Sessions& sessions, Notify notify)
    : loop_(loop), settings_(settings), sessions_(sessions), notify_(std::move(notify)) {
  const DynamicAuthorizationSettings& own = settings.dynamic_authorization;
  if (own.port == 0) return;
  socket_ = bind_udp(own.address, own.port);
  loop_.watch(socket_.get(), EPOLLIN, [this](std::uint32_t) { receive(); });
}

DynamicAuthorization::~DynamicAuthorization() {
  if (socket_.is_open()) loop_.forget(socket_.get());
}

void DynamicAuthorization::receive() {
  std::uint8_t datagram[max_packet_size];
  Source source;
  const ssize_t size = ::recvfrom(socket_.get(), datagram, sizeof datagram, 0,
                                  reinterpret_cast<sockaddr*>(&source.address), &source.size);
  if (size >= 0) handle_datagram(source, View(datagram).first(static_cast<std::size_t>(size)));
}

// A request that is repeated, because its answer was lost, gets the same answer and changes
// nothing.
void DynamicAuthorization::handle_datagram(const Source& source, View datagram) {
  const auto known = std::ranges::find_if(answers_, [&, now = kernel_now()](const Answer& answer) {
    return answer.valid_until > now && answer.source == source &&
           std::ranges::equal(answer.request, datagram);
  });
  if (known != answers_.end()) return send(*known);
  Packet request;
  if (decode_dynamic_request(datagram, settings_.dynamic_authorization.secret, request) !=
      Defect::none)
    return;
  try {
    remember({source, Bytes(datagram.begin(), datagram.end()), answer(request),
              kernel_now() + settings_.dynamic_authorization.repetition});
    send(answers_.front());
  } catch (const TooLong&) {
    return;  // what proxies have added does not fit the answer
  }
}

void DynamicAuthorization::send(const Answer& answer) const {
  ::sendto(socket_.get(), answer.response.data(), answer.response.size(), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&answer.source.address), answer.source.size);
}

void DynamicAuthorization::remember(Answer answer) {
  answers_.push_front(std::move(answer));
  if (answers_.size() > remembered_answers) answers_.pop_back();
}

// Throws TooLong, before anybody is told.
Bytes DynamicAuthorization::answer(const Packet& request) const {
  Attributes attributes;
  for (const View state : request.find_all(Type::proxy_state))
    attributes.add(Type::proxy_state, state);
  const std::uint32_t error = error_of(request);
  if (error != no_error) attributes.add(Type::error_cause, error);
  return encode_response(code_of_answer(request, error == no_error), request, attributes,
                         settings_.dynamic_authorization.secret);
}

// Notifies the clients, unless the request itself is in error.
std::uint32_t DynamicAuthorization::error_of(const Packet& request) const {
  const auto nas = request.find(Type::nas_identifier);
  if (nas && text_of(*nas) != settings_.nas_identifier) return nas_identification_mismatch;
  if (number_of(request, Type::service_type) == authorize_only) return unsupported_service;
  if (!request.find(Type::acct_session_id) && !request.find(Type::user_name))
    return missing_attribute;
  bool told = false;
  for (const std::uint32_t id : sessions_of(request))
    told = tell_client(id, request) || told;
  return told ? no_error : session_context_not_found;
}

// All that the request names: both attributes must match if it has both.
std::vector<std::uint32_t> DynamicAuthorization::sessions_of(const Packet& request) const {
  const auto user = request.find(Type::user_name);
  const auto text = request.find(Type::acct_session_id);
  if (!text) return sessions_.of_user(std::string(text_of(*user)));
  const auto id = session_id_in(*text);
  const Session* const session = id ? sessions_.find(*id) : nullptr;
  if (session == nullptr || (user && text_of(*user) != session->user)) return {};
  return {*id};
}

bool DynamicAuthorization::tell_client(std::uint32_t session_id, const Packet& request) const {
  const Session& session = *sessions_.find(session_id);
  const EventMessage notice = request.code() == Code::disconnect_request
                                  ? disconnect_notice(session_id, session.user)
                                  : coa_notice(session_id, session.user, request);
  return notify_(session.client, notice);
}

}  // namespace aaa_sim::radius
