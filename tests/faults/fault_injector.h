// Makes one call of the library fail, counts calls up to it, and lets waits for what will not come
// be short.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>

#include "faults/fault.h"
#include "support/library_test.h"
#include "support/scripted_calls.h"

namespace faults {

class FaultInjector {
 public:
  // One at a time, and made while no thread of the library runs.
  explicit FaultInjector(const Fault& fault);

  // Nothing fails from now on.
  void lift() { lifted_ = true; }
  bool happened() const { return happened_; }
  // Whether something may be missing from now on: neither answers nor results are certain.
  bool has_done_harm() const { return happened_ && !fault_.is_temporary(); }
  // How long to wait for what ought to come.
  std::chrono::milliseconds patience() const;

  // What the client does now, for the place of the fault.
  void enter(const char* step) { step_ = step; }
  // "step, thread"
  std::string place() const;

  // Results of other sessions that aaa_user_get_result() has dropped: their records stay allocated,
  // which is intended.
  unsigned dropped_results() const { return dropped_results_; }

  test::MovedClock& clock() { return clock_; }

 private:
  test::Scripts scripts();
  // Whether this call is the one. An error takes a second of the library's time.
  bool strikes(std::string_view call);
  void note_place();
  std::optional<int> fail(std::string_view call);
  std::optional<int> fail_with_number(std::string_view call);
  std::optional<int> file_call(std::string_view call);
  std::optional<ssize_t> send(int fd, const void* data, std::size_t size, int flags);
  std::optional<ssize_t> recv(int fd, void* data, std::size_t size, int flags);
  ssize_t patient_recv(int fd, void* data, std::size_t size, int flags, bool is_certain);
  std::optional<int> setsockopt(int fd, int level, int option);
  std::optional<int> poll(int fd, int timeout_ms);
  std::optional<int> select(timeval& timeout);
  std::optional<void*> malloc();
  void note_datagram(const void* data, ssize_t size);

  const Fault fault_;
  std::atomic<unsigned> count_ = 0;
  std::atomic<bool> lifted_ = false;
  std::atomic<bool> happened_ = false;
  std::atomic<const char*> step_ = "";
  mutable std::mutex lock_;
  std::string place_;             // guarded by lock_
  unsigned dropped_results_ = 0;  // this and the next: of the thread that waits for results
  bool decodes_foreign_result_ = false;
  test::MovedClock clock_;
  test::ScriptedCalls calls_;
};

}  // namespace faults
