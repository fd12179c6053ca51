#include "radius/gateway.h"

#include <stdexcept>

#include "radius/fields.h"

namespace aaa_sim::radius {
namespace {

Replies result(std::uint32_t id, Bytes body) {
  return {{Role::event, AAA_MSG_NOTIFY_RESULT, id, std::move(body)}};
}

Replies verdict(std::uint32_t id, ResultCode code, std::string_view user,
                const std::string& message = {}) {
  result_info record{};
  record.sub.num_a = static_cast<std::uint32_t>(code);
  record.sub.session_id = id;
  set_text(record.sub.chars65_a, user);
  record.reply_message = item_of(message);
  return result(id, encode(record));
}

bool has_code(const Reply* reply, Code code) {
  return reply != nullptr && reply->packet.code() == code;
}

}  // namespace

Gateway::Gateway(EventLoop& loop, Settings settings, Counters& counters, Client::Note note,
                 Notify notify)
    : settings_(std::move(settings)),
      note_(note),
      client_(loop, settings_, counters, std::move(note)),
      dynamic_authorization_(loop, settings_, sessions_, std::move(notify)) {}

bool Gateway::handle(const Request& request, const Respond& respond) {
  const std::uint32_t type = request.header.type;
  if (type == AAA_MSG_DELETE_USER) sessions_.erase(request.header.id);
  const bool is_account = type == AAA_MSG_ACCT_REQ;
  const bool is_authentication = type == AAA_MSG_AUTHEN_REQ || type == AAA_MSG_AUTHOR_REQ;
  if (!(is_account && settings_.accounting) && !(is_authentication && settings_.authentication))
    return false;
  try {
    if (is_account) {
      account(request, respond);
    } else if (type == AAA_MSG_AUTHEN_REQ) {
      authenticate(request, respond);
    } else {
      authorize(request, respond);
    }
  } catch (const std::runtime_error& error) {
    note_("radius: " + describe(request.client) + ": " + error.what());
    respond(verdict(request.header.id, ResultCode::reject, {}, error.what()));
  }
  return true;
}

void Gateway::authenticate(const Request& request, const Respond& respond) {
  const AuthenInfo record = decode_authen(request.body);
  if (!record) throw BadRecord("a request that cannot be read");
  const std::uint32_t id = request.header.id;
  const auto done = [this, id, respond, user = std::string(text_of(record->chars65_a)),
                     client = request.client](const Reply* reply) {
    if (has_code(reply, Code::access_accept))
      sessions_.add(id, {std::string(user_of(reply, user)), client});
    if (has_code(reply, Code::access_reject)) sessions_.erase(id);
    respond(result(id, result_of(reply, id, user)));
  };
  client_.submit(Code::access_request, attributes_of(*record, settings_.nas_identifier), done);
}

void Gateway::authorize(const Request& request, const Respond& respond) const {
  const std::uint32_t id = request.header.id;
  const Session* const session = sessions_.find(id);
  if (session == nullptr)
    return respond(verdict(id, ResultCode::reject, {}, "The user has not been authenticated"));
  respond(verdict(id, ResultCode::accept, session->user));
}

void Gateway::account(const Request& request, const Respond& respond) {
  const AcctInfo record = decode_acct(request.body);
  if (!record) throw BadRecord("a request that cannot be read");
  const std::uint32_t id = request.header.id;
  const bool is_stop = record->code_a == 2;
  const auto done = [this, id, is_stop, respond,
                     user = std::string(text_of(record->chars65_a))](const Reply* reply) {
    if (is_stop) sessions_.erase(id);
    respond(result(id, result_of(reply, id, user)));
  };
  client_.submit(Code::accounting_request, attributes_of(*record, settings_.nas_identifier), done);
}

}  // namespace aaa_sim::radius
