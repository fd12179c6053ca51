// Every message that aaad sends on the event socket, damaged in every way: the messages that follow
// are delivered, on the same connection where the stream has stayed in step, and else on a new one.
#include <algorithm>
#include <utility>

#include "hostile/hostile_client.h"
#include "runtime/receive/inbound.h"

namespace hostile {
namespace {

using test::word_at;

// A message that the library has read whole and is about to handle.
struct Dispatched {
  std::uint32_t type;
  std::string body;
  bool operator==(const Dispatched&) const = default;
};

std::vector<Dispatched> dispatched;

enum class LinkAfter {
  in_step,    // the next message is read from its beginning, on the same connection
  lost,       // the connection is given up and built anew
  unwatched,  // nobody reads until the heartbeat fails; then it is built anew
};

// What bytes on the event socket must lead to, by the rules of the two modes.
struct Course {
  std::vector<Dispatched> dispatched = {};
  LinkAfter link = LinkAfter::in_step;
  bool marker_told = false;
};

// After `stream` and then silence, when no more than `memory` bytes can be allocated. After silence
// in the middle of a header or a body the bytes read so far are lost: the receive thread reads on,
// in agent mode the socket is no longer watched.
Course expected_course(const std::string& stream, Mode mode, std::size_t memory) {
  const bool on_thread = mode == Mode::thread;
  const LinkAfter after_silence = on_thread ? LinkAfter::in_step : LinkAfter::unwatched;
  Course course;
  std::size_t place = 0;
  while (place < stream.size()) {
    const std::size_t left = stream.size() - place;
    if (left < 16) {
      course.link = after_silence;
      break;
    }
    if (on_thread && word_at(stream, place) != 0x01010101) {
      course.link = LinkAfter::lost;
      course.marker_told = true;
      break;
    }
    const std::uint32_t length = word_at(stream, place + 12);
    if (length > memory) {
      course.link = on_thread ? LinkAfter::lost : LinkAfter::unwatched;
      break;
    }
    if (left - 16 < length) {
      course.link = after_silence;
      break;
    }
    course.dispatched.push_back({word_at(stream, place + 8), stream.substr(place + 16, length)});
    place += 16 + length;
  }
  return course;
}

// What happened since a turn began, or since the client registered.
struct Counts {
  std::uint32_t good_messages = 0;
  std::uint32_t marker_lines = 0;
  std::uint32_t connections = 0;
  std::uint32_t losses = 0;
  std::uint32_t returns = 0;
};

Counts seen;

// The message that must arrive after a damaged one.
const std::string& good_message() {
  static const std::string bytes =
      test::message_bytes(AAA_MSG_ADD_RADEXT_RESULT, std::string(24, 'Z'));
  return bytes;
}

bool is_good(const Dispatched& message) {
  return message.type == AAA_MSG_ADD_RADEXT_RESULT && message.body.size() >= 24;
}

reg_info hostile_client() {
  reg_info info = fuzz::scripted_client();
  info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t) {};
  info.add_radext_result_cb = [](const void*) { ++seen.good_messages; };
  info.aaa_event_cb = [](std::uint32_t event) {
    seen.losses += event == AAA_EVENT_CONNECTION_LOST ? 1 : 0;
    seen.returns += event == AAA_EVENT_REGISTERED || event == AAA_EVENT_REREGISTERED ? 1 : 0;
    return 0;
  };
  return info;
}

class HostileFrames : public HostileClient, public testing::WithParamInterface<Mode> {
 protected:
  void SetUp() override {
    for (const traffic::Message& message : traffic::event_messages())
      frames_.push_back(message.bytes());
    aaad_.answer_registrations_with(traffic::register_answer().bytes(), status_message());
    aaad_.when_connected = [this] {
      ++seen.connections;
      aaad_.give_no_more();
    };
    aaad_.when_logging = [](std::string_view line) {
      seen.marker_lines += line.ends_with("] aaa id not match.\r\n") ? 1 : 0;
    };
    start(GetParam(), hostile_client());
    ASSERT_EQ(1, aaa_is_alive());
    dispatched.clear();
  }
  void TearDown() override { finish(); }

  // Delivers every variation and expects each to take the course that it must.
  void play(std::vector<Variation> variations) {
    variations_ = std::move(variations);
    GetParam() == Mode::thread ? play_on_thread() : play_on_loop();
    EXPECT_EQ(variations_.size(), next_);
    RecordProperty("frames", std::to_string(next_));
  }

  std::vector<std::string> frames_;

 private:
  // What one damaged message and its followers must lead to, and what the library was like before.
  struct Turn {
    std::string stream;
    Course expected;
    std::uint32_t blocks = test::live_blocks();
    std::uint32_t failed_allocations = g_aaa_malloc_fail_times;
  };

  // In thread mode no heartbeats are kept: the clock of the test is not taken for a silent aaad.
  static aaa_status status() {
    aaa_status status = {};
    status.aaa_id_limit = GetParam() == Mode::agent ? 64 : 0;
    return status;
  }
  static std::string status_message() {
    const aaa_status words = status();
    return test::message_bytes(AAA_MSG_AAA_INFO_READY, test::bytes_of(&words, sizeof words));
  }

