#include "soak/faulty_aaad.h"

#include <cstring>

namespace soak {
namespace {

using aaa_sim::Request;
using aaa_sim::Role;
using aaa_sim::Settings;
using std::chrono::milliseconds;

std::uint32_t word_after(const Request& request, std::size_t offset) {
  std::uint32_t word = 0;
  if (offset + sizeof word <= request.body.size())
    std::memcpy(&word, request.body.data() + offset, sizeof word);
  return word + 1;
}

}  // namespace

void answer_queries(aaa_sim::AaadSim& sim) {
  const auto answer = [&](std::uint32_t request, std::uint32_t type, auto words) {
    sim.set_answer(request, [=](const Request& asked) -> aaa_sim::Replies {
      const std::vector<std::uint32_t> body = words(asked);
      return {{Role::request, type, 0, aaa_sim::encode_words(body)}};
    });
  };
  using Words = std::vector<std::uint32_t>;
  const auto echo = [](const Request& request) { return Words{word_after(request, 0)}; };
  answer(AAA_MSG_QUERY_MLIST_EXIST, AAA_MSG_MLIST_EXISTED_RESP, echo);
  answer(AAA_MSG_QUERY_AUTHEN_MLIST_STATE, AAA_MSG_AUTHEN_MLIST_STATE_RESULT, echo);
  answer(AAA_MSG_REGISTER_GROUP, AAA_MSG_REGISTER_GROUP_RESP,
         [](const Request&) { return Words{0}; });
  answer(AAA_MSG_SERVER_MIB, AAA_MSG_SERVER_MIB_RESP,
         [](const Request& request) { return Words{word_after(request, 392)}; });
  answer(AAA_MSG_UPDATE_USER_PWD_REQ, AAA_MSG_UPDATE_USER_PWD_RESP, [](const Request& request) {
    return Words{0, word_after(request, 0)};
  });
}

void FaultyAaad::start() {
  stopping_ = false;
  thread_ = std::thread([this] {
    while (!stopping_) {
      take_step();
      std::this_thread::sleep_for(milliseconds(1));
    }
  });
}

void FaultyAaad::stop() {
  stopping_ = true;
  if (thread_.joinable()) thread_.join();
  sim_.change([](Settings& settings) {
    settings.byte_wise = false;
    settings.delay = milliseconds(0);
  });
}

void FaultyAaad::take_step() {
  const std::uint32_t choice = random_.below(100);
  if (choice == 0 && closes_ == Closes::at_random) return close();
  if (choice < 4)
    return sim_.change([](Settings& settings) { settings.byte_wise = !settings.byte_wise; });
  if (choice < 8) {
    const milliseconds delay(random_.below(4));
    return sim_.change([=](Settings& settings) { settings.delay = delay; });
  }
  speak();
}

void FaultyAaad::speak() {
  const traffic::Message& notice =
      notices_[random_.below(static_cast<std::uint32_t>(notices_.size()))];
  sent_.at(notice.type) +=
      sim_.send_message({}, Role::event, notice.type, 0, test::view(notice.body));
}

void FaultyAaad::close() {
  const Role role = random_.below(2) == 0 ? Role::event : Role::none;
  if (sim_.close_connections({}, role) != 0) ++close_count_;
}

}  // namespace soak
