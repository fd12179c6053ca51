// Programs that use PAM, under libpam_wrapper with a configuration of their own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/child_program.h"

namespace pam_test {

// Sets up what the wrapped programs of one user need, in a directory of that user. The module and
// its libraries are copied there: the user need not be able to enter the build's directory.
class WrappedPrograms {
 public:
  // As root: the programs run as nobody, since sshd would want more of the system as root.
  WrappedPrograms();
  ~WrappedPrograms();
  WrappedPrograms(const WrappedPrograms&) = delete;
  WrappedPrograms& operator=(const WrappedPrograms&) = delete;

  const std::string& directory() const { return directory_; }
  // Of aaad's sockets; belongs to the user.
  std::string aaad_directory() const { return directory_ + "/aaad"; }
  uid_t uid() const { return uid_; }

  // Lines of the module for these groups, for a program that calls itself `service`.
  void configure(const std::string& service, const std::vector<std::string>& groups,
                 const std::string& options);
  void write(const std::string& name, const std::string& text, mode_t mode = 0644);

  // Arguments of /usr/bin/setpriv that run a command as the user. It dies with the test.
  std::vector<std::string> command(std::vector<std::string> program) const;

 private:
  void give(const std::string& path, mode_t mode) const;
  void copy(const std::string& file);

  uid_t uid_;
  gid_t gid_;
  std::string directory_;
};

// Runs /usr/bin/setpriv with these arguments.
inline constexpr char kSetpriv[] = "/usr/bin/setpriv";

}  // namespace pam_test
