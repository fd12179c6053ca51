// A request and its result over the real sockets, the client's way: encoded, framed, answered,
// decoded. And the synchronous exchange.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>

#include "aaa_client.h"
#include "echo_daemon.h"
#include "support/temporary_directory.h"

namespace {

// What the result callback tells the benchmark's thread.
class Signal {
 public:
  void raise() {
    const std::lock_guard<std::mutex> hold(lock_);
    raised_ = true;
    condition_.notify_one();
  }

  void wait() {
    std::unique_lock<std::mutex> hold(lock_);
    condition_.wait(hold, [this] { return raised_; });
    raised_ = false;
  }

 private:
  std::mutex lock_;
  std::condition_variable condition_;
  bool raised_ = false;
};

Signal result_signal;

void note_result(result_info* result) {
  benchmark::DoNotOptimize(result->sub.num_a);
  result_signal.raise();
}

// A registered client, for the length of a benchmark.
class Client {
 public:
  explicit Client(aaa_notify_result_fn callback) {
    setenv("TMPDIR", directory_.path().c_str(), 1);
    daemon_.emplace(directory_.path());
    reg_info info = {};
    std::strcpy(info.model_name, "bench");
    info.notify_result_cb = callback;
    if (aaa_svr_reg(&info) != 0 || aaa_is_alive() == 0) std::abort();
  }
  ~Client() { aaa_svr_dereg(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

 private:
  test::TemporaryDirectory directory_;
  std::optional<bench::EchoDaemon> daemon_;
};

authen_info request() {
  authen_info authen = {};
  authen.session_id = aaa_get_session_id();
  std::strcpy(authen.chars65_a, "alice");
  authen.user_password = {0, 6, "secret"};
  return authen;
}

void BM_RoundTripWithWait(benchmark::State& state) {
  const Client client(nullptr);
  authen_info authen = request();
  for (auto _ : state) {
    result_info* result = nullptr;
    if (aaa_user_req_authen(&authen) != 0 ||
        aaa_user_get_result(authen.session_id, 0, 10, &result) != 0) {
      state.SkipWithError("no result");
      break;
    }
    aaa_free_result_info(result);
  }
}

void BM_RoundTripWithCallback(benchmark::State& state) {
  const Client client(note_result);
  authen_info authen = request();
  for (auto _ : state) {
    if (aaa_user_req_authen(&authen) != 0) {
      state.SkipWithError("not sent");
      break;
    }
    result_signal.wait();
  }
}

void BM_SynchronousExchange(benchmark::State& state) {
  const Client client(nullptr);
  const std::uint8_t mib[392] = {};
  for (auto _ : state)
    benchmark::DoNotOptimize(aaa_srv_mib(mib, 0));
}

void BM_SessionIdFromBlock(benchmark::State& state) {
  const Client client(nullptr);
  for (auto _ : state)
    benchmark::DoNotOptimize(aaa_get_session_id());
}

BENCHMARK(BM_RoundTripWithWait)->UseRealTime();
BENCHMARK(BM_RoundTripWithCallback)->UseRealTime();
BENCHMARK(BM_SynchronousExchange)->UseRealTime();
BENCHMARK(BM_SessionIdFromBlock)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
