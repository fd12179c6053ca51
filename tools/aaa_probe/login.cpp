#include "login.h"

#include <optional>

#include "bytes.h"
#include "results.h"
#include "terminal.h"

namespace aaa_probe {
namespace {

authen_info record_of(const LoginOptions& options, std::uint32_t session_id) {
  authen_info record{};
  record.session_id = session_id;
  record.num_b = options.nas_port;
  record.num_c = options.nas_port_type;
  record.num_d = options.service_type;
  record.nas_ip_address = item_of(options.nas_ip_address);
  record.chargeable_user_identity = item_of(options.places.chargeable_user_identity);
  copy_to_member(record.chars65_a, sizeof record.chars65_a, options.user);
  copy_to_member(record.octets100_a, sizeof record.octets100_a, options.places.nas_port_id);
  copy_to_member(record.octets100_b, sizeof record.octets100_b, options.places.called_station);
  copy_to_member(record.octets128_a, sizeof record.octets128_a, options.places.calling_station);
  return record;
}

class Login {
 public:
  Login(const LoginOptions& options, const Context& context, Secret password)
      : options_(options),
        timeout_(context.connection.timeout),
        password_(std::move(password)),
        connection_(context.connection, registration_for_results()) {}

  // Answers challenges as long as the user does.
  Answer ask_with_challenges() {
    const std::uint32_t session_id = next_session_id();
    Answer answer = send(session_id, options_.state, [] {});
    while (status_of(answer) == Status::challenged && options_.password.is_terminal()) {
      auto typed = ask_on_terminal(prompt_of(answer));
      if (!typed) break;
      password_ = std::move(*typed);
      answer = send(session_id, answer.state, [] {});
    }
    return answer;
  }

  Status ask_once(const std::function<void()>& starts) {
    return status_of(send(next_session_id(), options_.state, starts));
  }

 private:
  std::uint32_t next_session_id() const {
    return options_.session_id != 0 ? options_.session_id : connection_.new_session_id();
  }

  Answer send(std::uint32_t session_id, const std::string& state,
              const std::function<void()>& starts) const {
    authen_info record = record_of(options_, session_id);
    record.user_password = item_of(password_.view());
    record.state = item_of(state);
    return ask(session_id, timeout_, [&] {
      starts();
      return aaa_user_req_authen(&record);
    });
  }

  static std::string prompt_of(const Answer& answer) {
    if (answer.message.empty() || !is_text(answer.message)) return "Answer: ";
    return answer.message.ends_with(' ') ? answer.message : answer.message + " ";
  }

  const LoginOptions& options_;
  const std::uint32_t timeout_;
  Secret password_;
  const Connection connection_;
};

}  // namespace

Status login(const LoginOptions& options, const Context& context) {
  Login login(options, context,
              read_password(options.password, options.state.empty() ? "Password: " : "Answer: "));
  if (options.load.is_load()) {
    const Attempt attempt = [&login](std::uint32_t, const std::function<void()>& starts) {
      return login.ask_once(starts);
    };
    return run_load(options.load, attempt, context.output);
  }
  const Answer answer = login.ask_with_challenges();
  context.output.print(record_of(answer));
  return status_of(answer);
}

}  // namespace aaa_probe
