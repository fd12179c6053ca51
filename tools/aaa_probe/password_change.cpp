#include "password_change.h"

#include <memory>

#include "exchange.h"
#include "username_lib.h"

namespace aaa_probe {
namespace {

// What the three texts of the request may have together.
constexpr std::size_t kMaxTexts = 168;

// The library found no answer.
constexpr std::int32_t kNoAnswer = -5;

// Owned by the call too, which can go on after the wait for it.
struct Passwords {
  Secret old_password, new_password;
};

Secret read_new_password(const PasswordSource& source) {
  Secret secret = read_password(source, "New password: ");
  if (source.is_terminal() && read_password(source, "New password again: ").view() != secret.view())
    throw Failure(Status::usage, "the two passwords differ");
  return secret;
}

std::shared_ptr<const Passwords> read_passwords(const PasswordChange& change) {
  auto passwords = std::make_shared<Passwords>();
  passwords->old_password = read_password(change.old_password, "Password: ");
  passwords->new_password = read_new_password(change.new_password);
  if (change.user.size() + passwords->old_password.view().size() +
          passwords->new_password.view().size() >
      kMaxTexts)
    throw Failure(Status::usage, "name and passwords together have more than 168 bytes");
  return passwords;
}

std::string name_of(std::int32_t answer) {
  switch (answer) {
    case 0:
      return "changed";
    case 1:
      return "unknown user";
    case 2:
      return "wrong password";
    case 3:
      return "new password not allowed";
    default:
      return "unknown code " + std::to_string(answer);
  }
}

}  // namespace

Status change_password(const PasswordChange& change, const Context& context) {
  const auto passwords = read_passwords(change);
  const Connection connection(context.connection, {});
  const std::int32_t answer =
      answer_of(context.connection.timeout, [user = change.user, passwords] {
        return username_lib_chg_pwd(user.c_str(), passwords->old_password.c_str(),
                                    passwords->new_password.c_str());
      });
  if (answer == kNoAnswer) throw Failure(Status::no_daemon, "no answer from aaad");
  context.output.print({{"result", name_of(answer)}, {"user", change.user}});
  return answer == 0 ? Status::accepted : Status::rejected;
}

}  // namespace aaa_probe
