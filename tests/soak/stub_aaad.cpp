#include "soak/stub_aaad.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "runtime/receive/receive_thread.h"
#include "session/state/client_state.h"

namespace soak {
namespace {

using aaa_sim::FileDescriptor;

// All words are 0.
const std::string kStatus = test::message_bytes(AAA_MSG_AAA_INFO_READY, test::zeros(40));

constexpr int look_again_ms = 2;

FileDescriptor listen_below(const std::string& directory) {
  const std::string folder = directory + "/security/aaa";
  const std::string name = folder + "/.aaa_domain_socket_fs";
  std::filesystem::create_directories(folder);
  std::filesystem::remove(name);
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
  name.copy(address.sun_path, sizeof address.sun_path - 1);
  FileDescriptor listener =
      aaa_sim::checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
  if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), 8) != 0)
    throw std::system_error(errno, std::generic_category(), name);
  return listener;
}

// Up to `at_a_time` bytes at once, as long as the client takes them and `goes_on` after each piece.
template <class GoesOn>
void write_in_pieces(int fd, const std::string& bytes, std::size_t at_a_time, GoesOn goes_on) {
  for (std::size_t written = 0; written < bytes.size();) {
    const std::size_t size = std::min(at_a_time, bytes.size() - written);
    const ssize_t n = ::send(fd, bytes.data() + written, size, MSG_NOSIGNAL);
    if (n <= 0 || !goes_on()) return;
    written += static_cast<std::size_t>(n);
  }
}

void write_all(int fd, const std::string& bytes, std::size_t at_a_time = SIZE_MAX) {
  write_in_pieces(fd, bytes, at_a_time, [] { return true; });
}

bool everything_was_read_from(int fd) {
  int waiting = 0;
  return ::ioctl(fd, SIOCOUTQ, &waiting) != 0 || waiting == 0;
}

bool is_event_registration(std::uint32_t type, const std::string& body) {
  return type == AAA_MSG_REGISTER_REQ && body.starts_with('2');
}

// Null for what is not answered.
const traffic::Message* answer_to(std::uint32_t type) {
  const auto& all = traffic::exchanges();
  const auto found = std::ranges::find(all, type, &traffic::Exchange::request);
  return found == all.end() ? nullptr : &found->answer;
}

// The client then waits for what never comes.
bool is_withholding(Behaviour behaviour) {
  return behaviour == Behaviour::never_writes || behaviour == Behaviour::stops_in_header ||
         behaviour == Behaviour::stops_in_body || behaviour == Behaviour::other_socket;
}

std::string bytes_of_answer(const traffic::Message& answer, Behaviour behaviour) {
  const std::string right = answer.bytes();
  switch (behaviour) {
    case Behaviour::stops_in_header:
      return right.substr(0, 9);
    case Behaviour::stops_in_body:
      return right.substr(0, right.size() - (answer.body.empty() ? 0 : 1));
    case Behaviour::other_type:
      return test::message_bytes(AAA_MSG_NOTIFY_RESULT, answer.body);
    case Behaviour::other_id:
      return test::message_with_id(77, answer.type, answer.body);
    case Behaviour::other_marker:
      return test::message_bytes(answer.type, answer.body, 0);
    default:
      return right;
  }
}

}  // namespace

StubAaad::StubAaad(const std::string& directory, std::function<void()> pass_time)
    : pass_time_(std::move(pass_time)),
      listener_(listen_below(directory)),
      thread_([this] { run(); }) {}

StubAaad::~StubAaad() {
  stopping_ = true;
  thread_.join();
}

void StubAaad::behave(Behaviour behaviour) {
  behaviour_ = behaviour;
  const std::size_t before = passes_;
  test::eventually([&] { return passes_ > before; });
  withholds_ = behaviour == Behaviour::never_reads;
}

void StubAaad::run() {
  while (!stopping_) {
    if (behaviour_ == Behaviour::never_reads)
      std::this_thread::sleep_for(milliseconds(look_again_ms));
    else
      serve_what_is_ready();
    ++passes_;
  }
}

void StubAaad::serve_what_is_ready() {
  std::vector<pollfd> ready = {{listener_.get(), POLLIN, 0}};
  for (const Connection& connection : connections_)
    ready.push_back({connection.fd.get(), POLLIN, 0});
  if (::poll(ready.data(), ready.size(), look_again_ms) <= 0) return;
  if (ready[0].revents != 0)
    accept();
  else
    serve(std::ranges::find_if(ready, [](const pollfd& one) { return one.revents != 0; })->fd);
}

void StubAaad::accept() {
  FileDescriptor fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  if (fd.is_open()) connections_.push_back({std::move(fd), accepted_++ / 2});
}

