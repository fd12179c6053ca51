// Damaged answers to exchanges: whatever the client makes of them, the next exchange is in step, on
// the same connection.
#include "hostile/hostile_client.h"

namespace hostile {
namespace {

class HostileAnswers : public HostileClient {
 protected:
  void SetUp() override {
    for (const traffic::Exchange& question : traffic::questions())
      frames_.push_back(traffic::full_answer(question).bytes());
    aaad_.when_connected = [this] { ++connections_; };
    start(Mode::thread, fuzz::scripted_client());
    ASSERT_EQ(1, aaa_is_alive());
  }
  void TearDown() override { finish(); }

  void play(const std::vector<Variation>& variations) {
    for (const Variation& variation : variations) {
      const traffic::Exchange& question = traffic::questions()[variation.frame];
      const std::string answer = stream_of(variation, frames_[variation.frame], {});
      const std::vector<std::string> pieces = pieces_of(variation, answer);
      const std::uint32_t blocks = test::live_blocks();
      const std::uint32_t failed = g_aaa_malloc_fail_times;
      aaad_.answer_with({pieces.begin(), pieces.end()});
      question.make();
      expect_no_block_left(answer, blocks, failed);
      expect_exchange();
      ASSERT_FALSE(HasFailure()) << question.name << ", " << variation;
    }
    EXPECT_EQ(1u, connections_);
  }

  std::vector<std::string> frames_;
  std::uint32_t connections_ = 0;
};

TEST_F(HostileAnswers, AChangedByteCostsAtMostItsExchange) {
  play(sample(changed_bytes(frames_), 23));
}

TEST_F(HostileAnswers, AShortAnswerCostsItsExchange) {
  play(sample(truncations(frames_), 11));
}

TEST_F(HostileAnswers, AnAnswerMayArriveInTwoPieces) {
  play(sample(splits(frames_), 11));
}

}  // namespace
}  // namespace hostile
