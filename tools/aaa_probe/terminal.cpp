#include "terminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>

#include "status.h"

namespace aaa_probe {
namespace {

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

// For the signal handler; written while it is not installed.
int terminal = -1;
termios original;

void restore_and_end(int number) {
  (void)::tcsetattr(terminal, TCSAFLUSH, &original);
  (void)::raise(number);
}

// While it exists the terminal does not show what is typed.
class HiddenInput {
 public:
  explicit HiddenInput(int descriptor) {
    terminal = descriptor;
    (void)::tcgetattr(terminal, &original);
    catch_signals();
    termios hidden = original;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    hidden.c_lflag |= static_cast<tcflag_t>(ECHONL | ICANON);
    (void)::tcsetattr(terminal, TCSAFLUSH, &hidden);
  }
  ~HiddenInput() {
    (void)::tcsetattr(terminal, TCSAFLUSH, &original);
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i)
      (void)::sigaction(kEndingSignals[i], &former_[i], nullptr);
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  // The second time, the signal has its ordinary effect.
  void catch_signals() {
    struct sigaction action {};
    action.sa_handler = restore_and_end;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i)
      (void)::sigaction(kEndingSignals[i], &action, &former_[i]);
  }

  std::array<struct sigaction, kEndingSignals.size()> former_;
};

void write_all(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
}

std::optional<char> read_character(int descriptor) {
  char character;
  ssize_t count;
  do
    count = ::read(descriptor, &character, 1);
  while (count < 0 && errno == EINTR);
  if (count != 1) return std::nullopt;
  return character;
}

}  // namespace

std::optional<Secret> read_line(int descriptor) {
  Secret line;
  auto character = read_character(descriptor);
  if (!character) return std::nullopt;
  for (; character && *character != '\n'; character = read_character(descriptor))
    if (!line.append(*character)) throw Failure(Status::usage, "the password is too long");
  return line;
}

std::optional<Secret> ask_on_terminal(const std::string& prompt) {
  const int descriptor = ::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) return std::nullopt;
  struct Closer {
    int descriptor;
    ~Closer() { (void)::close(descriptor); }
  } const closer{descriptor};
  const HiddenInput hidden(descriptor);
  write_all(descriptor, prompt);
  return read_line(descriptor);
}

}  // namespace aaa_probe
