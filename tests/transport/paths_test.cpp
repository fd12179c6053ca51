// Paths and directories below TMPDIR.
#include "transport/base/paths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "support/library_test.h"

namespace {

namespace fs = std::filesystem;

class Paths : public test::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    old_directory_ = fs::current_path();
  }
  void TearDown() override {
    fs::current_path(old_directory_);
    LibraryTest::TearDown();
  }

  std::string make_path(const std::string& suffix, std::size_t size) {
    char buffer[256] = "untouched";
    result_ = aaa_make_path(buffer, suffix.c_str(), static_cast<std::uint32_t>(size));
    return buffer;
  }
  static bool is_directory(const std::string& path) { return fs::is_directory(path); }

  std::int32_t result_ = -1;

 private:
  fs::path old_directory_;
};

TEST_F(Paths, APathIsTmpdirFollowedByTheSuffix) {
  setenv("TMPDIR", "/some/where/", 1);
  EXPECT_EQ("/some/where//x", make_path("/x", 100));
  EXPECT_EQ(1, result_);
}

TEST_F(Paths, AnEmptyTmpdirIsATmpdir) {
  setenv("TMPDIR", "", 1);
  EXPECT_EQ("/x", make_path("/x", 100));
  EXPECT_EQ(1, result_);
}

TEST_F(Paths, WithoutTmpdirThereIsNoPath) {
  unsetenv("TMPDIR");
  EXPECT_EQ("untouched", make_path("/x", 100));
  EXPECT_EQ(0, result_);
}

TEST_F(Paths, APathMustStayBelowTheSizeOfTheBuffer) {
  setenv("TMPDIR", "/1234", 1);
  EXPECT_EQ("/1234/6789", make_path("/6789", 11));
  EXPECT_EQ(1, result_);
  EXPECT_EQ("untouched", make_path("/6789", 10));
  EXPECT_EQ(0, result_);
  EXPECT_EQ("untouched", make_path("/6789", 0));
  EXPECT_EQ(0, result_);
}

TEST_F(Paths, EveryMissingDirectoryIsMade) {
  EXPECT_EQ(0, aaa_make_dir((directory() + "/a/b/c").c_str()));
  EXPECT_TRUE(is_directory(directory() + "/a/b/c"));
}

TEST_F(Paths, NewDirectoriesHaveMode777UnderTheMaskOfTheProcess) {
  const mode_t mask = umask(027);
  EXPECT_EQ(0, aaa_make_dir((directory() + "/a").c_str()));
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(0, stat((directory() + "/a").c_str(), &status));
  EXPECT_EQ(0750u, status.st_mode & 0777u);
}

TEST_F(Paths, DirectoriesThatExistAreNoFailure) {
  EXPECT_EQ(0, aaa_make_dir((directory() + "/a").c_str()));
  EXPECT_EQ(0, aaa_make_dir((directory() + "/a/b").c_str()));
  EXPECT_EQ(0, aaa_make_dir((directory() + "/a/b").c_str()));
}

TEST_F(Paths, RepeatedAndTrailingSlashesDoNotMatter) {
  EXPECT_EQ(0, aaa_make_dir((directory() + "//a///b/").c_str()));
  EXPECT_TRUE(is_directory(directory() + "/a/b"));
  EXPECT_EQ(0, aaa_make_dir("/"));
}

TEST_F(Paths, ANullPathIsABadArgument) {
  EXPECT_EQ(22, aaa_make_dir(nullptr));
}

TEST_F(Paths, ADotPathIsBelowTheCurrentDirectory) {
  fs::current_path(directory());
  EXPECT_EQ(0, aaa_make_dir("./a/b"));
  EXPECT_TRUE(is_directory(directory() + "/a/b"));
}

TEST_F(Paths, OtherRelativePathsAreRefused) {
  fs::current_path(directory());
  EXPECT_EQ(-1, aaa_make_dir("relative/dir"));
  EXPECT_EQ(-1, aaa_make_dir("../x"));
  EXPECT_EQ(-1, aaa_make_dir(".x/y"));
  EXPECT_EQ(-1, aaa_make_dir("./"));
  EXPECT_EQ(-1, aaa_make_dir("."));
  EXPECT_EQ(-1, aaa_make_dir(""));
  EXPECT_TRUE(fs::is_empty(directory()));
}

