// A message of the daemon that a client measures.
#pragma once

#include <cstddef>

#include "support/records.h"
#include "support/workload.h"

namespace bench {

// --bytes: of its body; from 1,433 on it is a result, below a message of type 123.
inline Bytes inbound_message(const Options& options) {
  constexpr std::size_t least_result = 1433;
  const std::size_t body_length = options.number("bytes", usual_body);
  if (body_length < least_result) return blank_frame(AAA_MSG_DEL_MSG_REQ, body_length);
  const Bytes body = typical_result(body_length);
  return frame(AAA_MSG_NOTIFY_RESULT, 1, body.data(), body.size());
}

}  // namespace bench
