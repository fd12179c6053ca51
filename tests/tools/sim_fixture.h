// A running simulator in a directory of its own.
#pragma once

#include <gtest/gtest.h>

#include "aaad_sim.h"
#include "raw_connection.h"
#include "support/temporary_directory.h"

namespace aaa_sim_test {

using aaa_sim::Fault;
using aaa_sim::received;
using aaa_sim::Role;
using aaa_sim::sent;
using aaa_sim::Settings;

class SimTest : public testing::Test {
 protected:
  SimTest() { sim_.start(); }

  RawConnection connect() { return RawConnection(sim_.socket_path()); }
  RawClient register_client(std::string_view model = "netd") {
    return RawClient(sim_.socket_path(), model);
  }

  test::TemporaryDirectory directory_;
  aaa_sim::AaadSim sim_{directory_.path()};
};

// With a client of the model "netd" registered.
class ClientTest : public SimTest {
 protected:
  // The answer, header and all, on the request connection.
  Bytes ask(std::uint8_t type, const Bytes& body, std::uint8_t id = 0) {
    client_.request.send(framed(type, body, id));
    return client_.request.receive_message();
  }

  // Sends what has no answer, and waits until it has arrived.
  void tell(std::uint8_t type, const Bytes& body, std::uint8_t id = 0) {
    const std::size_t before = sim_.count(received(type));
    client_.request.send(framed(type, body, id));
    EXPECT_TRUE(sim_.wait_for_message(received(type), sim_.kPatience, before));
  }

  RawClient client_ = register_client();
};

}  // namespace aaa_sim_test
