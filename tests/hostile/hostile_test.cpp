#include "hostile/hostile_test.h"

#include <algorithm>

#include "fuzz/link/played_client.h"
#include "hostile/golden_frames.h"
#include "hostile/intended_leftovers.h"
#include "session/state/client_state.h"
#include "soak/soak_length.h"
#include "transport/base/memory.h"

namespace test {
namespace {

// What the client was told since it registered.
std::uint32_t good_frames = 0;
std::uint32_t losses = 0;
std::uint32_t returns = 0;

int note_event(std::uint32_t event) {
  losses += event == AAA_EVENT_CONNECTION_LOST ? 1 : 0;
  returns += event == AAA_EVENT_REGISTERED || event == AAA_EVENT_REREGISTERED ? 1 : 0;
  return 0;
}

reg_info hostile_client() {
  reg_info info = fuzz::played_client();
  info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t) {};
  info.add_radext_result_cb = [](const void*) { ++good_frames; };
  info.aaa_event_cb = note_event;
  return info;
}

// In thread mode no heartbeats are kept: the clock of the test is not taken for a silent aaad.
aaa_status status_in(Mode mode) {
  aaa_status status = {};
  status.aaa_id_limit = mode == Mode::agent ? 64 : 0;
  return status;
}

Welcome welcome_in(Mode mode) {
  const aaa_status status = status_in(mode);
  const auto* const first = reinterpret_cast<const std::uint8_t*>(&status);
  return {bytes_of(golden_registration()),
          bytes_of({"welcome", AAA_MSG_AAA_INFO_READY, Bytes(first, first + sizeof status)})};
}

// The frame that must arrive after a damaged one.
const Bytes& good_frame() {
  static const Bytes bytes = bytes_of({"good", AAA_MSG_ADD_RADEXT_RESULT, Bytes(24, 0x5a)});
  return bytes;
}

bool is_good(const Dispatched& message) {
  return message.type == AAA_MSG_ADD_RADEXT_RESULT && message.body.size() >= 24;
}

std::uint32_t good_among(const std::vector<Dispatched>& messages) {
  return static_cast<std::uint32_t>(std::count_if(messages.begin(), messages.end(), is_good));
}

std::uint32_t marker_lines(const LogCapture& log) {
  const std::vector<LogLine> lines = log.lines();
  return static_cast<std::uint32_t>(std::count_if(
      lines.begin(), lines.end(),
      [](const LogLine& line) { return line.text.ends_with("] aaa id not match.\r\n"); }));
}

}  // namespace

HostileTest::HostileTest()
    : HangWatch(soak::by_length(std::chrono::seconds(100), std::chrono::seconds(1500))) {}

void HostileTest::SetUp() {
  LibraryTest::SetUp();
  link_ = std::make_unique<HeldLink>();
  link_->always_welcome_with(welcome_in(GetParam()));
  const reg_info info = hostile_client();
  if (GetParam() == Mode::thread) {
    ASSERT_EQ(0, aaa_svr_reg(&info));
  } else {
    loop_ = std::make_unique<FakeLoop>();
    ASSERT_EQ(0, aaa_agent_init(&info, loop_->master()));
    ASSERT_EQ(0, loop_->run("aaa-connect"));
  }
  ASSERT_EQ(1, aaa_is_alive());
  take_dispatched();
}

void HostileTest::TearDown() {
  link_->answer_with({bytes_of(golden_farewell())});
  EXPECT_EQ(0, GetParam() == Mode::thread ? aaa_svr_dereg() : aaa_agent_finish());
  link_.reset();
  loop_.reset();
  aaa_add_user_pwd_update_req_handle(nullptr);
  expect_blocks_left(blocks_left_over_);
  LibraryTest::TearDown();
}

void HostileTest::play(const std::vector<Bytes>& frames, const std::vector<Variation>& variations) {
  frames_ = &frames;
  variations_ = &variations;
  next_ = 0;
  GetParam() == Mode::thread ? play_on_thread() : play_on_loop();
  EXPECT_EQ(variations.size(), next_);
  RecordProperty("frames", std::to_string(next_));
}

