// Stands between clients and the daemon: forwards everything, in both directions, and shows it.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

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
  // Until SIGINT or SIGTERM. False when bytes that were read could not be forwarded any more.
  bool run();

 private:
  void accept();
  void connect_waiting();
  bool connect(aaa_sim::FileDescriptor& client);
  void add(aaa_sim::FileDescriptor client, aaa_sim::FileDescriptor daemon);
  void on_ready(std::uint64_t id, std::size_t side, std::uint32_t events);
  void end();

  const std::string path_, daemon_path_;
  const Show show_;
  const Complaint complain_;
  aaa_sim::FileDescriptor signals_;
  aaa_sim::EventLoop loop_;
  aaa_sim::Timer retry_, deadline_;
  std::optional<aaa_sim::Listener> listener_;     // none while it ends
  std::vector<aaa_sim::FileDescriptor> waiting_;  // for the daemon to accept
  std::map<std::uint64_t, Link> links_;
  std::uint64_t last_id_ = 0;
  bool is_daemon_missing_ = false;
};

}  // namespace aaa_dissect
