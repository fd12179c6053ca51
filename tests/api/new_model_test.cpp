// The new-model state in aaad's file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/linked_test.h"
#include "support/locked_state.h"

namespace test {
namespace {

class NewModel : public LinkedTest {
 protected:
  void SetUp() override {
    LinkedTest::SetUp();
    std::filesystem::create_directories(directory() + "/security/aaa");
  }
  void write_file(const std::string& content) const {
    std::ofstream(path_, std::ios::binary) << content;
  }
  // Logged only behind an open gate.
  static void expect_off_with_line(const std::string& message) {
    {
      const LogCapture closed;
      EXPECT_EQ(0u, aaa_get_new_model_from_file());
      EXPECT_TRUE(closed.lines().empty());
    }
    const OpenLog log;
    EXPECT_EQ(0u, aaa_get_new_model_from_file());
    log.expect_only("aaa_get_new_model_from_file", message);
  }

  const std::string path_ = directory() + "/security/aaa/.new_model";
};

TEST_F(NewModel, IsOffForAFirstByteOf0AndOnForAnyOtherWithoutALine) {
  g_aaa_status.new_model = 7;
  const OpenLog log;
  for (const char* content : {"0", "01", "0x", "0\n"}) {
    write_file(content);
    EXPECT_EQ(0u, aaa_get_new_model_from_file()) << content;
  }
  for (const std::string content : {"1", "x", " ", "10", " 0", "\n", "\xff"}) {
    write_file(content);
    EXPECT_EQ(1u, aaa_get_new_model_from_file()) << content;
  }
  write_file(std::string(1, '\0'));
  EXPECT_EQ(1u, aaa_get_new_model_from_file());
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(7u, g_aaa_status.new_model) << "the status word is left alone";
}

TEST_F(NewModel, NothingAfterTheFirstByteIsRead) {
  ASSERT_EQ(0, mkfifo(path_.c_str(), 0600));
  const int pipe = open(path_.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(2, ::write(pipe, "1y", 2));
  EXPECT_EQ(1u, aaa_get_new_model_from_file());
  char rest[2] = {};
  EXPECT_EQ(1, ::read(pipe, rest, 2));
  EXPECT_EQ('y', rest[0]);
  close(pipe);
}

TEST_F(NewModel, AMissingFileIsOffWithALine) {
  expect_off_with_line("aaalib open new model path error.\n\r\n");
}

TEST_F(NewModel, AFileThatIsEmptyOrCannotBeReadIsOffWithALine) {
  write_file("");
  expect_off_with_line("aaalib fail to read new model file.\n\r\n");
  std::filesystem::remove(path_);
  std::filesystem::create_directory(path_);
  expect_off_with_line("aaalib fail to read new model file.\n\r\n");
}

TEST_F(NewModel, APathThatCannotBeBuiltIsOffWithALine) {
  unsetenv("TMPDIR");
  expect_off_with_line("aaalib make new model path error.\n\r\n");
}

TEST_F(NewModel, APathMayHave255Characters) {
  // "/security/aaa/.new_model" has 24 characters.
  setenv("TMPDIR", std::string(232, 'd').c_str(), 1);
  expect_off_with_line("aaalib make new model path error.\n\r\n");
  setenv("TMPDIR", std::string(231, 'd').c_str(), 1);
  expect_off_with_line("aaalib open new model path error.\n\r\n");
}

TEST_F(NewModel, TheFileIsReadWithoutARegistration) {
  set_reg_state(AAA_REG_NOT_REGISTERED);
  write_file("1");
  const OpenLog log;
  EXPECT_EQ(1u, aaa_get_new_model_from_file());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(NewModel, SynchronisingStoresWhatTheFileSaysAnd0WithoutIt) {
  g_aaa_status.new_model = 7;
  write_file("x");
  EXPECT_EQ(1u, aaa_get_new_model_status_syn());
  EXPECT_EQ(1u, g_aaa_status.new_model);
  write_file("0");
  EXPECT_EQ(0u, aaa_get_new_model_status_syn());
  EXPECT_EQ(0u, g_aaa_status.new_model);
  g_aaa_status.new_model = 1;
  std::filesystem::remove(path_);
  EXPECT_EQ(0u, aaa_get_new_model_status_syn());
  EXPECT_EQ(0u, g_aaa_status.new_model);
}

TEST_F(NewModel, SynchronisingWhileNotRegisteredGives0AndTouchesNothing) {
  g_aaa_status.new_model = 7;
  write_file("1");
  set_reg_state(AAA_REG_LOST);
  EXPECT_EQ(0u, aaa_get_new_model_status_syn());
  EXPECT_EQ(7u, g_aaa_status.new_model);
}

}  // namespace
}  // namespace test
