// The client's event loop of an agent-mode run.
#pragma once

#include "fuzz/link/played_aaad.h"
#include "zv_thread.h"

namespace fuzz {

class PlayedLoop {
 public:
  PlayedLoop() = default;
  // What is still scheduled is a leak of the library's.
  ~PlayedLoop();
  PlayedLoop(const PlayedLoop&) = delete;
  PlayedLoop& operator=(const PlayedLoop&) = delete;

  zv_thread_master* master();

  // Runs tasks until aaad has nothing more to say.
  void run(PlayedAaad& aaad);
};

}  // namespace fuzz