void StubAaad::serve(int fd) {
  aaa_ipc_header header;
  if (!read_all(fd, &header, sizeof header)) return send_away(fd);
  if (header.marker != aaa_sim::kMarker) return send_away(fd);
  std::string body = test::zeros(header.length);
  if (!read_all(fd, body.data(), body.size())) return send_away(fd);
  if (is_event_registration(header.type, body)) return write_all(fd, kStatus);
  if (const traffic::Message* const answer = answer_to(header.type)) give(fd, *answer);
}

// Closes both connections of the client.
void StubAaad::send_away(int fd) {
  std::erase_if(connections_, [client = client_of(fd)](const Connection& connection) {
    return connection.client == client;
  });
}

std::size_t StubAaad::client_of(int fd) const {
  return std::ranges::find(connections_, fd, [](const Connection& one) { return one.fd.get(); })
      ->client;
}

bool StubAaad::read_all(int fd, void* to, std::size_t size) const {
  auto* next = static_cast<char*>(to);
  while (size > 0) {
    const ssize_t n = ::read(fd, next, behaviour_ == Behaviour::reads_byte_wise ? 1 : size);
    if (n <= 0) return false;
    next += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

void StubAaad::give(int fd, const traffic::Message& answer) {
  const Behaviour behaviour = behaviour_;
  give(fd, answer, behaviour);
  if (is_withholding(behaviour)) withholds_ = true;
}

void StubAaad::give(int fd, const traffic::Message& answer, Behaviour behaviour) {
  const std::string bytes = bytes_of_answer(answer, behaviour);
  switch (behaviour) {
    case Behaviour::never_writes:
      return;
    case Behaviour::closes:
      return send_away(fd);
    case Behaviour::trickles:
      return trickle(fd, bytes);
    case Behaviour::writes_byte_wise:
      return write_all(fd, bytes, 1);
    case Behaviour::other_socket:
      return write_all(other_connection(fd), bytes);
    default:
      return write_all(fd, bytes);
  }
}

void StubAaad::trickle(int fd, const std::string& bytes) const {
  const auto is_over = [this] { return stopping_ || behaviour_ != Behaviour::trickles; };
  write_in_pieces(fd, bytes, 1, [&] {
    // A client that has given up reads no more.
    if (!test::eventually([&] { return is_over() || everything_was_read_from(fd); }) || is_over())
      return false;
    pass_time_();
    return true;
  });
}

int StubAaad::other_connection(int fd) const {
  for (const Connection& connection : connections_)
    if (connection.client == client_of(fd) && connection.fd.get() != fd) return connection.fd.get();
  return -1;
}

// ---- Its client. ----

namespace {

int request_socket() {
  return aaa::load(g_aaa_client_cb.sync_fd);
}

void make_buffer_small() {
  const int smallest = 1;
  ::setsockopt(request_socket(), SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest);
}

void fill_buffer() {
  const char rubbish[512] = {};
  while (::send(request_socket(), rubbish, sizeof rubbish, MSG_DONTWAIT | MSG_NOSIGNAL) > 0) {
  }
}

}  // namespace

void StubTest::TearDown() {
  end();
  WatchedTest::TearDown();
}

void StubTest::begin(Behaviour behaviour, bool registered) {
  clock_.emplace();
  clock_->shorten_sleeps();
  test::Scripts scripts =
      soak::let_time_pass(*clock_, [this] { return time_passes_ && aaad_->withholds(); });
  scripts.pthread_create = [this]() -> std::optional<int> {
    thread_start_ = test::library_seconds();
    return {};
  };
  scripts_.emplace(std::move(scripts));
  aaad_.emplace(directory(), [this] { clock_->advance(1); });
  let_time_pass();
  if (registered)
    register_client(behaviour);
  else
    behave(behaviour);
}

void StubTest::end() {
  let_time_stand();
  test::stop_library();
  aaad_.reset();
  scripts_.reset();
  clock_.reset();
}

// The request socket's buffer is then the smallest there is, and full if aaad never reads.
void StubTest::register_client(Behaviour behaviour) {
  const reg_info info = test::client("stub");
  ASSERT_EQ(0, aaa_svr_reg(&info));
  ASSERT_EQ(1, aaa_is_alive());
  make_buffer_small();
  behave(behaviour);
  if (behaviour == Behaviour::never_reads) fill_buffer();
}

void StubTest::expect_library_in_order() {
  EXPECT_TRUE(test::eventually(test::all_locks_are_free)) << "a lock is held";
  behave(Behaviour::good);
  if (!aaa::receive_thread_exists()) return;
  // An attempt that waits for what the aaad of before has withheld is over.
  if (aaa_is_alive() == 0) clock_->advance(11);
  EXPECT_TRUE(test::eventually([] { return aaa_is_alive() == 1; })) << "not registered";
  EXPECT_TRUE(test::eventually([] { return aaa_mlist_existed(1, 2, 3, "login") == 42; }))
      << "no answer";
}

}  // namespace soak
