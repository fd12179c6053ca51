#include "library/registered_client.h"

#include <cstring>
#include <stdexcept>

#include "support/registrar.h"
#include "support/server_process.h"

namespace bench {

void register_client(reg_info info) {
  std::strcpy(info.model_name, "bench");
  if (aaa_svr_reg(&info) != 0 || aaa_is_alive() == 0) throw std::runtime_error("not registered");
}

void register_with_peer(reg_info info, const ServePeer& serve) {
  const Registrar registrar;
  start_server([&] {
    const int request_socket = registrar.accept_request_socket();
    serve(request_socket, registrar.accept_event_socket());
  });
  register_client(info);
}

}  // namespace bench
