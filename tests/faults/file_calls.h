// mkdir(), chmod(), open() and read() of the library, answered by the test. This program is linked
// so that they come here first.
#pragma once

#include <functional>
#include <optional>

#include "faults/fault.h"

namespace faults {

// The call's result, with errno set, or nothing to let it go through.
using FileCallScript = std::function<std::optional<int>(Call call)>;

// In force while it lives. One at a time, and made while no thread of the library runs.
class ScriptedFileCalls {
 public:
  explicit ScriptedFileCalls(FileCallScript answers);
  ~ScriptedFileCalls();
  ScriptedFileCalls(const ScriptedFileCalls&) = delete;
  ScriptedFileCalls& operator=(const ScriptedFileCalls&) = delete;

 private:
  FileCallScript script_;
};

}  // namespace faults
