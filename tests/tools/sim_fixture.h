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
  RawClient client_ = register_client();
};

}  // namespace aaa_sim_test
