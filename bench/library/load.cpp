// A receive thread under full load: the peer sends results as fast as the client takes them, and a
// heartbeat every second. --seconds N (10). --callback N: microseconds that each callback works.
// Prints how many results were sent and how many reached the callback, how many heartbeats of the
// client the peer received, and the greatest age in seconds of the last heartbeat of the peer.
#include <semaphore.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "library/client.h"
#include "support/records.h"
#include "support/workload.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::seconds;

constexpr std::size_t results_in_a_write = 32;

microseconds work;
std::atomic<std::uint32_t> received;
std::uint32_t sent;
std::uint32_t heartbeats;
sem_t ended;

void take_result(result_info*) {
  const auto start = Clock::now();
  ++received;
  while (Clock::now() - start < work) {
  }
}

// Behind the last result the peer says how many there were.
void take_end(std::uint32_t of_results, std::uint32_t of_heartbeats, std::uint32_t) {
  sent = of_results;
  heartbeats = of_heartbeats;
  sem_post(&ended);
}

std::uint32_t count_heartbeats(int request_socket) {
  std::uint8_t bytes[1024];
  const ssize_t size = recv(request_socket, bytes, sizeof bytes, MSG_DONTWAIT);
  std::uint32_t count = 0;
  bench::split_frames(bytes, static_cast<std::size_t>(std::max<ssize_t>(size, 0)),
                      [&](const aaa_ipc_header& header, const std::uint8_t*) {
                        if (header.type == AAA_MSG_HEARTBEAT) ++count;
                      });
  return count;
}

bench::Bytes results_of_a_write() {
  const bench::Bytes body = bench::typical_result(bench::usual_body);
  const bench::Bytes one = bench::frame(AAA_MSG_NOTIFY_RESULT, 1, body.data(), body.size());
  bench::Bytes all;
  for (std::size_t i = 0; i < results_in_a_write; i++)
    all.insert(all.end(), one.begin(), one.end());
  return all;
}

void send_load(int request_socket, int event_socket, seconds duration) {
  const bench::Bytes results = results_of_a_write();
  const bench::Bytes heartbeat = bench::blank_frame(AAA_MSG_HEARTBEAT, 0);
  std::uint32_t end[3] = {};
  auto next_heartbeat = Clock::now();
  const auto last = next_heartbeat + duration;
  for (auto now = next_heartbeat; now < last; now = Clock::now()) {
    bench::send_all(event_socket, results.data(), results.size());
    end[0] += results_in_a_write;
    if (now < next_heartbeat) continue;
    bench::send_all(event_socket, heartbeat.data(), heartbeat.size());
    next_heartbeat += seconds(1);
  }
  end[1] = count_heartbeats(request_socket);
  const bench::Bytes message = bench::frame(AAA_MSG_DEL_MSG_REQ, 1, end, sizeof end);
  bench::send_all(event_socket, message.data(), message.size());
  pause();
}

std::uint32_t age_of_heartbeat() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint32_t>(now.tv_sec) -
         std::atomic_ref<std::uint32_t>(aaalib_hbt_last_recv).load();
}

bool has_ended() {
  timespec until = {};
  clock_gettime(CLOCK_REALTIME, &until);
  constexpr long ten_times_a_second = 100000000;
  until.tv_nsec += ten_times_a_second;
  if (until.tv_nsec >= 1000000000) {
    until.tv_nsec -= 1000000000;
    ++until.tv_sec;
  }
  return sem_timedwait(&ended, &until) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options(argc, argv);
  const seconds duration(options.number("seconds", 10));
  work = microseconds(options.number("callback", 0));
  sem_init(&ended, 0, 0);
  reg_info info = {};
  info.notify_result_cb = take_result;
  info.del_msg_req_cb = take_end;
  bench::register_with_peer(info, [&](int request_socket, int event_socket) {
    send_load(request_socket, event_socket, duration);
  });
  std::uint32_t greatest_age = 0;
  while (!has_ended())
    greatest_age = std::max(greatest_age, age_of_heartbeat());
  std::printf("%u %u %u %u\n", sent, received.load(), heartbeats, greatest_age);
}
