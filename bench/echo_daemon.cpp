#include "echo_daemon.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace bench {
namespace {

constexpr std::uint32_t kMarker = 0x01010101;
constexpr std::size_t kHeaderSize = sizeof(aaa_ipc_header);
// Of the session id in a result message: header, item header, fixed block.
constexpr std::size_t kSessionIdOffset = kHeaderSize + 4 + 572;
constexpr std::uint32_t kSessionIds[2] = {1, 1U << 30};

bool send_all(int fd, const void* data, std::size_t size) {
  return send(fd, data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

bool receive_all(int fd, void* data, std::size_t size) {
  return size == 0 || recv(fd, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool send_message(int fd, std::uint32_t type, const void* body, std::uint32_t length) {
  const aaa_ipc_header header = {kMarker, 0, type, length};
  return send_all(fd, &header, sizeof header) && send_all(fd, body, length);
}

// An accepted user's result, framed.
std::vector<std::uint8_t> make_result() {
  result_info result = {};
  result.reply_message = {0, 7, "welcome"};
  void* body = nullptr;
  const std::uint32_t length = aaa_encap_result_info(&result, &body);
  const aaa_ipc_header header = {kMarker, 0, AAA_MSG_NOTIFY_RESULT, length};
  std::vector<std::uint8_t> message(kHeaderSize + length);
  std::memcpy(message.data(), &header, kHeaderSize);
  std::memcpy(message.data() + kHeaderSize, body, length);
  aaa_free(0, "", body);
  return message;
}

int listen_at(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(fd, 8) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return fd;
}

std::string socket_path(const std::string& directory) {
  std::filesystem::create_directories(directory + "/security/aaa");
  return directory + "/security/aaa/.aaa_domain_socket_fs";
}

}  // namespace

EchoDaemon::EchoDaemon(const std::string& directory)
    : path_(socket_path(directory)),
      listener_(listen_at(path_)),
      result_(make_result()),
      thread_([this] { serve(); }) {}

EchoDaemon::~EchoDaemon() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
  unlink(path_.c_str());
}

void EchoDaemon::serve() {
  const std::uint32_t aaa_id = 1;
  const aaa_status status = {};
  request_socket_ = accept_and_register(AAA_MSG_REGISTER_RESP, &aaa_id, sizeof aaa_id);
  event_socket_ = accept_and_register(AAA_MSG_AAA_INFO_READY, &status, sizeof status);
  while (answer_next()) {
  }
  close(request_socket_);
  close(event_socket_);
}

int EchoDaemon::accept_and_register(std::uint32_t type, const void* body,
                                    std::uint32_t length) const {
  const int fd = accept(listener_, nullptr, nullptr);
  aaa_ipc_header header;
  std::uint8_t request[256];
  if (receive_all(fd, &header, sizeof header) && header.length <= sizeof request &&
      receive_all(fd, request, header.length)) {
    send_message(fd, type, body, length);
  }
  return fd;
}

// Returns false when the client has gone.
bool EchoDaemon::answer_next() {
  aaa_ipc_header header;
  std::uint8_t body[16384];
  if (!receive_all(request_socket_, &header, sizeof header)) return false;
  if (header.length > sizeof body || !receive_all(request_socket_, body, header.length)) {
    return false;
  }
  switch (header.type) {
    case AAA_MSG_AUTHEN_REQ:
      return send_result(header.id);
    case AAA_MSG_GET_SESSION_ID:
      return send_message(request_socket_, header.type, kSessionIds, sizeof kSessionIds);
    case AAA_MSG_SERVER_MIB: {
      const std::uint32_t word = 0;
      return send_message(request_socket_, AAA_MSG_SERVER_MIB_RESP, &word, sizeof word);
    }
    case AAA_MSG_DEREGISTER_REQ:
      return send_message(request_socket_, AAA_MSG_DEREGISTER_RESP, nullptr, 0);
    default:
      return true;
  }
}

bool EchoDaemon::send_result(std::uint32_t session_id) {
  std::memcpy(result_.data() + kSessionIdOffset, &session_id, sizeof session_id);
  return send_all(event_socket_, result_.data(), result_.size());
}

}  // namespace bench
