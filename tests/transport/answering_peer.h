// Plays aaad on the far end of a pair: reads one request, answers it.
#pragma once

#include <string>
#include <thread>

#include "support/socket_pair.h"

namespace test {

class AnsweringPeer {
 public:
  enum class Then { stay, close };

  AnsweringPeer(SocketPair& pair, std::string answer, Then then = Then::stay)
      : thread_([this, &pair, answer = std::move(answer), then] {
          request_ = read_message(pair);
          pair.peer_writes(answer);
          if (then == Then::close) ::shutdown(pair.peer(), SHUT_RDWR);
        }) {}
  ~AnsweringPeer() { finish(); }
  AnsweringPeer(const AnsweringPeer&) = delete;
  AnsweringPeer& operator=(const AnsweringPeer&) = delete;

  // The request, once it has been answered.
  std::string request() {
    finish();
    return request_;
  }

  static std::string read_message(const SocketPair& pair) {
    const std::string header = pair.peer_reads(16);
    return header.size() < 16 ? header : header + pair.peer_reads(word_at(header, 12));
  }

 private:
  void finish() {
    if (thread_.joinable()) thread_.join();
  }

  std::string request_;
  std::thread thread_;
};

}  // namespace test
