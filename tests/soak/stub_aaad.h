// An aaad that knows one answer to each exchange, and gives it well or badly; and its client, whose
// life a test begins and ends as often as it likes.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "server/file_descriptor.h"
#include "soak/soak_fixture.h"
#include "soak/timeouts.h"
#include "traffic/calls.h"
#include "wire/message.h"

namespace soak {

// Of the request socket. The event socket is served well, but while aaad does not read at all.
enum class Behaviour {
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
  // Listens below `directory`. While it trickles, `pass_time` runs after each byte.
  StubAaad(const std::string& directory, std::function<void()> pass_time);
  ~StubAaad();
  StubAaad(const StubAaad&) = delete;
  StubAaad& operator=(const StubAaad&) = delete;

  // In force when it returns, unless aaad stands in the middle of a message.
  void behave(Behaviour behaviour);

  // From now on nothing comes that a client waits for: a request was read and the part of its
  // answer that is given was written, or nothing is read at all.
  bool withholds() const { return withholds_; }

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
  void give(int fd, const traffic::Message& answer);
  void give(int fd, const traffic::Message& answer, Behaviour behaviour);
  void trickle(int fd, const std::string& bytes) const;
  std::size_t client_of(int fd) const;
  int other_connection(int fd) const;

  const std::function<void()> pass_time_;
  aaa_sim::FileDescriptor listener_;
  std::vector<Connection> connections_;  // of the thread alone
  std::size_t accepted_ = 0;
  std::atomic<Behaviour> behaviour_ = Behaviour::good;
  std::atomic<bool> withholds_ = false;
  std::atomic<bool> stopping_ = false;
  std::atomic<std::size_t> passes_ = 0;  // that are over
  std::thread thread_;
};

class StubTest : public WatchedTest {
 protected:
  void TearDown() override;

  // Registers a client with an aaad that is good, which then behaves as it is told. The client's
  // pauses and timeouts are short. Without `registered` no client registers.
  void begin(Behaviour behaviour, bool registered = true);
  void end();

  void register_client(Behaviour behaviour);
  void behave(Behaviour behaviour) { aaad_->behave(behaviour); }
  // Whether waits that aaad lets end in vain move the clock by what they stand for.
  void let_time_stand() { time_passes_ = false; }
  void let_time_pass() { time_passes_ = true; }

  // No lock is held, and unless the client has deregistered a good aaad is asked and answers.
  void expect_library_in_order();

  std::uint32_t thread_start() const { return thread_start_; }

 private:
  std::atomic<std::uint32_t> thread_start_ = 0;  // library second of the last one
  std::atomic<bool> time_passes_ = false;
  std::optional<test::MovedClock> clock_;
  std::optional<test::ScriptedCalls> scripts_;
  std::optional<StubAaad> aaad_;
};

}  // namespace soak
