#include "pam/wrapped_program.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/eventually.h"

namespace pam_test {
namespace {

constexpr uid_t kNobody = 65534;

std::string contents(const std::filesystem::path& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

// The wrapper of a process copies the configuration into a directory "/tmp/pam.<letter>".
bool is_made_from(const std::filesystem::path& copies, const std::string& directory) {
  if (!copies.filename().string().starts_with("pam.")) return false;
  std::error_code ignored;
  for (const auto& copy : std::filesystem::directory_iterator(copies, ignored)) {
    if (contents(copy.path()).find(directory) != std::string::npos) return true;
  }
  return false;
}

// A process that nobody has waited for yet has no command line either.
bool has_ended(const std::string& pid) {
  return contents("/proc/" + pid + "/cmdline").empty();
}

// It does not remove them when the process ends by _exit(), as those of sshd do.
void remove_copies_of(const std::string& directory) {
  std::error_code ignored;
  for (const auto& copies : std::filesystem::directory_iterator("/tmp", ignored)) {
    if (!is_made_from(copies.path(), directory)) continue;
    const std::string pid = contents(copies.path() / "pid");
    EXPECT_TRUE(test::eventually([&] { return has_ended(pid); })) << pid << " does not end";
    std::filesystem::remove_all(copies.path(), ignored);
  }
}

}  // namespace

WrappedPrograms::WrappedPrograms()
    : uid_(::geteuid() == 0 ? kNobody : ::geteuid()),
      gid_(::geteuid() == 0 ? kNobody : ::getegid()) {
  char name[] = "/tmp/aaa_XXXXXX";
  directory_ = ::mkdtemp(name);
  give(directory_, 0755);
  for (const char* part : {"/aaad", "/aaad/security", "/aaad/security/aaa", "/pam.d", "/home"}) {
    std::filesystem::create_directory(directory_ + part);
    give(directory_ + part, 0755);
  }
  for (const char* file : {AAA_PAM_MODULE, AAA_PAM_LIBRARIES})
    copy(file);
  write("passwd", "alice:x:" + std::to_string(uid_) + ":" + std::to_string(gid_) +
                      ":Alice:" + directory_ + "/home:/bin/sh\n");
  write("group", "alice:x:" + std::to_string(gid_) + ":\n");
}

WrappedPrograms::~WrappedPrograms() {
  remove_copies_of(directory_);
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

void WrappedPrograms::configure(const std::string& service, const std::vector<std::string>& groups,
                                const std::string& options) {
  std::string text;
  for (const std::string& group : groups)
    text += group + " required " + directory_ + "/pam_aaa.so directory=" + aaad_directory() +
            " aaad_uid=" + std::to_string(::geteuid()) + " " + options + "\n";
  write("pam.d/" + service, text);
}

void WrappedPrograms::write(const std::string& name, const std::string& text, mode_t mode) {
  std::ofstream(directory_ + "/" + name) << text;
  give(directory_ + "/" + name, mode);
}

std::vector<std::string> WrappedPrograms::command(std::vector<std::string> program) const {
  std::vector<std::string> all = {"--pdeathsig", "KILL"};
  if (::geteuid() == 0)
    all.insert(all.end(), {"--reuid", std::to_string(uid_), "--regid", std::to_string(gid_),
                           "--clear-groups"});
  all.insert(all.end(), {"/usr/bin/env", "LD_LIBRARY_PATH=" + directory_,
                         "LD_PRELOAD=libpam_wrapper.so libnss_wrapper.so", "PAM_WRAPPER=1",
                         "PAM_WRAPPER_SERVICE_DIR=" + directory_ + "/pam.d",
                         "NSS_WRAPPER_PASSWD=" + directory_ + "/passwd",
                         "NSS_WRAPPER_GROUP=" + directory_ + "/group"});
  all.insert(all.end(), program.begin(), program.end());
  return all;
}

void WrappedPrograms::give(const std::string& path, mode_t mode) const {
  EXPECT_EQ(::chmod(path.c_str(), mode), 0) << path;
  EXPECT_EQ(::chown(path.c_str(), uid_, gid_), 0) << path;
}

// Under the name by which it is loaded.
void WrappedPrograms::copy(const std::string& file) {
  const std::string target = directory_ + "/" + std::filesystem::path(file).filename().string();
  std::filesystem::copy_file(file, target);
  give(target, 0755);
}

}  // namespace pam_test
