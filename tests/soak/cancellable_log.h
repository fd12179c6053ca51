// The platform's log as the strictest there is: each line is a cancellation point. It writes none.
#pragma once

namespace soak {

// From now on the calling thread is cancelled at its `line`-th line of the log; 0 for none.
void cancel_at_line(int line);

}  // namespace soak
