// A running simulator in a directory of its own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "aaad_sim.h"
#include "support/encoded_body.h"
#include "support/temporary_directory.h"
#include "tools/raw_client.h"

namespace aaa_sim_test {

using aaa_sim::Fault;
using aaa_sim::received;
using aaa_sim::Role;
using aaa_sim::sent;
using aaa_sim::Settings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class SimTest : public testing::Test {
 protected:
  SimTest() { sim_.start(); }

  RawConnection connect() { return RawConnection(sim_.socket_path()); }
  RawClient register_client(const std::string& model = "netd") {
    return RawClient(sim_.socket_path(), model);
  }

  test::TemporaryDirectory directory_;
  aaa_sim::AaadSim sim_{directory_.path()};
};

// With a registered client of the model "netd".
class ClientTest : public SimTest {
 protected:
  // The answer on the request connection, header included.
  std::string ask(std::uint32_t type, const std::string& body, std::uint32_t id = 0) {
    client_.request.send(message_with_id(id, type, body));
    return client_.request.receive_message();
  }

  // Sends a message without an answer, and waits until it has arrived.
  void tell(std::uint32_t type, const std::string& body = "", std::uint32_t id = 0) {
    const std::size_t before = sim_.count(received(type));
    client_.request.send(message_with_id(id, type, body));
    EXPECT_TRUE(sim_.wait_for_message(received(type), sim_.kTimeout, before));
  }

  RawClient client_ = register_client();
};

// The body of an authentication request.
inline std::string login(const std::string& name, const std::string& password) {
  authen_info record = {};
  record.session_id = 7;
  name.copy(record.chars65_a, sizeof record.chars65_a - 1);
  record.user_password = test::record_item(password);
  return test::encoded_body(aaa_encap_authen_info, record);
}

}  // namespace aaa_sim_test
