#include "soak/query_answers.h"

#include <cstring>
#include <vector>

namespace soak {
namespace {

using aaa_sim::Replies;
using aaa_sim::Request;
using aaa_sim::Role;

std::uint32_t word_at(const Request& request, std::size_t offset) {
  std::uint32_t word = 0;
  if (offset + sizeof word <= request.body.size())
    std::memcpy(&word, request.body.data() + offset, sizeof word);
  return word;
}

Replies reply(std::uint32_t type, const std::vector<std::uint32_t>& words) {
  return {{Role::request, type, 0, aaa_sim::encode_words(words)}};
}

}  // namespace

void answer_queries(aaa_sim::AaadSim& sim) {
  sim.set_answer(AAA_MSG_QUERY_MLIST_EXIST, [](const Request& request) {
    return reply(AAA_MSG_MLIST_EXISTED_RESP, {word_at(request, 0) + 1});
  });
  sim.set_answer(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, [](const Request& request) {
    return reply(AAA_MSG_AUTHEN_MLIST_STATE_RESULT, {word_at(request, 0) + 1});
  });
  sim.set_answer(AAA_MSG_REGISTER_GROUP,
                 [](const Request&) { return reply(AAA_MSG_REGISTER_GROUP_RESP, {0}); });
  sim.set_answer(AAA_MSG_SERVER_MIB, [](const Request& request) {
    return reply(AAA_MSG_SERVER_MIB_RESP, {word_at(request, 392) + 1});
  });
  sim.set_answer(AAA_MSG_UPDATE_USER_PWD_REQ, [](const Request& request) {
    return reply(AAA_MSG_UPDATE_USER_PWD_RESP, {0, word_at(request, 0) + 1});
  });
}

}  // namespace soak