TEST_F(Paths, TheErrorOfMkdirIsReturned) {
  std::ofstream(directory() + "/file") << "x";
  EXPECT_EQ(20, aaa_make_dir((directory() + "/file/below").c_str()));
}

TEST_F(Paths, AnAbsolutePathIsCutAt255Characters) {
  const std::string cut = directory() + "/a" + std::string(253 - directory().size(), '/');
  ASSERT_EQ(255u, cut.size());
  EXPECT_EQ(0, aaa_make_dir((cut + "b").c_str()));
  EXPECT_TRUE(is_directory(directory() + "/a"));
  EXPECT_FALSE(is_directory(directory() + "/a/b"));
}

TEST_F(Paths, APrefixMayHave255CharactersWithItsSlash) {
  const std::string longest = directory() + "/" + std::string(253 - directory().size(), 'x');
  ASSERT_EQ(254u, longest.size());
  EXPECT_EQ(0, aaa_make_dir(longest.c_str()));
  EXPECT_TRUE(is_directory(longest));
  EXPECT_EQ(-1, aaa_make_dir((directory() + "/" + std::string(200, 'y') + "/" +
                              std::string(53 - directory().size(), 'z'))
                                 .c_str()));
  EXPECT_TRUE(is_directory(directory() + "/" + std::string(200, 'y')));
}

TEST_F(Paths, ADotPathAndItsDirectoryTogetherMayHave255Characters) {
  fs::current_path(directory());
  std::string path = "./a";
  path.append(255 - directory().size() - path.size(), '/');
  EXPECT_EQ(0, aaa_make_dir(path.c_str()));
  EXPECT_TRUE(is_directory(directory() + "/a"));
  fs::remove(directory() + "/a");
  EXPECT_EQ(-1, aaa_make_dir((path + "/").c_str()));
  EXPECT_FALSE(is_directory(directory() + "/a"));
}

TEST_F(Paths, ADotPathNeedsACurrentDirectoryThatFits128Bytes) {
  const std::string deep = directory() + "/" + std::string(127 - directory().size(), 'd');
  ASSERT_EQ(128u, deep.size());
  fs::create_directory(deep);
  fs::current_path(deep);
  EXPECT_EQ(-1, aaa_make_dir("./a"));
  EXPECT_FALSE(is_directory(deep + "/a"));
}

TEST_F(Paths, ADotPathNeedsACurrentDirectory) {
  fs::create_directory(directory() + "/gone");
  fs::current_path(directory() + "/gone");
  fs::remove(directory() + "/gone");
  EXPECT_EQ(-1, aaa_make_dir("./a"));
}

TEST_F(Paths, TheWorkDirectoryIsOpenToEverybodyWhateverTheMask) {
  const mode_t mask = umask(077);
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  umask(mask);
  struct stat status = {};
  ASSERT_EQ(0, stat((directory() + "/security/aaa").c_str(), &status));
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(0777u, status.st_mode & 07777u);
}

TEST_F(Paths, TheWorkDirectoryMayExist) {
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  chmod((directory() + "/security/aaa").c_str(), 0700);
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  struct stat status = {};
  ASSERT_EQ(0, stat((directory() + "/security/aaa").c_str(), &status));
  EXPECT_EQ(0777u, status.st_mode & 0777u);
}

TEST_F(Paths, TheWorkDirectoryNeedsTmpdir) {
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
}

TEST_F(Paths, TheWorkDirectoryNeedsAPathBelow256Characters) {
  setenv("TMPDIR", ("/" + std::string(242, 'x')).c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
  EXPECT_FALSE(is_directory("/" + std::string(242, 'x')));
}

TEST_F(Paths, TheWorkDirectoryFailsWhenItCannotBeMade) {
  std::ofstream(directory() + "/security") << "x";
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
}

TEST_F(Paths, TheWorkDirectoryFailsWhenItCannotBeOpenedToEverybody) {
  fs::create_directory(directory() + "/security");
  fs::create_symlink("nowhere", directory() + "/security/aaa");
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
}

}  // namespace
