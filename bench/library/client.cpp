#include "library/client.h"

#include <semaphore.h>

#include <cstring>
#include <stdexcept>

#include "support/records.h"
#include "support/registrar.h"
#include "support/server_process.h"

namespace bench {
namespace {

sem_t answered;

void note_result(result_info*) {
  sem_post(&answered);
}

}  // namespace

void register_client(reg_info info) {
  std::strcpy(info.model_name, "bench");
  if (aaa_svr_reg(&info) != 0 || aaa_is_alive() == 0) throw std::runtime_error("not registered");
}

void register_with_peer(reg_info info, const ServePeer& serve,
                        const std::function<void(reg_info)>& register_self) {
  const Registrar registrar;
  start_server([&] {
    const int request_socket = registrar.accept_request_socket();
    serve(request_socket, registrar.accept_event_socket());
  });
  register_self(info);
}

CallbackRequests::CallbackRequests(std::size_t body_length)
    : request_(typical_request(body_length)) {
  sem_init(&answered, 0, 0);
}

reg_info CallbackRequests::registration() {
  reg_info info = {};
  info.notify_result_cb = note_result;
  return info;
}

void CallbackRequests::send_and_wait() {
  if (aaa_user_req_authen(&request_) != 0) throw std::runtime_error("not sent");
  sem_wait(&answered);
}

}  // namespace bench
