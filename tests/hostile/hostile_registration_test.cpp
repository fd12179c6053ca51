// Damaged answers to the two register requests: registration fails or succeeds, and leaves nothing
// behind.
#include <algorithm>

#include "agent/fake_loop.h"
#include "hostile/expected_course.h"
#include "hostile/golden_frames.h"
#include "hostile/held_link.h"
#include "hostile/variations.h"
#include "session/state/client_state.h"
#include "soak/hang_watch.h"
#include "support/library_test.h"

namespace test {
namespace {

// Whether an answer is whole, not empty and of the right type.
bool is_answer(const Bytes& bytes, std::uint32_t type) {
  if (bytes.size() < 16) return false;
  const std::uint32_t length = word32(bytes, 12);
  return length != 0 && length <= bytes.size() - 16 && word32(bytes, 8) == type;
}

// What a short body lacks is zero.
std::uint32_t granted_id(const Bytes& bytes) {
  const std::size_t length = std::min<std::size_t>(word32(bytes, 12), 4);
  std::uint32_t id = 0;
  for (std::size_t i = 0; i < length; ++i)
    id |= std::uint32_t{bytes[16 + i]} << 8 * i;
  return id;
}

bool is_accepted(const Welcome& welcome) {
  return is_answer(welcome.on_request_socket, 100) &&
         granted_id(welcome.on_request_socket) != 255 && is_answer(welcome.on_event_socket, 102);
}

class HostileRegistration : private soak::HangWatch,
                            public LibraryTest,
                            public testing::WithParamInterface<Mode> {
 protected:
  HostileRegistration() : HangWatch(std::chrono::seconds(300)) {}

  void TearDown() override {
    link_.reset();
    LibraryTest::TearDown();
  }

  void play(const std::vector<Variation>& variations) {
    for (const Variation& variation : variations) {
      Welcome welcome = {frames_[0], frames_[1]};
      (variation.frame == 0 ? welcome.on_request_socket : welcome.on_event_socket) =
          stream_of(variation, frames_[variation.frame], {});
      expect_registration(welcome);
      ASSERT_FALSE(HasFailure()) << "answer " << variation.frame << ", " << variation.kept
                                 << " bytes kept, byte " << variation.place << " is "
                                 << int{variation.value};
    }
  }

  const std::vector<Bytes> frames_ = {bytes_of(golden_registration()), bytes_of(golden_welcome())};

 private:
  void expect_registration(const Welcome& welcome) {
    const std::uint32_t blocks = live_blocks();
    link_->welcome_with(welcome);
    start();
    const bool accepted = is_accepted(welcome);
    EXPECT_EQ(accepted ? 1 : 0, aaa_is_alive());
    EXPECT_EQ(accepted ? 2u : 0u, link_->open_sockets());
    if (accepted) expect_exchange();
    finish();
    EXPECT_EQ(0u, link_->open_sockets());
    EXPECT_EQ(blocks, live_blocks());
  }

  void start() {
    const reg_info info = client();
    if (GetParam() == Mode::thread) {
      EXPECT_EQ(0, aaa_svr_reg(&info));
    } else {
      EXPECT_EQ(0, aaa_agent_init(&info, loop_.master()));
      loop_.run("aaa-connect");
    }
  }

  // Bytes that were too many are thrown away first.
  void expect_exchange() {
    link_->answer_with({bytes_of({"good", 104, {1, 0, 0, 0}})});
    EXPECT_EQ(1u, aaa_mlist_existed(0, 0, 0, "list"));
  }

  void finish() {
    if (aaa_is_alive() != 0) link_->answer_with({bytes_of(golden_farewell())});
    EXPECT_EQ(0, GetParam() == Mode::thread ? aaa_svr_dereg() : aaa_agent_finish());
    loop_.take_journal();
  }

  std::unique_ptr<HeldLink> link_ = std::make_unique<HeldLink>();
  FakeLoop loop_;
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
}  // namespace test
