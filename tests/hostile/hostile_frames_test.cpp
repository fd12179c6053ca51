// Every golden frame, damaged in every way: the frames that follow are delivered, on the same
// connection where the stream has stayed in step, and else on a new one.
#include "hostile/golden_frames.h"
#include "hostile/hostile_test.h"

namespace test {
namespace {

std::vector<Bytes> frames() {
  std::vector<Bytes> all;
  for (const GoldenFrame& frame : golden_events())
    all.push_back(bytes_of(frame));
  return all;
}

using HostileFrames = HostileTest;

TEST_P(HostileFrames, AChangedByteCostsAtMostItsConnection) {
  play(frames(), sample(changed_bytes(frames()), 23));
}

TEST_P(HostileFrames, AShortFrameCostsAtMostItsConnection) {
  play(frames(), sample(truncations(frames()), 11));
}

TEST_P(HostileFrames, AFrameMayArriveInTwoPieces) {
  play(frames(), sample(splits(frames()), 11));
}

TEST_P(HostileFrames, AFrameMayArriveByteByByte) {
  play(frames(), sample(bytewise(frames()), 5));
}

INSTANTIATE_TEST_SUITE_P(InBothModes, HostileFrames, testing::Values(Mode::thread, Mode::agent),
                         [](const auto& mode) {
                           return mode.param == Mode::thread ? "OnTheReceiveThread" : "OnALoop";
                         });

}  // namespace
}  // namespace test