  void play_on_thread() {
    aaad_.when_idle = [this] {
      if (!next_turn()) fuzz::end_receive_thread();
    };
    fuzz::run_receive_thread();
    aaad_.when_idle = [] {};
  }

  void play_on_loop() {
    while (next_turn()) {
      const auto is_watched = [this] { return loop_.names().size() == 2; };
      while (is_watched() && !aaad_.is_over())
        loop_.run("aaa-read");
      if (!is_watched()) rebuild_unwatched_link();
    }
  }

  // The heartbeat finds aaad silent after more than 180 seconds, unless a damaged message has
  // switched heartbeats off, which would leave the client deaf.
  void rebuild_unwatched_link() {
    const std::vector<std::string> heartbeat = {"aaa-heartbeat"}, reconnect = {"aaa-reconnect"};
    aaa::store_status(status());
    for (int beats = 0; beats < 6 && loop_.names() == heartbeat; ++beats) {
      aaad_.pass(60'000'000);
      loop_.run("aaa-heartbeat");
    }
    ASSERT_EQ(reconnect, loop_.names());
    loop_.run("aaa-reconnect");
  }

  // Looks at the turn that is over and begins the next. Returns false when there is none.
  bool next_turn() {
    if (turn_) {
      end_turn();
      if (HasFailure()) return false;
      if (good_message_is_due()) return begin_turn(good_message(), {good_message()});
    }
    turn_.reset();
    if (next_ == variations_.size()) return false;
    const Variation& variation = variations_[next_++];
    const std::string stream = stream_of(variation, frames_[variation.frame], good_message());
    return begin_turn(stream, pieces_of(variation, stream));
  }

  // After a message that no good one has followed yet.
  bool good_message_is_due() const {
    return turn_->expected.dispatched.empty() || !is_good(turn_->expected.dispatched.back());
  }

  bool begin_turn(const std::string& stream, const std::vector<std::string>& pieces) {
    turn_ = Turn{stream, expected_course(stream, GetParam(), kLargestBlock)};
    seen = {};
    for (const std::string& piece : pieces)
      aaad_.give(piece);
    return true;
  }

  void end_turn() {
    aaa::store_status(status());
    expect_course(turn_->expected);
    expect_no_block_left(turn_->stream, turn_->blocks, turn_->failed_allocations);
    if (HasFailure() && next_ > 0) ADD_FAILURE() << "message " << variations_[next_ - 1];
  }

  static void expect_course(const Course& expected) {
    const std::vector<Dispatched> all = std::exchange(dispatched, {});
    EXPECT_TRUE(expected.dispatched == all)
        << all.size() << " messages, not " << expected.dispatched.size();
    EXPECT_EQ(std::ranges::count_if(expected.dispatched, is_good), seen.good_messages);
    EXPECT_EQ(expected.marker_told ? 1u : 0u, seen.marker_lines);
    EXPECT_EQ(AAA_REG_REGISTERED, aaa::reg_state());
    const std::uint32_t rebuilt = expected.link == LinkAfter::in_step ? 0 : 1;
    EXPECT_EQ(rebuilt, seen.connections);
    EXPECT_EQ(rebuilt, seen.losses);
    EXPECT_EQ(rebuilt, seen.returns);
  }

  std::vector<Variation> variations_;
  std::size_t next_ = 0;
  std::optional<Turn> turn_;
};

TEST_P(HostileFrames, AChangedByteCostsAtMostItsConnection) {
  play(sample(changed_bytes(frames_), 23));
}

TEST_P(HostileFrames, AShortFrameCostsAtMostItsConnection) {
  play(sample(truncations(frames_), 11));
}

TEST_P(HostileFrames, AFrameMayArriveInTwoPieces) {
  play(sample(splits(frames_), 11));
}

TEST_P(HostileFrames, AFrameMayArriveByteByByte) {
  play(sample(bytewise(frames_), 5));
}

INSTANTIATE_TEST_SUITE_P(InBothModes, HostileFrames, testing::Values(Mode::thread, Mode::agent),
                         [](const auto& mode) {
                           return mode.param == Mode::thread ? "OnTheReceiveThread" : "OnALoop";
                         });

}  // namespace
}  // namespace hostile

// The linker's names for aaa::dispatch(const Inbound&), replaced and replacing.
extern "C" void __real__ZN3aaa8dispatchERKNS_7InboundE(const aaa::Inbound& message);
extern "C" void __wrap__ZN3aaa8dispatchERKNS_7InboundE(const aaa::Inbound& message) {
  const std::uint32_t length = message.header->length;
  const auto* const first = static_cast<const char*>(message.body);
  // A body is followed by a NUL, and null when empty.
  EXPECT_TRUE(length == 0 ? first == nullptr : first[length] == 0);
  hostile::dispatched.push_back({message.header->type, std::string(first, length)});
  __real__ZN3aaa8dispatchERKNS_7InboundE(message);
}