void HostileTest::play_on_thread() {
  link_->when_idle([this] {
    if (next_turn()) return true;
    end_receive_thread();
    return false;
  });
  run_receive_thread();
}

void HostileTest::play_on_loop() {
  while (next_turn()) {
    const auto is_watched = [this] { return loop_->names().size() == 2; };
    while (is_watched() && (link_->is_readable() || link_->has_more()))
      loop_->run("aaa-read");
    loop_->take_journal();
    if (!is_watched()) rebuild_unwatched_link();
  }
}

// The heartbeat finds aaad silent after more than 180 seconds, unless a damaged frame has switched
// heartbeats off, which would leave the client deaf.
void HostileTest::rebuild_unwatched_link() {
  aaa::store_status(status_in(GetParam()));
  for (int beats = 0; beats < 6 && loop_->names() == std::vector<std::string>{"aaa-heartbeat"};
       ++beats) {
    link_->clock().advance(60);
    loop_->run("aaa-heartbeat");
  }
  EXPECT_EQ(std::vector<std::string>{"aaa-reconnect"}, loop_->names());
  loop_->run("aaa-reconnect");
}

bool HostileTest::next_turn() {
  if (turn_) {
    end_turn();
    if (HasFailure()) return false;
    if (good_frame_is_due()) {
      begin_turn(good_frame(), {good_frame()});
      return true;
    }
  }
  return begin_next_variation();
}

// After a frame that no good one has followed yet.
bool HostileTest::good_frame_is_due() const {
  return turn_->expected.dispatched.empty() || !is_good(turn_->expected.dispatched.back());
}

bool HostileTest::begin_next_variation() {
  turn_.reset();
  if (next_ == variations_->size()) return false;
  const Variation& variation = (*variations_)[next_++];
  const Bytes stream = stream_of(variation, (*frames_)[variation.frame], good_frame());
  begin_turn(stream, pieces_of(variation, stream));
  return true;
}

void HostileTest::begin_turn(const Bytes& stream, const std::vector<Bytes>& pieces) {
  turn_ = {.stream = stream,
           .expected = expected_course(stream, GetParam(), HeldLink::kLargestBlock),
           .connections = link_->connections(),
           .blocks = live_blocks(),
           .failed_allocations = g_aaa_malloc_fail_times,
           .losses = losses,
           .returns = returns};
  leftovers_.emplace();
  good_frames = 0;
  for (const Bytes& piece : pieces)
    link_->give(piece);
}

void HostileTest::end_turn() {
  leftovers_.reset();
  aaa::store_status(status_in(GetParam()));
  expect_course(*turn_);
  if (HasFailure() && next_ > 0) {
    const Variation& variation = (*variations_)[next_ - 1];
    ADD_FAILURE() << "frame " << variation.frame << ", " << variation.kept << " bytes kept, byte "
                  << variation.place << " is " << int{variation.value} << ", cut at "
                  << variation.first_cut << (variation.bytewise ? ", bytewise" : "")
                  << (variation.glued ? ", glued" : "");
  }
  link_->drain();
}

void HostileTest::expect_course(const Turn& turn) {
  const std::vector<Dispatched> dispatched = take_dispatched();
  EXPECT_TRUE(turn.expected.dispatched == dispatched)
      << dispatched.size() << " messages, not " << turn.expected.dispatched.size();
  EXPECT_EQ(good_among(turn.expected.dispatched), good_frames);
  EXPECT_EQ(turn.expected.marker_told ? 1u : 0u, marker_lines(turn.log));
  EXPECT_EQ(AAA_REG_REGISTERED, aaa::reg_state());
  const std::uint32_t rebuilt = turn.expected.link == LinkAfter::in_step ? 0 : 1;
  EXPECT_EQ(turn.connections + rebuilt, link_->connections());
  EXPECT_EQ(turn.losses + rebuilt, losses);
  EXPECT_EQ(turn.returns + rebuilt, returns);
  const std::uint32_t left = live_blocks() - turn.blocks;
  blocks_left_over_ += left;
  EXPECT_TRUE(are_intended(left, turn.stream, g_aaa_malloc_fail_times - turn.failed_allocations))
      << left << " blocks are left";
}

}  // namespace test
