// Two Ethernet interfaces, "port" and "host", that are the ends of one wire.
#pragma once

#include "real/namespace.h"
#include "real/process.h"
#include "support/temporary_directory.h"

namespace real_test {

class VethPair {
 public:
  VethPair() {
    is_up_ = ip({"link", "add", "port", "type", "veth", "peer", "name", "host"}) &&
             ip({"link", "set", "port", "up"}) && ip({"link", "set", "host", "up"});
  }
  ~VethPair() { ip({"link", "delete", "port"}); }
  VethPair(const VethPair&) = delete;
  VethPair& operator=(const VethPair&) = delete;

  // The one line to skip a test with before there is a pair; empty when one can be tried.
  static std::string missing() {
    const std::string program = missing_program({"ip"});
    return program.empty() ? missing_namespace() : program;
  }
  bool is_up() const { return is_up_; }

  // As an administrator would: up or down.
  bool set_port(const std::string& state) const { return ip({"link", "set", "port", state}); }

 private:
  bool ip(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "ip");
    return Process(arguments, directory_.path() + "/ip.log").exit_status() == 0;
  }

  test::TemporaryDirectory directory_;
  bool is_up_ = false;
};

}  // namespace real_test
