// A method call with 1,500 bytes each way over libdbus, peer to peer. The caller waits for the
// reply itself, without a receive thread. --bytes: of each body.
#include <dbus/dbus.h>
#include <poll.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "support/records.h"
#include "support/server_process.h"
#include "support/workload.h"

namespace {

constexpr int any_timeout = -1;

DBusConnection* accepted = nullptr;
DBusWatch* listening = nullptr;

void append(DBusMessage* message, const bench::Bytes& bytes) {
  const std::uint8_t* first = bytes.data();
  dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &first,
                           static_cast<int>(bytes.size()), DBUS_TYPE_INVALID);
}

void read(DBusMessage* message) {
  const std::uint8_t* bytes = nullptr;
  int length = 0;
  dbus_message_get_args(message, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length,
                        DBUS_TYPE_INVALID);
}

DBusHandlerResult answer(DBusConnection* connection, DBusMessage* call, void* body) {
  if (dbus_message_get_type(call) != DBUS_MESSAGE_TYPE_METHOD_CALL) {
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
  }
  read(call);
  DBusMessage* const reply = dbus_message_new_method_return(call);
  append(reply, *static_cast<bench::Bytes*>(body));
  dbus_connection_send(connection, reply, nullptr);
  dbus_message_unref(reply);
  return DBUS_HANDLER_RESULT_HANDLED;
}

void keep_connection(DBusServer*, DBusConnection* connection, void*) {
  accepted = dbus_connection_ref(connection);
}

dbus_bool_t keep_watch(DBusWatch* watch, void*) {
  listening = watch;
  return TRUE;
}

void serve(DBusServer* server, bench::Bytes body) {
  dbus_server_set_new_connection_function(server, keep_connection, nullptr, nullptr);
  dbus_server_set_watch_functions(
      server, keep_watch, [](DBusWatch*, void*) {}, nullptr, nullptr, nullptr);
  pollfd waited = {dbus_watch_get_unix_fd(listening), POLLIN, 0};
  while (accepted == nullptr && poll(&waited, 1, any_timeout) > 0)
    dbus_watch_handle(listening, DBUS_WATCH_READABLE);
  dbus_connection_set_allow_anonymous(accepted, TRUE);
  dbus_connection_add_filter(accepted, answer, &body, nullptr);
  while (dbus_connection_read_write_dispatch(accepted, any_timeout)) {
  }
}

// In the abstract namespace: there is no file to remove.
DBusServer* listen() {
  const std::string address = "unix:abstract=aaa-bench-dbus-" + std::to_string(getpid());
  DBusServer* const server = dbus_server_listen(address.c_str(), nullptr);
  if (server == nullptr) throw std::runtime_error("libdbus cannot listen");
  return server;
}

class Dbus : public bench::Workload {
 public:
  explicit Dbus(const bench::Options& options) : body_(options.number("bytes", bench::usual_body)) {
    DBusServer* const server = listen();
    char* const address = dbus_server_get_address(server);
    bench::start_server([&] { serve(server, body_); });
    connection_ = dbus_connection_open_private(address, nullptr);
    if (connection_ == nullptr) throw std::runtime_error("libdbus cannot connect");
    dbus_free(address);
  }

  void run(std::size_t operations) override {
    for (std::size_t i = 0; i < operations; i++)
      call();
  }

 private:
  void call() {
    DBusMessage* const request =
        dbus_message_new_method_call(nullptr, "/aaa", "aaa.Bench", "Authenticate");
    append(request, body_);
    DBusMessage* const reply =
        dbus_connection_send_with_reply_and_block(connection_, request, any_timeout, nullptr);
    if (reply == nullptr) throw std::runtime_error("libdbus: no reply");
    read(reply);
    dbus_message_unref(reply);
    dbus_message_unref(request);
  }

  bench::Bytes body_;
  DBusConnection* connection_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::run_main(
      argc, argv, [](const bench::Options& options) { return std::make_unique<Dbus>(options); });
}
