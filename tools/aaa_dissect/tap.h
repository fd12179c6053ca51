// Stands between clients and the daemon: forwards everything, in both directions, and shows it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "connector.h"
#include "link.h"
#include "server/event_loop.h"
#include "server/listener.h"
#include "server/timers.h"

namespace aaa_dissect {

class Tap {
 public:
  // False when nothing more can be shown, which ends the tap.
  using Show = std::function<bool(std::uint64_t socket, const aaa_capture::Interface& interface,
                                  aaa_capture::Packet packet, aaa_capture::Form form)>;
  using Complaint = std::function<void(const std::string& line)>;

  // Listens where clients with the first directory as TMPDIR connect. Throws std::system_error.
  Tap(const std::string& directory, const std::string& daemon_directory, Show show,
      Complaint complain);

  const std::string& path() const { return path_; }
  // Readable from the signal on that ends it.
  int signals() const { return signals_.get(); }
  // Ends it also when nobody reads from the pipe any more.
  void end_with(int pipe);
  // Until SIGINT or SIGTERM. False when bytes that were read could not be forwarded.
  bool run();

 private:
  // For the daemon to accept it.
  struct Waiting {
    aaa_sim::FileDescriptor client;
    std::shared_ptr<Connector> connector = {};
  };

  void accept();
  void connect_waiting();
  bool connect(Waiting& waiting);
  aaa_sim::FileDescriptor connect_process(Waiting& waiting);
  std::shared_ptr<Connector> connector_of(pid_t client);
  void report(int error);
  void add(Waiting& waiting, aaa_sim::FileDescriptor daemon);
  void on_ready(std::uint64_t id, std::size_t side, std::uint32_t events);
  void end();

  const std::string path_, daemon_path_;
  const Show show_;
  const Complaint complain_;
  aaa_sim::FileDescriptor signals_;
  aaa_sim::EventLoop loop_;
  aaa_sim::Timer retry_, deadline_;
  std::optional<aaa_sim::Listener> listener_;  // none while it ends
  std::vector<Waiting> waiting_;
  std::map<std::uint64_t, Link> links_;
  std::map<pid_t, std::weak_ptr<Connector>> connectors_;  // by client
  std::uint64_t last_id_ = 0;
  std::size_t left_ = 0;  // bytes of links that could not be forwarded
  int reported_ = 0;      // why there was no connection, until no client waits
};

}  // namespace aaa_dissect
