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
  // A path of `size` bytes below it.
  std::string path_of_size(std::size_t size) const {
    return path_ + "/" + std::string(size - path_.size() - 1, 'd');
  }

 private:
  std::string path_;
};

}  // namespace test
