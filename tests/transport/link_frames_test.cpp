// Frames on the link's two sockets: each under a lock of its own, the register request first.
#include "transport/link_sockets.h"

#include <sys/resource.h>

#include "support/stopping_point.h"
#include "transport/pair_test.h"

namespace test::link_frames {

using aaa::LinkSocket;

class LinkFrames : public PairTest {
 protected:
  LinkFrames() {
    use_as_request_socket();
    aaa::store(g_aaa_client_cb.async_fd, event_.own());
  }

  static std::int32_t send(LinkSocket socket, aaa::LinkNumber link = aaa::link_number()) {
    const aaa::CancellationScope no_cancellation(PTHREAD_CANCEL_DISABLE);
    return aaa::send_on_link(socket, link, message_bytes(132).data(), 16);
  }
  // A request socket that the library has opened itself.
  void record_new_request_socket() {
    const aaa::ScopedLock lock(aaa_lib_lock);
    aaa::record_socket(LinkSocket::request, pair_.own());
  }
  static void close_request_socket() {
    const aaa::ScopedLock lock(aaa_lib_lock);
    EXPECT_EQ(0, aaa::close_socket(LinkSocket::request));
  }

  ScriptedPeer event_;
};

TEST_F(LinkFrames, AWriteThatIsStuckOnTheRequestSocketHoldsUpNothingOnTheEventSocket) {
  StoppingPoint point;
  const ScriptedCalls calls({.send = on_request_socket(noting([&] { point.stop(); }))});
  std::thread stuck([] { EXPECT_EQ(0, send(LinkSocket::request)); });
  EXPECT_TRUE(point.is_reached());
  EXPECT_FALSE(is_free(aaa::request_write_lock));
  EXPECT_EQ(0, send(LinkSocket::event));
  EXPECT_EQ(message_bytes(132), event_.peer_reads(16));
  point.go_on();
  stuck.join();
}

TEST_F(LinkFrames, OfALinkThatHasEndedAreNotWritten) {
  const aaa::LinkNumber old = aaa::link_number();
  aaa::end_link();
  EXPECT_EQ(EBADF, send(LinkSocket::request, old));
  EXPECT_EQ(EBADF, send(LinkSocket::event, old));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
  EXPECT_EQ(0u, event_.waiting_for_peer());
  EXPECT_EQ(0u, g_aaa_msg_stat.send_error_times);
}

TEST_F(LinkFrames, WithoutMemoryAreNotWritten) {
  const ScriptedCalls calls(no_memory());
  EXPECT_EQ(ENOMEM,
            aaa::send_message_on_link(LinkSocket::event, aaa::link_number(), 132, nullptr, 0));
  EXPECT_EQ(0u, event_.waiting_for_peer());
}

TEST_F(LinkFrames, FindNoRequestSocketBeforeTheRegisterRequest) {
  record_new_request_socket();
  EXPECT_TRUE(aaa::waits_for_register_request());
  EXPECT_EQ(EINVAL, send(LinkSocket::request));
  EXPECT_EQ(EINVAL, aaa_send_ipc_msg(pair_.own(), 132, nullptr, 0));
  EXPECT_EQ(0u, pair_.waiting_for_peer());
  EXPECT_EQ(0, aaa_send_ipc_msg(pair_.own(), 0, "1test", 6));
  EXPECT_FALSE(aaa::waits_for_register_request());
  EXPECT_EQ(0, send(LinkSocket::request));
  EXPECT_EQ(message_bytes(0, std::string("1test", 6)) + message_bytes(132),
            pair_.peer_reads(22 + 16));
}

TEST_F(LinkFrames, GoOnWaitingWhenTheRegisterRequestCouldNotBeSent) {
  record_new_request_socket();
  {
    const ScriptedCalls calls({.send = failing(ENOBUFS)});
    EXPECT_EQ(ENOBUFS, aaa_send_ipc_msg(pair_.own(), 0, "1test", 6));
  }
  EXPECT_EQ(EINVAL, send(LinkSocket::request));
}

TEST_F(LinkFrames, OnADescriptorThatAClientPutOnRecordAreWrittenAtOnce) {
  record_new_request_socket();
  aaa::store(g_aaa_client_cb.sync_fd, event_.own());
  EXPECT_FALSE(aaa::waits_for_register_request());
  EXPECT_EQ(0, send(LinkSocket::request));
  EXPECT_EQ(16u, event_.waiting_for_peer());
}

TEST_F(LinkFrames, OnAClientsDescriptorWithTheNumberOfAClosedOneAreWrittenAtOnce) {
  record_new_request_socket();
  close_request_socket();
  ASSERT_EQ(pair_.own(), dup2(event_.own(), pair_.own()));
  use_as_request_socket();
  EXPECT_EQ(0, send(LinkSocket::request));
  EXPECT_EQ(16u, event_.waiting_for_peer());
}

TEST_F(LinkFrames, OnAClosedDescriptorCannotBeWritten) {
  close_request_socket();
  EXPECT_EQ(-1, g_aaa_client_cb.sync_fd);
  EXPECT_EQ(EINVAL, send(LinkSocket::request));
  // For the fixture to close.
  ASSERT_EQ(pair_.own(), dup2(STDERR_FILENO, pair_.own()));
}

long most_resident_kilobytes() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// A header that claims 300 MB, with no body behind it, makes no memory resident.
TEST_F(LinkFrames, AMessageThatFailsIsWipedAsFarAsItCame) {
  pair_.peer_writes(word_bytes({0x01010101, 0, 3, 300 << 20}) + "beginning");
  pair_.close_peer();
  const long before = most_resident_kilobytes();
  EXPECT_EQ(nullptr, aaa_recv_ipc_msg_from_sd(pair_.own()));
  EXPECT_LT(most_resident_kilobytes() - before, 150 << 10);
}

}  // namespace test::link_frames
