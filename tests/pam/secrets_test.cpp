// No copy of a password is left in the process.
#include <gmock/gmock.h>
#include <security/pam_appl.h>

#include <cstdlib>
#include <cstring>
#include <fstream>

#include "support/child_program.h"
#include "support/temporary_directory.h"

namespace pam_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The password appears in this program encoded only.
constexpr char kEncoded[] =
    "\x16\x0f\x3c\x44\x2d\x6a\x55\x6a\x16\x0c\x2d\x55\x5b\x2d\x6a\x3c\x3c\x6a\x5b\x6a\x55\x3c\x2d"
    "\x0c"
    "\x6a\x5b\x44\x44\x0c\x2d\x0c\x0c\x3c\x2d\x5b\x2d\x55\x0f\x71\x3c\x0f\x55\x6a\x0c\x71\x55\x44"
    "\x0f";
constexpr std::size_t kSize = sizeof kEncoded - 1;
constexpr char kMask = 0x42;

// Memory that is freed loses its first bytes, so the end of the password is looked for.
constexpr std::size_t kLost = 16;

bool is_end_of_password(const char* at) {
  for (std::size_t i = kLost; i < kSize; ++i) {
    if ((at[i - kLost] ^ kMask) != kEncoded[i]) return false;
  }
  return true;
}

bool has_copy(unsigned long first, unsigned long last) {
  for (unsigned long at = first; at + kSize - kLost <= last; ++at) {
    if (is_end_of_password(reinterpret_cast<const char*>(at))) return true;
  }
  return false;
}

// The parts of the memory that the process can write to which hold copies.
std::vector<std::string> parts_with_copies() {
  std::vector<std::string> parts;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    unsigned long first = 0;
    unsigned long last = 0;
    char rights[5] = "";
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &first, &last, rights) == 3 &&
        std::string(rights).starts_with("rw") && has_copy(first, last))
      parts.push_back(line);
  }
  return parts;
}

// Answers every question with the password, which then belongs to libpam.
int answer_with_password(int count, const pam_message** messages, pam_response** responses, void*) {
  auto* all = static_cast<pam_response*>(
      std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
  for (int i = 0; i < count; ++i) {
    const int style = messages[i]->msg_style;
    if (style != PAM_PROMPT_ECHO_OFF && style != PAM_PROMPT_ECHO_ON) continue;
    all[i].resp = static_cast<char*>(std::calloc(kSize + 1, 1));
    for (std::size_t j = 0; j < kSize; ++j)
      all[i].resp[j] = static_cast<char>(kEncoded[j] ^ kMask);
  }
  *responses = all;
  return PAM_SUCCESS;
}

// The simulator is a process of its own: it keeps what it receives.
class SecretsTest : public testing::Test {
 protected:
  SecretsTest() {
    std::ofstream(directory_.path() + "/users") << "[[user]]\n"
                                                   "name = \"carol\"\n"
                                                   "password = \"another\"\n"
                                                   "result = \"challenge\"\n"
                                                   "reply_message = \"Token: \"\n"
                                                   "state = \"step-2\"\n";
    std::ofstream(directory_.path() + "/test")
        << "auth required " AAA_PAM_MODULE " nodelay timeout=10 directory=" << directory_.path()
        << " aaad_uid=" << ::geteuid() << "\npassword required " AAA_PAM_MODULE
        << " timeout=10 directory=" << directory_.path() << " aaad_uid=" << ::geteuid() << "\n";
    sim_.emplace(AAAD_SIM_PROGRAM,
                 std::vector<std::string>{"--directory", directory_.path(), "--quiet", "--users",
                                          directory_.path() + "/users"},
                 "");
    EXPECT_THAT(sim_->output_line(), HasSubstr("listening"));
  }

  int call(const char* user, int (*function)(pam_handle_t*, int)) {
    const pam_conv functions{answer_with_password, nullptr};
    pam_handle_t* pam = nullptr;
    EXPECT_EQ(::pam_start_confdir("test", user, &functions, directory_.path().c_str(), &pam),
              PAM_SUCCESS);
    const int result = function(pam, 0);
    ::pam_end(pam, result);
    return result;
  }

  test::TemporaryDirectory directory_;
  std::optional<test::ChildProgram> sim_;
};

TEST_F(SecretsTest, AreFoundByThisTest) {
  char copy[kSize];
  for (std::size_t i = 0; i < kSize; ++i)
    copy[i] = static_cast<char>(kEncoded[i] ^ kMask);
  EXPECT_THAT(parts_with_copies(), ElementsAre(HasSubstr("[stack]")));
  ::explicit_bzero(copy, sizeof copy);
  EXPECT_THAT(parts_with_copies(), IsEmpty());
}

TEST_F(SecretsTest, AreWipedAfterALogin) {
  EXPECT_EQ(call("alice", ::pam_authenticate), PAM_AUTH_ERR);
  EXPECT_THAT(parts_with_copies(), IsEmpty());
}

TEST_F(SecretsTest, AreWipedAfterAnAnswerToAChallenge) {
  EXPECT_EQ(call("carol", ::pam_authenticate), PAM_AUTH_ERR);
  EXPECT_THAT(parts_with_copies(), IsEmpty());
}

TEST_F(SecretsTest, AreWipedAfterAChangeOfPassword) {
  EXPECT_EQ(call("dave", ::pam_chauthtok), PAM_AUTH_ERR);
  EXPECT_THAT(parts_with_copies(), IsEmpty());
}

}  // namespace
}  // namespace pam_test
