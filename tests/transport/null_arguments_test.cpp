// Null pointers given to the working parts.
#include <gmock/gmock.h>

#include <cerrno>

#include "support/library_test.h"
#include "support/scripted_calls.h"

namespace {

class NullArguments : public test::LibraryTest {
 protected:
  test::LogCapture log_;
};

TEST_F(NullArguments, APathNeedsABufferAndASuffix) {
  char buffer[32] = "untouched";
  EXPECT_EQ(0, aaa_make_path(nullptr, "/x", 32));
  EXPECT_EQ(0, aaa_make_path(buffer, nullptr, 32));
  EXPECT_STREQ("untouched", buffer);
}

TEST_F(NullArguments, AConnectionNeedsAName) {
  const test::OpenGate gate;
  const test::ScriptedCalls calls({.socket = [](int, int) { return ADD_FAILURE(), -1; }});
  EXPECT_EQ(-1, aaa_lib_client_connect(nullptr));
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(NullArguments, AMutexThatIsNotThereIsABadArgument) {
  EXPECT_EQ(22, aaa_lib_recursive_mutex_init(nullptr));
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(NullArguments, AMessageIsBuiltWithoutTellingItsLength) {
  aaa_ipc_header* const message = aaa_init_msg(103, 7, "body", 4, nullptr);
  ASSERT_NE(nullptr, message);
  EXPECT_EQ(std::string("\x01\x01\x01\x01\x07\0\0\0\x67\0\0\0\x04\0\0\0body", 20),
            std::string(reinterpret_cast<const char*>(message), 20));
  aaa_free(0, "", message);
}

TEST_F(NullArguments, AThreadKeepsItsName) {
  const test::OpenGate gate;
  set_thread_name(nullptr);
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

}  // namespace
