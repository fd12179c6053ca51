// One accepted connection: its input, its output and its client.
#pragma once

#include <cstdint>

#include "server/file_descriptor.h"
#include "wire/message.h"

namespace aaa_sim {

// Never reused, unlike descriptors; 0 is none.
using ConnectionId = std::uint64_t;

class Connection {
 public:
  Connection(ConnectionId id, FileDescriptor socket);

  ConnectionId id() const { return id_; }
  int fd() const { return socket_.get(); }

  // Model and role are unknown until the register request.
  const ClientName& client() const { return client_; }
  Role role() const { return role_; }
  void identify(std::string model, Role role);

  bool is_registered() const { return registered_; }
  void set_registered(bool registered) { registered_ = registered; }

  FrameReader& input() { return input_; }
  const FrameReader& input() const { return input_; }
  // Reads once. False when the peer has closed.
  bool receive();

  void queue(View bytes) { output_.insert(output_.end(), bytes.begin(), bytes.end()); }
  bool has_output() const { return !output_.empty(); }
  // Writes once, at most `limit` bytes. False when the peer has closed.
  bool write(std::size_t limit);

  // Close it once the output is written.
  bool closing() const { return closing_; }
  void set_closing() { closing_ = true; }

 private:
  const ConnectionId id_;
  FileDescriptor socket_;
  ClientName client_;
  Role role_ = Role::none;
  bool registered_ = false;
  FrameReader input_;
  Bytes output_;
  bool closing_ = false;
};

// Model, process id and role, for notes.
std::string describe(const Connection& connection);

}  // namespace aaa_sim
