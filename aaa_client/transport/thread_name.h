// Naming the calling thread.
#pragma once

namespace aaa {

// Gives the calling thread a name. The name as the kernel kept it, at most 15 characters, is
// written back into `name`, which therefore holds 16 bytes at least. Null is ignored.
void set_thread_name(char* name);

}  // namespace aaa
