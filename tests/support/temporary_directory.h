// A directory that lasts as long as its owner.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace test {

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    char name[] = "/tmp/aaa_XXXXXX";
    path_ = ::mkdtemp(name);
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace test
