#include "hostile/receive_path.h"

#include <gtest/gtest.h>

#include <utility>

#include "aaa_client.h"
#include "runtime/receive/inbound.h"
#include "runtime/receive/receive_thread.h"
#include "runtime/send/library_threads.h"
#include "transport/base/atomic_word.h"
#include "transport/base/cancellation.h"

namespace {

std::vector<test::Dispatched> dispatched;

}  // namespace

// The linker's names for the replaced and the replacing function.
extern "C" void __real__ZN3aaa8dispatchERKNS_7InboundE(const aaa::Inbound& message);
extern "C" void __wrap__ZN3aaa8dispatchERKNS_7InboundE(const aaa::Inbound& message) {
  const std::uint32_t length = message.header->length;
  const auto* const first = static_cast<const std::uint8_t*>(message.body);
  if (length == 0) {
    EXPECT_EQ(nullptr, first);
    dispatched.push_back({message.header->type, {}});
  } else {
    EXPECT_EQ(0, first[length]);
    dispatched.push_back({message.header->type, test::Bytes(first, first + length)});
  }
  __real__ZN3aaa8dispatchERKNS_7InboundE(message);
}

namespace test {

std::vector<Dispatched> take_dispatched() {
  return std::exchange(dispatched, {});
}

void run_receive_thread() {
  const aaa::CancellationScope as_before(PTHREAD_CANCEL_DISABLE);
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  aaa::thread_will_start(aaa::ThreadRole::receive);
  aaa::aaa_lib_thread(nullptr);
}

void end_receive_thread() {
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
}

}  // namespace test
