// FreeRADIUS with the configuration in freeradius/, on ports and in a directory of its own.
#pragma once

#include <map>
#include <memory>

#include "real/ports.h"
#include "real/process.h"
#include "support/temporary_directory.h"

namespace real_test {

// Attributes by name, with the values as FreeRADIUS prints them, without quotes.
using Record = std::map<std::string, std::string>;

// The records of a detail file.
inline std::vector<Record> records_in(const std::string& path) {
  std::vector<Record> records;
  std::ifstream file(path);
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find(" = ");
    if (line.empty()) {
      inside = false;
    } else if (!inside) {
      records.emplace_back();
      inside = true;
    } else if (line.front() == '\t' && equals != std::string::npos) {
      std::string value = line.substr(equals + 3);
      if (value.size() >= 2 && value.front() == '"') value = value.substr(1, value.size() - 2);
      records.back()[line.substr(1, equals - 1)] = value;
    }
  }
  return records;
}

class FreeRadius {
 public:
  static constexpr const char* kSecret = "loopback-secret";

  enum class Listeners { kUdp, kUdpAndTls };

  // Waits until the server is ready; a failure of the test when it does not start.
  explicit FreeRadius(Listeners listeners = Listeners::kUdp) : ports_(free_ports(2)) {
    if (listeners == Listeners::kUdpAndTls) ports_.push_back(free_ports(1, SOCK_STREAM).front());
    start();
  }

  // The one line to skip a test with; empty when the server can be run.
  static std::string missing() { return missing_program({"freeradius", "openssl", "radclient"}); }

  void start() {
    std::vector<std::string> command{AAA_REAL_DIR "/freeradius/serve", directory()};
    command.insert(command.end(), ports_.begin(), ports_.end());
    server_ = std::make_unique<Process>(command, directory() + "/log");
    server_->prints("Ready to process requests");
  }
  void stop() { server_->stop(); }

  const std::string& directory() const { return directory_.path(); }
  std::string certificate() const { return directory() + "/server.pem"; }
  std::string key() const { return directory() + "/server.key"; }
  const std::string& auth_port() const { return ports_[0]; }
  const std::string& acct_port() const { return ports_[1]; }
  const std::string& radsec_port() const { return ports_[2]; }
  std::string log() const { return server_->output(); }

  // What was asked for so far.
  std::vector<Record> access_requests() const { return records_in(directory() + "/requests"); }
  std::vector<Record> accounting() const { return records_in(directory() + "/accounting"); }

  // Waits until that many accounting records are written.
  std::vector<Record> accounting(std::size_t count) const {
    EXPECT_TRUE(test::eventually([&] { return accounting().size() >= count; }))
        << "not " << count << " accounting records but " << accounting().size();
    return accounting();
  }

 private:
  test::TemporaryDirectory directory_;
  std::vector<std::string> ports_;
  std::unique_ptr<Process> server_;
};

// Sends one packet with radclient, whose `kind` is auth, acct, disconnect or coa; returns what it
// printed, with the answer.
inline std::string radclient(const std::string& directory, const std::string& port,
                             const std::string& kind, const std::string& attributes) {
  const std::string packet = directory + "/packet";
  std::ofstream(packet) << attributes << '\n';
  Process program({"radclient", "-d", AAA_REAL_DIR "/freeradius", "-x", "-r", "1", "-t", "1", "-f",
                   packet, "127.0.0.1:" + port, kind, FreeRadius::kSecret},
                  directory + "/radclient");
  program.exit_status();
  return program.output();
}

}  // namespace real_test
