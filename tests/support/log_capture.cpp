#include "support/log_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "printk_syslog_ext.h"
#include "session/state/client_state.h"
#include "support/eventually.h"

namespace test {
namespace {

struct Log {
  std::mutex lock;
  std::vector<LogLine> lines;
};

Log& log() {
  static Log* const instance = new Log;  // outlives every thread of the library
  return *instance;
}

// The text between the n-th pair of brackets, and what follows the third.
std::string column(const std::string& text, int n) {
  std::size_t begin = 0;
  for (int i = 0; i < n; ++i)
    begin = text.find('[', begin) + 1;
  return text.substr(begin, text.find(']', begin) - begin);
}

std::string stripped(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? "" : text.substr(first);
}

}  // namespace

std::string LogLine::thread() const {
  return stripped(column(text, 1));
}
std::string LogLine::model() const {
  return stripped(column(text, 2));
}
std::string LogLine::function() const {
  return stripped(column(text, 3));
}

std::string LogLine::message() const {
  if (format.rfind("[%5d][%14.14s][%30.30s] ", 0) != 0) return text;
  std::size_t end = 0;
  for (int i = 0; i < 3; ++i)
    end = text.find(']', end) + 1;
  return text.substr(end + 1);
}

LogCapture::LogCapture() {
  const std::lock_guard<std::mutex> hold(log().lock);
  first_ = log().lines.size();
}

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard<std::mutex> hold(log().lock);
  return {log().lines.begin() + static_cast<std::ptrdiff_t>(first_), log().lines.end()};
}

std::vector<std::string> LogCapture::messages() const {
  std::vector<std::string> messages;
  for (const LogLine& line : lines())
    messages.push_back(line.message());
  return messages;
}

std::vector<std::string> LogCapture::functions() const {
  std::vector<std::string> functions;
  for (const LogLine& line : lines())
    functions.push_back(line.function());
  return functions;
}

LogLine LogCapture::find(const std::string& message) const {
  for (const LogLine& line : lines()) {
    if (line.message() == message) return line;
  }
  return {};
}

std::size_t LogCapture::count(const std::string& message) const {
  const std::vector<std::string> all = messages();
  return static_cast<std::size_t>(std::count(all.begin(), all.end(), message));
}

bool LogCapture::wait_for(const std::string& message) const {
  return eventually([&] { return count(message) > 0; });
}

OpenGate::OpenGate()
    : debug_(aaa::load(g_aaa_status.debug)), limit_(aaa::load(g_aaa_status.debug_msg_limit)) {
  aaa::store(g_aaa_status.debug_msg_limit, 0U);
  aaa::store(g_aaa_status.debug, 1U);
}

OpenGate::~OpenGate() {
  aaa::store(g_aaa_status.debug, debug_);
  aaa::store(g_aaa_status.debug_msg_limit, limit_);
}

}  // namespace test

void printk_syslog_ext(int priority, const char* module, const char* submodule, int kind,
                       const char* format, ...) {
  char text[4096];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  const std::lock_guard<std::mutex> hold(test::log().lock);
  test::log().lines.push_back({priority, module, submodule, kind, format, text});
}
