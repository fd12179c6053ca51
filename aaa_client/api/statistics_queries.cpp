// Statistics exchanged with aaad: of its servers, and of 802.1X.
#include "aaa_client.h"
#include "api/request_body.h"
#include "api/send_path.h"
#include "transport/exchange.h"

namespace {

constexpr std::size_t mib_size = 392;
constexpr std::int32_t dot1x_size = 8;

}  // namespace

std::int32_t aaa_srv_mib(const void* mib, std::uint32_t w) {
  if (aaa_is_alive() == 0 || mib == nullptr) return -1;
  aaa::RequestBody body(mib_size + sizeof w);
  if (!body) return -1;
  body.add_bytes(mib, mib_size);
  body.add_word(w);
  const aaa::Reply reply(aaalib_sr_ipc_msg(AAA_MSG_SERVER_MIB, body.data(), body.size()));
  if (!reply || reply.type() != AAA_MSG_SERVER_MIB_RESP || reply.length() != 4) return -1;
  return static_cast<std::int32_t>(reply.word(0));
}

std::int32_t aaa_mib_from_dot1x(const std::uint32_t words[2]) {
  if (aaa_is_alive() == 0 || words == nullptr) return -1;
  return aaa::send_one_way(AAA_MSG_DOT1X_MIB, 0, words, dot1x_size) == 0 ? 0 : -1;
}
