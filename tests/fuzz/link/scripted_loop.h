// The client's event loop in agent mode: its tasks run when the test says so.
#pragma once

#include <string>
#include <vector>

#include "fuzz/link/scripted_aaad.h"
#include "zv_thread.h"

namespace fuzz {

class ScriptedLoop {
 public:
  ScriptedLoop() = default;
  // What is still scheduled is a leak of the library's.
  ~ScriptedLoop();
  ScriptedLoop(const ScriptedLoop&) = delete;
  ScriptedLoop& operator=(const ScriptedLoop&) = delete;

  zv_thread_master* master();

  // The tasks that wait, in the order in which they were added.
  std::vector<std::string> names() const;
  // Runs the first task of a name and returns what it returned.
  int run(const std::string& name);

  // Runs tasks until aaad has nothing more to say.
  void run_all(ScriptedAaad& aaad);
};

}  // namespace fuzz
