// A client's connection, and the one to the daemon that stands for it.
#pragma once

#include <array>
#include <functional>
#include <memory>

#include "capture/packet.h"
#include "connector.h"
#include "flow.h"
#include "server/event_loop.h"
#include "server/file_descriptor.h"

namespace aaa_dissect {

class Link {
 public:
  using Show = std::function<void(const aaa_capture::Interface& interface,
                                  aaa_capture::Packet packet, aaa_capture::Form form)>;
  // Called when one of its sockets is ready.
  using Ready = std::function<void(std::size_t side, std::uint32_t events)>;

  // `loop` must outlive it. `connector` has made the connection to the daemon.
  Link(aaa_sim::EventLoop& loop, aaa_sim::FileDescriptor client, aaa_sim::FileDescriptor daemon,
       std::shared_ptr<Connector> connector, Show show, Ready ready);
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  // False when the connection has ended.
  bool handle(std::size_t side, std::uint32_t events);
  // Takes nothing new from either end. What they have written until now is still forwarded.
  void end();
  // Shows what was read and is no whole message.
  void show_rest();
  // Bytes that were read and not forwarded, but for those that a client has gone without.
  std::size_t left() const;

 private:
  struct Side {
    aaa_sim::FileDescriptor socket;
    std::uint32_t events = 0;     // that it is watched for
    bool has_passed_end = false;  // the end of what it wrote
  };

  bool pass_end(std::size_t side);
  void watch();
  void show(aaa_capture::Direction direction, aaa_sim::View bytes, aaa_capture::Form form,
            const char* remark);
  void identify(aaa_sim::View message);

  aaa_sim::EventLoop& loop_;
  // The daemon may ask which process it is talking to.
  const std::shared_ptr<Connector> connector_;
  const Show show_;
  const Ready ready_;
  aaa_sim::ClientName client_;
  aaa_sim::Role role_ = aaa_sim::Role::none;
  std::array<Side, 2> sides_;  // client, daemon
  std::array<Flow, 2> flows_;  // from the client, from the daemon
};

}  // namespace aaa_dissect
