// Directories in which clients can work.
#include "work_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/temporary_directory.h"

namespace aaa_sim_test {
namespace {

using aaa_sim::fault_of_directory;
using testing::Optional;

TEST(WorkDirectoryTest, AbsoluteNamesAndThoseBelowTheCurrentDirectoryAreTaken) {
  for (const char* directory : {"/tmp", "/", "", "./a", "./", "."})
    EXPECT_EQ(fault_of_directory(directory), std::nullopt) << directory;
}

TEST(WorkDirectoryTest, OtherNamesAreNot) {
  for (const char* directory : {"a", "a/b", "..", "../a", "~", ".a"})
    EXPECT_THAT(fault_of_directory(directory), Optional(std::string("must begin with / or ./")))
        << directory;
}

TEST(WorkDirectoryTest, SocketNamesNeedRoomBehindIt) {
  EXPECT_EQ(fault_of_directory("/" + std::string(71, 'd')), std::nullopt);
  EXPECT_THAT(fault_of_directory("/" + std::string(72, 'd')),
              Optional(std::string("is 73 bytes long, socket names leave room for 69")));
}

TEST(WorkDirectoryTest, RelativeNameNeedsAShortCurrentDirectory) {
  const test::TemporaryDirectory directory;
  const auto before = std::filesystem::current_path();
  const auto longest = directory.path() + "/" + std::string(126 - directory.path().size(), 'd');
  for (const std::string& current : {longest, longest + "d"}) {
    std::filesystem::create_directory(current);
    std::filesystem::current_path(current);
    EXPECT_EQ(fault_of_directory("./a").has_value(), current.size() == 128) << current.size();
    EXPECT_EQ(fault_of_directory("/a"), std::nullopt);
  }
  std::filesystem::current_path(before);
}

}  // namespace
}  // namespace aaa_sim_test
