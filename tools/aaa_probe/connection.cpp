#include "connection.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "exchange.h"
#include "status.h"
#include "time_limit.h"

namespace aaa_probe {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause{5};
constexpr std::chrono::seconds kDeregistration{1};
constexpr std::int32_t kRefusedId = 255;

// An atomic read, because the library's threads write the word.
bool aaad_refuses() {
  return __atomic_load_n(&g_aaa_client_cb.aaa_id, __ATOMIC_RELAXED) == kRefusedId;
}

void set_up(const ConnectionOptions& options) {
  if (options.directory && aaa_set_directory(options.directory->c_str()) != 0)
    throw Failure(Status::usage, "--directory: must begin with / and have at most 69 bytes");
  if (!options.directory && std::getenv("TMPDIR") == nullptr)
    throw Failure(Status::usage, "--directory is required when TMPDIR is not set");
  if (options.aaad_uid && aaa_set_aaad_uid(*options.aaad_uid) != 0)
    throw Failure(Status::usage, "--aaad-uid: not a user id");
}

void wait_for_aaad(Clock::time_point deadline, std::uint32_t timeout) {
  while (aaa_is_alive() == 0) {
    if (aaad_refuses()) throw Failure(Status::no_daemon, "refused by aaad");
    if (Clock::now() > deadline)
      throw Failure(Status::no_daemon,
                    "aaad does not answer within " + std::to_string(timeout) + " seconds");
    std::this_thread::sleep_for(kPause);
  }
}

// Without aaad there is nobody to tell, and the library's threads would take seconds to end. Nor
// can it be told while another call waits for it.
void deregister() {
  if (has_threads_left || aaa_is_alive() == 0) {
    has_threads_left = true;
  } else {
    (void)result_within(kDeregistration, [] { return aaa_svr_dereg(); });
  }
}

}  // namespace

Connection::Connection(const ConnectionOptions& options, reg_info record)
    : timeout_(options.timeout) {
  set_up(options);
  (void)std::strncpy(record.model_name, options.model.c_str(), AAA_MODEL_NAME_SIZE - 1);
  const std::chrono::seconds limit(options.timeout);
  const Clock::time_point deadline = Clock::now() + limit;
  // Registering blocks for long when aaad accepts the connection but does not answer.
  const auto result = result_within(limit, [record] { return aaa_svr_reg(&record); });
  if (result && *result != 0)
    throw Failure(Status::no_daemon, "cannot make the sockets in this directory");
  try {
    wait_for_aaad(deadline, timeout_);
  } catch (const Failure&) {
    deregister();
    throw;
  }
}

Connection::~Connection() {
  deregister();
}

std::uint32_t Connection::new_session_id() const {
  const std::uint32_t id = answer_of(timeout_, [] { return aaa_get_session_id(); });
  if (id == 0) throw Failure(Status::rejected, "aaad grants no session id");
  return id;
}

}  // namespace aaa_probe
