// Files that say how servers are asked.
#include "backend/radius_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "support/temporary_directory.h"

namespace radius_test {
namespace {

using aaa_sim::load_radius;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class RadiusFileTest : public testing::Test {
 protected:
  const std::string& with(const std::string& content) {
    std::ofstream(path_) << content;
    return path_;
  }

  // The error without the path: "line: error".
  std::string error_of(const std::string& content) {
    try {
      load_radius(with(content));
    } catch (const std::runtime_error& error) {
      const std::string what = error.what();
      EXPECT_THAT(what, StartsWith(path_ + ":"));
      EXPECT_THAT(what, Not(HasSubstr("\n")));
      return what.substr(path_.size() + 1);
    }
    return "";
  }

  test::TemporaryDirectory directory_;
  const std::string path_ = directory_.path() + "/radius.toml";
};

TEST_F(RadiusFileTest, EveryKeyIsRead) {
  const auto settings = load_radius(
      with("nas_identifier = \"switch-1\"\nrequests = [\"accounting\"]\ntimeout = 500\ntries = 2\n"
           "pause = 5\nallow_unsigned_replies = true\n"
           "[[server]]\naddress = \"192.0.2.1\"\nauthentication_port = 1645\n"
           "accounting_port = 1646\nsecret = \"one\"\n"
           "[[server]]\naddress = \"2001:db8::1\"\nsecret = \"two\"\n"
           "[dynamic_authorization]\naddress = \"::\"\nport = 3799\nsecret = \"three\"\n"));
  EXPECT_EQ(settings.nas_identifier, "switch-1");
  EXPECT_FALSE(settings.authentication);
  EXPECT_TRUE(settings.accounting);
  EXPECT_EQ(settings.timeout, milliseconds(500));
  EXPECT_EQ(settings.tries, 2u);
  EXPECT_EQ(settings.pause, milliseconds(5000));
  EXPECT_TRUE(settings.allow_unsigned_replies);
  ASSERT_EQ(settings.servers.size(), 2u);
  EXPECT_EQ(settings.servers[0].host, "192.0.2.1");
  EXPECT_EQ(settings.servers[0].authentication_port, 1645);
  EXPECT_EQ(settings.servers[0].accounting_port, 1646);
  EXPECT_EQ(settings.servers[0].secret, "one");
  EXPECT_EQ(settings.servers[1].host, "2001:db8::1");
  EXPECT_EQ(settings.servers[1].secret, "two");
  EXPECT_EQ(settings.dynamic_authorization.address, "::");
  EXPECT_EQ(settings.dynamic_authorization.port, 3799);
  EXPECT_EQ(settings.dynamic_authorization.secret, "three");
}

TEST_F(RadiusFileTest, OneServerIsEnough) {
  const auto settings = load_radius(with("[[server]]\naddress = \"a\"\nsecret = \"s\"\n"));
  EXPECT_EQ(settings.nas_identifier, "aaad-sim");
  EXPECT_TRUE(settings.authentication);
  EXPECT_TRUE(settings.accounting);
  EXPECT_EQ(settings.timeout, milliseconds(1000));
  EXPECT_EQ(settings.tries, 3u);
  EXPECT_EQ(settings.pause, milliseconds(30000));
  EXPECT_FALSE(settings.allow_unsigned_replies);
  EXPECT_EQ(settings.servers[0].authentication_port, 1812);
  EXPECT_EQ(settings.servers[0].accounting_port, 1813);
  EXPECT_EQ(settings.dynamic_authorization.port, 0);
}

TEST_F(RadiusFileTest, ErrorsHaveTheirLine) {
  const std::string server = "[[server]]\naddress = \"a\"\nsecret = \"s\"\n";
  const std::pair<std::string, const char*> errors[] = {
      {"timeout = 5\n", "1: no [[server]]"},
      {"\ntimout = 5\n", "2: unknown key timout"},
      {"nas_identifier = 5\n", "1: nas_identifier is not a string"},
      {"nas_identifier = \"\"\n", "1: nas_identifier is empty"},
      {"nas_identifier = \"" + std::string(254, 'n') + "\"\n",
       "1: nas_identifier is longer than 253 bytes"},
      {"requests = \"all\"\n", "1: requests is not an array"},
      {"requests = [\n\"authorization\"]\n", "2: requests are authentication and accounting"},
      {"requests = [5]\n", "1: requests are authentication and accounting"},
      {"timeout = 0\n", "1: timeout is not a number from 1 to 60000"},
      {"timeout = 60001\n", "1: timeout is not a number from 1 to 60000"},
      {"timeout = 1.5\n", "1: timeout is not a number from 1 to 60000"},
      {"tries = 0\n", "1: tries is not a number from 1 to 10"},
      {"tries = 11\n", "1: tries is not a number from 1 to 10"},
      {"pause = -1\n", "1: pause is not a number from 0 to 3600"},
      {"pause = 3601\n", "1: pause is not a number from 0 to 3600"},
      {"allow_unsigned_replies = 1\n", "1: allow_unsigned_replies is not true or false"},
      {"\n[server]\naddress = \"a\"\n", "2: servers are [[server]] tables"},
      {"server = [5]\n", "1: not a [[server]] table"},
      {"\n[[server]]\naddress = \"a\"\n", "2: server without secret"},
      {"\n[[server]]\nsecret = \"s\"\n", "2: server without address"},
      {"[[server]]\naddress = \"\"\n", "2: address is empty"},
      {"[[server]]\nsecret = \"\"\n", "2: secret is empty"},
      {"[[server]]\nsecret = \"" + std::string(1025, 's') + "\"\n",
       "2: secret is longer than 1024 bytes"},
      {"[[server]]\nport = 5\n", "2: unknown key port"},
      {"[[server]]\nauthentication_port = 0\n",
       "2: authentication_port is not a number from 1 to 65535"},
      {"[[server]]\naccounting_port = 65536\n",
       "2: accounting_port is not a number from 1 to 65535"},
      {server + "[[dynamic_authorization]]\n", "4: not a [dynamic_authorization] table"},
      {server + "[dynamic_authorization]\nsecret = \"s\"\n",
       "4: dynamic_authorization without port"},
      {server + "[dynamic_authorization]\nport = 1\n", "4: dynamic_authorization without secret"},
      {server + "[dynamic_authorization]\nport = 0\n", "5: port is not a number from 1 to 65535"},
      {server + "[dynamic_authorization]\nprot = 0\n", "5: unknown key prot"},
  };
  for (const auto& [content, error] : errors)
    EXPECT_EQ(error_of(content), error) << content;
}

// What the parser says of a broken line is no part of the secret in it.
TEST_F(RadiusFileTest, ErrorsDoNotTellTheSecret) {
  for (const char* line :
       {"secret = hunter2\n", "secret = \"hunter2\n", "secret = 'hunter2\n",
        "secret = \"hun\\q2\"\n", "secret \"hunter2\"\n", "secret = \"hunter2\" hunter2\n",
        "secret = [\"hunter2\"]\n", "secret = \"a\"\nsecret = \"hunter2\"\n",
        "secret = 0xhunter2\n", "hunter2\n"}) {
    const std::string error = error_of(std::string("[[server]]\n") + line);
    EXPECT_THAT(error, Not(HasSubstr("hunter"))) << line;
    EXPECT_NE(error, "") << line;
  }
}

TEST_F(RadiusFileTest, MissingFileIsAnError) {
  EXPECT_THROW(load_radius(directory_.path() + "/none"), std::runtime_error);
}

}  // namespace
}  // namespace radius_test
