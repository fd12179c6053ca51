// One accepted connection: bytes in, bytes out, and whose it is.
#pragma once

#include <cstdint>

#include "file_descriptor.h"
#include "frame_reader.h"
#include "message.h"

namespace aaa_sim {

// Unlike descriptors, ids are not used twice.
using ConnectionId = std::uint64_t;

class Connection {
 public:
  Connection(ConnectionId id, FileDescriptor socket);

  ConnectionId id() const { return id_; }
  int fd() const { return socket_.get(); }

  // The model and the role are known from the register request on.
  const ClientName& client() const { return client_; }
  Role role() const { return role_; }
  void identify(std::string model, Role role);

  FrameReader& input() { return input_; }
  // Reads what has come. False when the peer has closed.
  bool receive();

  void queue(View bytes) { output_.insert(output_.end(), bytes.begin(), bytes.end()); }
  bool has_output() const { return !output_.empty(); }
  // Writes what the socket takes, of `limit` bytes at most. False when the peer is gone.
  bool write(std::size_t limit);

  // To be closed as soon as the output is written.
  bool closing() const { return closing_; }
  void set_closing() { closing_ = true; }

 private:
  const ConnectionId id_;
  FileDescriptor socket_;
  ClientName client_;
  Role role_ = Role::none;
  FrameReader input_;
  Bytes output_;
  bool closing_ = false;
};

// Model, process id and role, for remarks.
std::string describe(const Connection& connection);

}  // namespace aaa_sim
