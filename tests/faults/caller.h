// Whose calls those of a thread are, the library's or the test's: only the library's fail.
#pragma once

namespace faults {

enum class Caller { library, test };

// The library's, on its own threads.
inline thread_local Caller caller_here = Caller::library;

// What holds on this thread while it lives.
class CallsOf {
 public:
  explicit CallsOf(Caller caller) : before_(caller_here) { caller_here = caller; }
  ~CallsOf() { caller_here = before_; }
  CallsOf(const CallsOf&) = delete;
  CallsOf& operator=(const CallsOf&) = delete;

 private:
  Caller before_;
};

}  // namespace faults
