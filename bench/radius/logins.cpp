// logins COUNT OUTSTANDING: that many logins of alice through the library, so many at a time.
// Prints the seconds that they took; fails when one is not accepted.
#include <aaa_client.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <semaphore>

namespace {

std::counting_semaphore<> free_places(0);
std::atomic<long> refused = 0;

void take_result(result_info* result) {
  if (result->sub.num_a != 0 || result->sub.session_id == 0) ++refused;
  free_places.release();
}

bool log_in() {
  authen_info login{};
  login.session_id = aaa_get_session_id();
  std::strcpy(login.chars65_a, "alice");
  login.user_password.value = "secret";
  login.user_password.len = 6;
  return login.session_id != 0 && aaa_user_req_authen(&login) == 0;
}

bool connect() {
  reg_info registration{};
  std::strcpy(registration.model_name, "logins");
  registration.notify_result_cb = take_result;
  if (aaa_svr_reg(&registration) != 0) return false;
  for (int tries = 0; tries < 1000 && aaa_is_alive() == 0; ++tries)
    ::usleep(10000);
  return aaa_is_alive() != 0;
}

bool run(long count, long outstanding) {
  free_places.release(outstanding);
  for (long n = 0; n < count; ++n) {
    free_places.acquire();
    if (!log_in()) return false;
  }
  for (long n = 0; n < outstanding; ++n)
    free_places.acquire();
  return refused == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !connect()) return 2;
  const auto start = std::chrono::steady_clock::now();
  const bool accepted = run(std::atol(argv[1]), std::atol(argv[2]));
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  aaa_svr_dereg();
  if (!accepted) return 1;
  std::printf("%f\n", took.count());
  return 0;
}
