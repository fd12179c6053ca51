// A client that reads messages of the link beside the receive thread: each message reaches one of
// the two, whole.
#include <atomic>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "bytes.h"
#include "support/registered_test.h"

namespace test {
namespace {

Bytes numbered(std::uint32_t number) {
  return words({0x01010101, 0, AAA_MSG_DEL_MSG_REQ, 12, 0, 0, number});
}

// Numbers of messages, in the order in which they were taken.
class Numbers {
 public:
  void add(std::uint32_t number) {
    const std::lock_guard<std::mutex> hold(lock_);
    taken_.push_back(number);
  }
  std::vector<std::uint32_t> all() const {
    const std::lock_guard<std::mutex> hold(lock_);
    return taken_;
  }
  std::size_t count() const { return all().size(); }
  void forget() {
    const std::lock_guard<std::mutex> hold(lock_);
    taken_.clear();
  }

 private:
  mutable std::mutex lock_;
  std::vector<std::uint32_t> taken_;
};
Numbers of_receive_thread;
std::function<void(std::uint32_t)> also_in_callback;

// The number in the next message that a client reads; 0 when there is none or it is not whole.
std::uint32_t read_as_client() {
  aaa_ipc_header* const message = aaalib_recv_async_ipc_msg();
  if (message == nullptr) return 0;
  const Bytes bytes = bytes_of(message, 16 + message->length);
  aaa_free(0, "", message);
  const std::uint32_t number = word_at(bytes, 24);
  return bytes == numbered(number) ? number : 0;
}

class SharedReading : public RegisteredTest {
 protected:
  void register_noting(std::function<void(std::uint32_t)> act = [](std::uint32_t) {}) {
    of_receive_thread.forget();
    also_in_callback = std::move(act);
    reg_info info = client();
    info.del_msg_req_cb = [](std::uint32_t, std::uint32_t, std::uint32_t number) {
      of_receive_thread.add(number);
      also_in_callback(number);
    };
    register_client(info);
    take_pass();
  }
};

TEST_F(SharedReading, AClientGetsWhatWasReceivedAheadAndTheReceiveThreadTheNext) {
  std::atomic<std::uint32_t> of_client = 0;
  register_noting([&](std::uint32_t number) {
    if (number == 1) of_client = read_as_client();
  });
  send_raw(numbered(1) + numbered(2) + numbered(3));
  EXPECT_TRUE(eventually([] { return of_receive_thread.count() == 2; }));
  EXPECT_EQ(0, aaa_svr_dereg()) << "which lets the callback end";
  EXPECT_EQ(2u, of_client);
  EXPECT_EQ((std::vector<std::uint32_t>{1, 3}), of_receive_thread.all());
}

TEST_F(SharedReading, AMessageOfWhichThereIsOnlyAPartReachesTheClientWhole) {
  const Bytes second = numbered(2);
  for (std::size_t cut = 1; cut < second.size(); ++cut) {
    SCOPED_TRACE("cut at byte " + std::to_string(cut));
    std::atomic<std::uint32_t> of_client = 0;
    register_noting([&](std::uint32_t number) {
      if (number != 1) return;
      send_raw(part(second, cut, second.size() - cut) + numbered(3));
      of_client = read_as_client();
    });
    send_raw(numbered(1) + part(second, 0, cut));
    EXPECT_TRUE(eventually([] { return of_receive_thread.count() == 2; }));
    ASSERT_EQ(0, aaa_svr_dereg()) << "which lets the callback end";
    EXPECT_EQ(2u, of_client);
    ASSERT_EQ((std::vector<std::uint32_t>{1, 3}), of_receive_thread.all());
  }
}

TEST_F(SharedReading, EveryMessageReachesOneOfTwoThreadsWhole) {
  constexpr std::size_t wanted = 50;
  register_noting();
  Numbers of_client;
  std::atomic<bool> in_time = true;
  std::thread client_thread([&] {
    while (in_time && of_client.count() < wanted)
      of_client.add(read_as_client());
  });
  std::uint32_t last = 0;
  in_time = eventually([&] {
    const Bytes both = numbered(last + 1) + numbered(last + 2);
    last += 2;
    send_raw(part(both, 0, 21));
    send_raw(part(both, 21, both.size() - 21));
    return of_client.count() >= wanted;
  });
  EXPECT_TRUE(in_time) << of_client.count() << " messages for the client";
  sim_.close_connections();
  client_thread.join();
  ASSERT_TRUE(wait_for_event(AAA_EVENT_REREGISTERED));
  EXPECT_TRUE(eventually([&] { return of_client.count() + of_receive_thread.count() == last; }))
      << of_client.count() << " and " << of_receive_thread.count() << " of " << last;
  std::multiset<std::uint32_t> taken;
  for (const Numbers* numbers : {&of_client, &of_receive_thread})
    for (const std::uint32_t number : numbers->all())
      taken.insert(number);
  EXPECT_EQ(0u, taken.count(0)) << "a message was cut or lost";
  EXPECT_EQ(last, std::set<std::uint32_t>(taken.begin(), taken.end()).size());
}

}  // namespace
}  // namespace test
