// Damaged answers to exchanges: whatever the client makes of them, the next exchange is in step, on
// the same connection.
#include "hostile/golden_frames.h"
#include "hostile/held_link.h"
#include "hostile/intended_leftovers.h"
#include "hostile/variations.h"
#include "soak/hang_watch.h"
#include "soak/soak_length.h"
#include "support/intended_leak.h"
#include "support/library_test.h"
#include "transport/base/memory.h"

namespace test {
namespace {

class HostileAnswers : private soak::HangWatch, public LibraryTest {
 protected:
  HostileAnswers()
      : HangWatch(soak::by_length(std::chrono::seconds(100), std::chrono::seconds(1500))) {}

  void SetUp() override {
    LibraryTest::SetUp();
    const reg_info info = client();
    ASSERT_EQ(0, aaa_svr_reg(&info));
    ASSERT_EQ(1, aaa_is_alive());
  }
  void TearDown() override {
    link_->answer_with({bytes_of(golden_farewell())});
    EXPECT_EQ(0, aaa_svr_dereg());
    link_.reset();
    expect_blocks_left(blocks_left_over_);
    LibraryTest::TearDown();
  }

  void play(const std::vector<Variation>& variations) {
    for (const Variation& variation : variations) {
      const GoldenAnswer& golden = answers_[variation.frame];
      const Bytes answer = stream_of(variation, frames_[variation.frame], {});
      ask(golden.question, variation, answer);
      expect_next_exchange_in_step();
      ASSERT_FALSE(HasFailure()) << golden.frame.name << ", " << variation.kept
                                 << " bytes kept, byte " << variation.place << " is "
                                 << int{variation.value};
    }
    EXPECT_EQ(1u, link_->connections());
  }

  static std::vector<Bytes> bytes_of_all(const std::vector<GoldenAnswer>& answers) {
    std::vector<Bytes> all;
    for (const GoldenAnswer& answer : answers)
      all.push_back(bytes_of(answer.frame));
    return all;
  }

  const std::vector<GoldenAnswer> answers_ = golden_answers();
  const std::vector<Bytes> frames_ = bytes_of_all(answers_);

 private:
  void ask(fuzz::Question question, const Variation& variation, const Bytes& answer) {
    const std::uint32_t blocks = live_blocks();
    const std::uint32_t failed = g_aaa_malloc_fail_times;
    const std::vector<Bytes> pieces = pieces_of(variation, answer);
    const IntendedLeak leftovers;
    link_->answer_with({pieces.begin(), pieces.end()});
    fuzz::ask_aaad(question, 9);
    link_->answer_with({});
    const std::uint32_t left = live_blocks() - blocks;
    EXPECT_TRUE(are_intended(left, answer, g_aaa_malloc_fail_times - failed))
        << left << " blocks are left";
    blocks_left_over_ += left;
  }

  void expect_next_exchange_in_step() {
    link_->answer_with({bytes_of({"good", 104, {0x78, 0x56, 0x34, 0x12}})});
    EXPECT_EQ(0x12345678u, aaa_mlist_existed(0, 0, 0, "list"));
    link_->drain();
  }

  std::unique_ptr<HeldLink> link_ = std::make_unique<HeldLink>();
  std::uint32_t blocks_left_over_ = 0;
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
}  // namespace test
