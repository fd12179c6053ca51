// aaad-sim with RADIUS servers behind it, as its users start it.
#pragma once

#include <memory>

#include "real/freeradius.h"

namespace real_test {

struct RadiusServer {
  std::string auth_port;
  std::string acct_port;
  std::string secret = FreeRadius::kSecret;
};

struct RadiusFile {
  std::vector<RadiusServer> servers;
  unsigned timeout_ms = 1000;
  unsigned tries = 3;
  std::string dynamic_authorization_port = {};  // empty: none
};

inline RadiusServer server_of(const FreeRadius& server) {
  return {server.auth_port(), server.acct_port()};
}

inline void write_radius_file(const std::string& path, const RadiusFile& settings) {
  std::ofstream file(path);
  file << "nas_identifier = \"real-test\"\n"
       << "timeout = " << settings.timeout_ms << "\ntries = " << settings.tries << "\n";
  for (const RadiusServer& server : settings.servers)
    file << "[[server]]\naddress = \"127.0.0.1\"\nauthentication_port = " << server.auth_port
         << "\naccounting_port = " << server.acct_port << "\nsecret = \"" << server.secret
         << "\"\n";
  if (!settings.dynamic_authorization_port.empty())
    file << "[dynamic_authorization]\nport = " << settings.dynamic_authorization_port
         << "\nsecret = \"" << FreeRadius::kSecret << "\"\n";
}

// Its clients' directory is a temporary one of its own.
class RadiusSim {
 public:
  explicit RadiusSim(const RadiusFile& settings) {
    write_radius_file(directory() + "/radius.toml", settings);
    start();
  }

  void start() {
    program_ = std::make_unique<Process>(
        std::vector<std::string>{AAAD_SIM_PROGRAM, "--directory", directory(), "--radius",
                                 directory() + "/radius.toml"},
        directory() + "/aaad-sim.log");
    program_->prints("listening");
  }
  void stop() { program_->stop(); }

  const std::string& directory() const { return directory_.path(); }
  std::string log() const { return program_->output(); }

 private:
  test::TemporaryDirectory directory_;
  std::unique_ptr<Process> program_;
};

}  // namespace real_test
