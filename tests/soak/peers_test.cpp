// An aaad that is slow, silent or confused: every call of the client that crosses to it ends with
// its stated result, in time, and leaves the library in order.
#include <ostream>
#include <string>
#include <string_view>

#include "soak/client_calls.h"
#include "soak/stub_test.h"

namespace soak {
namespace {

enum class Ending { answered, not_answered, other_type };

struct Peer {
  const char* name;
  Manner manner;
  Ending ending;
  // Library seconds that an exchange takes; the clock stands still unless time passes.
  std::uint32_t at_least = 0;
  std::uint32_t at_most = 5;
};

void PrintTo(const Peer& peer, std::ostream* out) {
  *out << peer.name;
}

// What is waited for must come within 10 seconds, and the last wait may have begun just before.
// A request that cannot be written is tried again after a tenth of a second.
constexpr std::uint32_t kDeadline = 10;
constexpr std::uint32_t kLatestEnd = 14;

constexpr Peer peers[] = {
    {"Good", Manner::good, Ending::answered},
    {"ThatReadsByteByByte", Manner::reads_byte_wise, Ending::answered},
    {"ThatWritesByteByByte", Manner::writes_byte_wise, Ending::answered},
    {"ThatTakesASecondForEachByte", Manner::trickles, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatNeverReads", Manner::never_reads, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatNeverAnswers", Manner::never_writes, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatStopsInTheHeader", Manner::stops_in_header, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatStopsInTheBody", Manner::stops_in_body, Ending::not_answered, kDeadline, kLatestEnd},
    {"ThatAnswersWithAnotherType", Manner::other_type, Ending::other_type},
    {"ThatAnswersWithAnotherId", Manner::other_id, Ending::answered},
    {"ThatAnswersWithoutTheMarker", Manner::other_marker, Ending::answered},
    {"ThatAnswersOnTheEventSocket", Manner::other_socket, Ending::not_answered, kDeadline,
     kLatestEnd},
    {"ThatCloses", Manner::closes, Ending::not_answered},
};

bool is(const Exchange& exchange, std::string_view name) {
  return exchange.name == name;
}

class ExchangesWithPeer : public StubTest, public testing::WithParamInterface<Peer> {
 protected:
  // The farewell needs no more than the header of its answer, and fails if it cannot be written.
  static Ending ending(const Exchange& exchange) {
    if (!is(exchange, "aaa_svr_dereg")) return GetParam().ending;
    if (GetParam().manner == Manner::stops_in_body) return Ending::answered;
    return GetParam().manner == Manner::never_reads ? Ending::other_type : GetParam().ending;
  }

  static std::int64_t stated(const Exchange& exchange) {
    switch (ending(exchange)) {
      case Ending::answered:
        return exchange.answered;
      case Ending::not_answered:
        return exchange.not_answered;
      default:
        return exchange.other_type;
    }
  }

  void expect_stated_end(const Exchange& exchange) {
    const std::uint32_t start = test::library_seconds();
    EXPECT_EQ(stated(exchange), exchange.make());
    // A registration that has failed is then tried again by the new receive thread.
    const std::uint32_t end =
        is(exchange, "aaa_svr_reg") ? thread_start() : test::library_seconds();
    EXPECT_GE(end - start, ending(exchange) == Ending::answered ? 0 : GetParam().at_least);
    EXPECT_LE(end - start, GetParam().at_most);
  }
};

TEST_P(ExchangesWithPeer, EndAsStatedAndInTime) {
  for (int round = 0; round < by_length(1, 20); ++round)
    for (const Exchange& exchange : exchanges()) {
      SCOPED_TRACE(exchange.name);
      begin();
      if (is(exchange, "aaa_svr_reg"))
        behave(GetParam().manner);
      else
        register_client(GetParam().manner);
      expect_stated_end(exchange);
      expect_library_in_order();
      end();
    }
}

std::string name_of(const testing::TestParamInfo<Peer>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(, ExchangesWithPeer, testing::ValuesIn(peers), name_of);

class OneWayCalls : public StubTest {
 protected:
  void expect_all(Manner manner, std::int64_t OneWay::*stated, std::uint32_t at_least,
                  std::uint32_t at_most) {
    begin();
    for (const OneWay& call : one_way_calls()) {
      SCOPED_TRACE(call.name);
      register_client(manner);
      const std::uint32_t start = test::library_seconds();
      EXPECT_EQ(call.*stated, call.make());
      EXPECT_GE(test::library_seconds() - start, at_least);
      EXPECT_LE(test::library_seconds() - start, at_most);
      expect_library_in_order();
      test::stop_library();
    }
    end();
  }
};

TEST_F(OneWayCalls, ToAPeerThatNeverReadsFailAsStatedAndInTime) {
  expect_all(Manner::never_reads, &OneWay::not_sent, kDeadline, kLatestEnd);
}

TEST_F(OneWayCalls, ToAPeerThatReadsByteByByteAreSent) {
  expect_all(Manner::reads_byte_wise, &OneWay::sent, 0, 5);
}

}  // namespace
}  // namespace soak
