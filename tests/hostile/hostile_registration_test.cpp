// Damaged answers to the two register requests: registration fails or succeeds, and leaves nothing
// behind.
#include <algorithm>
#include <cstring>

#include "hostile/hostile_client.h"

namespace hostile {
namespace {

using test::word_at;

// Whether an answer is whole, not empty and of the right type.
bool is_answer(const std::string& bytes, std::uint32_t type) {
  if (bytes.size() < 16) return false;
  const std::uint32_t length = word_at(bytes, 12);
  return length != 0 && length <= bytes.size() - 16 && word_at(bytes, 8) == type;
}

// What a short body lacks is zero.
std::uint32_t granted_id(const std::string& bytes) {
  const std::size_t length = std::min<std::size_t>(word_at(bytes, 12), 4);
  std::uint32_t id = 0;
  std::memcpy(&id, bytes.data() + 16, length);
  return id;
}

class HostileRegistration : public HostileClient, public testing::WithParamInterface<Mode> {
 protected:
  void play(const std::vector<Variation>& variations) {
    for (const Variation& variation : variations) {
      std::vector<std::string> answers = frames_;
      answers[variation.frame] = stream_of(variation, frames_[variation.frame], {});
      expect_registration(answers[0], answers[1]);
      ASSERT_FALSE(HasFailure()) << "answer " << variation;
    }
  }

  const std::vector<std::string> frames_ = {traffic::register_answer().bytes(),
                                            traffic::info_ready().bytes()};

 private:
  void expect_registration(const std::string& on_request_socket,
                           const std::string& on_event_socket) {
    const bool accepted = is_answer(on_request_socket, AAA_MSG_REGISTER_RESP) &&
                          granted_id(on_request_socket) != 255 &&
                          is_answer(on_event_socket, AAA_MSG_AAA_INFO_READY);
    aaad_.answer_registrations_with(on_request_socket, on_event_socket);
    start(GetParam(), fuzz::scripted_client());
    EXPECT_EQ(accepted ? 1 : 0, aaa_is_alive());
    EXPECT_EQ(accepted ? 2u : 0u, aaad_.open_sockets());
    // Bytes that were too many are thrown away first.
    if (accepted) expect_exchange();
    finish();
  }
};

TEST_P(HostileRegistration, AChangedByteIsARefusalOrNone) {
  play(changed_bytes(frames_));
}

TEST_P(HostileRegistration, AShortAnswerIsARefusal) {
  play(truncations(frames_));
}

INSTANTIATE_TEST_SUITE_P(InBothModes, HostileRegistration,
                         testing::Values(Mode::thread, Mode::agent), [](const auto& mode) {
                           return mode.param == Mode::thread ? "WithAReceiveThread" : "OnALoop";
                         });

}  // namespace
}  // namespace hostile
