// Paths and directories below TMPDIR.
#include "transport/base/paths.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "support/library_test.h"

namespace test::paths {

namespace fs = std::filesystem;

class Paths : public LibraryTest {
 protected:
  ~Paths() override { fs::current_path(old_directory_); }

  // Expects a result and what the buffer then holds.
  static void expect_path(int result, const std::string& path, const char* suffix,
                          std::uint32_t size = 100) {
    char buffer[256] = "untouched";
    EXPECT_EQ(result, aaa_make_path(buffer, suffix, size));
    EXPECT_EQ(path, buffer);
  }
  // Makes a directory below the test's own; the path is taken as it is.
  std::int32_t make_dir(const std::string& below) {
    return aaa_make_dir((directory() + below).c_str());
  }
  bool is_directory(const std::string& below) const {
    return fs::is_directory(directory() + below);
  }
  mode_t mode(const std::string& below) const {
    struct stat status = {};
    EXPECT_EQ(0, stat((directory() + below).c_str(), &status));
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    return status.st_mode & 07777u;
  }
  // Fills a path below the test's directory up to a length.
  std::string filled_to(std::size_t length, char letter) const {
    const std::string begin = directory() + "/";
    return begin + std::string(length - begin.size(), letter);
  }

 private:
  fs::path old_directory_ = fs::current_path();
};

TEST_F(Paths, APathIsTmpdirFollowedByTheSuffix) {
  setenv("TMPDIR", "/some/where/", 1);
  expect_path(1, "/some/where//x", "/x");
  setenv("TMPDIR", "", 1);
  expect_path(1, "/x", "/x");
  unsetenv("TMPDIR");
  expect_path(0, "untouched", "/x");
}

TEST_F(Paths, APathMustStayBelowTheSizeOfTheBuffer) {
  setenv("TMPDIR", "/1234", 1);
  expect_path(1, "/1234/6789", "/6789", 11);
  expect_path(0, "untouched", "/6789", 10);
  expect_path(0, "untouched", "/6789", 0);
}

TEST_F(Paths, APathNeedsABufferAndASuffix) {
  EXPECT_EQ(0, aaa_make_path(nullptr, "/x", 32));
  expect_path(0, "untouched", nullptr, 32);
}

TEST_F(Paths, EveryMissingDirectoryIsMadeWithMode777UnderTheMaskOfTheProcess) {
  const mode_t mask = umask(027);
  EXPECT_EQ(0, make_dir("/a/b/c"));
  umask(mask);
  EXPECT_EQ(0750u, mode("/a"));
  EXPECT_EQ(0750u, mode("/a/b/c"));
}

TEST_F(Paths, DirectoriesThatExistAreNoFailure) {
  for (const char* const path : {"/a", "/a/b", "/a/b"})
    EXPECT_EQ(0, make_dir(path));
  EXPECT_EQ(0, aaa_make_dir("/"));
}

TEST_F(Paths, RepeatedAndTrailingSlashesDoNotMatter) {
  EXPECT_EQ(0, make_dir("//a///b/"));
  EXPECT_TRUE(is_directory("/a/b"));
}

TEST_F(Paths, ANullPathIsABadArgument) {
  EXPECT_EQ(22, aaa_make_dir(nullptr));
}

TEST_F(Paths, ADotPathIsBelowTheCurrentDirectoryAndOtherRelativeOnesAreRefused) {
  fs::current_path(directory());
  for (const char* const path : {"relative/dir", "../x", ".x/y", "./", ".", ""})
    EXPECT_EQ(-1, aaa_make_dir(path)) << path;
  EXPECT_TRUE(fs::is_empty(directory()));
  EXPECT_EQ(0, aaa_make_dir("./a/b"));
  EXPECT_TRUE(is_directory("/a/b"));
}

TEST_F(Paths, TheErrorOfMkdirIsReturned) {
  std::ofstream(directory() + "/file") << "x";
  EXPECT_EQ(20, make_dir("/file/below"));
}

TEST_F(Paths, AnAbsolutePathIsCutAt255Characters) {
  const std::string cut = directory() + "/a" + std::string(253 - directory().size(), '/');
  ASSERT_EQ(255u, cut.size());
  EXPECT_EQ(0, aaa_make_dir((cut + "b").c_str()));
  EXPECT_TRUE(is_directory("/a"));
  EXPECT_FALSE(is_directory("/a/b"));
}

TEST_F(Paths, APrefixMayHave255CharactersWithItsSlash) {
  const std::string longest = filled_to(254, 'x');
  EXPECT_EQ(0, aaa_make_dir(longest.c_str()));
  EXPECT_TRUE(fs::is_directory(longest));
  const std::string first = "/" + std::string(200, 'y');
  EXPECT_EQ(-1, make_dir(first + "/" + std::string(53 - directory().size(), 'z')));
  EXPECT_TRUE(is_directory(first));
}

TEST_F(Paths, ADotPathAndItsDirectoryTogetherMayHave255Characters) {
  fs::current_path(directory());
  std::string path = "./a";
  path.append(255 - directory().size() - path.size(), '/');
  EXPECT_EQ(0, aaa_make_dir(path.c_str()));
  EXPECT_TRUE(is_directory("/a"));
  fs::remove(directory() + "/a");
  EXPECT_EQ(-1, aaa_make_dir((path + "/").c_str()));
  EXPECT_FALSE(is_directory("/a"));
}

TEST_F(Paths, ADotPathNeedsACurrentDirectoryThatFits128Bytes) {
  const std::string deep = filled_to(128, 'd');
  fs::create_directory(deep);
  fs::current_path(deep);
  EXPECT_EQ(-1, aaa_make_dir("./a"));
  EXPECT_FALSE(fs::is_directory(deep + "/a"));
  fs::remove(deep);
  EXPECT_EQ(-1, aaa_make_dir("./a")) << "there is none";
}

TEST_F(Paths, TheWorkDirectoryIsOpenToEverybodyWhateverTheMaskAndTheModeOfBefore) {
  const mode_t mask = umask(077);
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  umask(mask);
  EXPECT_EQ(0777u, mode("/security/aaa"));
  chmod((directory() + "/security/aaa").c_str(), 0700);
  EXPECT_EQ(0, aaa_lib_make_work_dir());
  EXPECT_EQ(0777u, mode("/security/aaa"));
}

TEST_F(Paths, TheWorkDirectoryNeedsTmpdirAndAPathBelow256Characters) {
  unsetenv("TMPDIR");
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
  const std::string longer = "/" + std::string(242, 'x');
  setenv("TMPDIR", longer.c_str(), 1);
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
  EXPECT_FALSE(fs::is_directory(longer));
}

TEST_F(Paths, TheWorkDirectoryFailsWhenItCannotBeMadeOrOpenedToEverybody) {
  std::ofstream(directory() + "/security") << "x";
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
  fs::remove(directory() + "/security");
  fs::create_directory(directory() + "/security");
  fs::create_symlink("nowhere", directory() + "/security/aaa");
  EXPECT_EQ(-1, aaa_lib_make_work_dir());
}

}  // namespace test::paths
