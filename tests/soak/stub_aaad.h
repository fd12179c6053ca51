// An aaad that knows one answer to each request, and a bad manner at a time of giving it.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "server/file_descriptor.h"
#include "wire/message.h"

namespace soak {

// Of the request socket. The event socket is served well, but while aaad does not read at all.
enum class Manner {
  good,
  reads_byte_wise,
  writes_byte_wise,
  trickles,      // a byte at a time; after each one that was read, time passes
  never_reads,   // nor accepts
  never_writes,  // reads, but does not answer
  stops_in_header,
  stops_in_body,
  other_type,    // 103
  other_id,      // an id that nobody asked for
  other_marker,  // 0
  other_socket,  // the right answer on the event socket
  closes,        // in place of an answer
};

class StubAaad {
 public:
  // What a request of a type is answered with; registrations are answered anyway.
  using Answers = std::map<std::uint32_t, aaa_sim::Frame>;

  // Listens below `directory`. While it trickles, `pass_time` runs after each byte.
  StubAaad(const std::string& directory, Answers answers, std::function<void()> pass_time);
  ~StubAaad();
  StubAaad(const StubAaad&) = delete;
  StubAaad& operator=(const StubAaad&) = delete;

  // In force when it returns, unless aaad stands in the middle of a message.
  void behave(Manner manner);

 private:
  // A client has two, and connects one behind the other.
  struct Connection {
    aaa_sim::FileDescriptor fd;
    std::size_t client;
  };

  void run();
  void serve_what_is_ready();
  void accept();
  void serve(int fd);
  void send_away(int fd);
  bool read_all(int fd, void* to, std::size_t size) const;
  aaa_sim::Frame answer_to(const aaa_sim::Frame& request) const;
  void give(int fd, aaa_sim::Frame answer);
  void trickle(int fd, const aaa_sim::Bytes& bytes) const;
  std::size_t client_of(int fd) const;
  int other_connection(int fd) const;

  const Answers answers_;
  const std::function<void()> pass_time_;
  aaa_sim::FileDescriptor listener_;
  std::vector<Connection> connections_;  // of the thread alone
  std::size_t accepted_ = 0;
  std::atomic<Manner> manner_ = Manner::good;
  std::atomic<bool> stopping_ = false;
  std::atomic<std::size_t> passes_ = 0;  // that are over
  std::thread thread_;
};

}  // namespace soak
