#include "hostile/receive_path.h"

#include <gtest/gtest.h>

#include <utility>

#include "aaa_client.h"
#include "runtime/receive_thread.h"
#include "transport/atomic_word.h"
#include "transport/cancellation.h"

namespace {

std::vector<test::Dispatched> dispatched;

}  // namespace

// The linker's names for the replaced and the replacing function.
extern "C" void __real_aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body);
extern "C" void __wrap_aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body) {
  const auto* const first = static_cast<const std::uint8_t*>(body);
  if (header->length == 0) {
    EXPECT_EQ(nullptr, body);
    dispatched.push_back({header->type, {}});
  } else {
    EXPECT_EQ(0, first[header->length]);
    dispatched.push_back({header->type, test::Bytes(first, first + header->length)});
  }
  __real_aaa_lib_async_msg_proc(header, body);
}

namespace test {

std::vector<Dispatched> take_dispatched() {
  return std::exchange(dispatched, {});
}

void run_receive_thread() {
  const aaa::CancellationScope as_before(PTHREAD_CANCEL_DISABLE);
  aaa::store(aaa::g_receive_msg_tid, pthread_self());
  aaa::aaa_lib_thread(nullptr);
}

void end_receive_thread() {
  aaa::store(aaa::g_receive_msg_tid, pthread_t{0});
}

}  // namespace test
