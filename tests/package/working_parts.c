/*
 * A client in C calls each of the working parts once, without an aaad and without a registration:
 * with bad arguments, on sockets and a mutex of its own, or in an environment without TMPDIR. Exit
 * status 0 when each answers as its declaration says; else the line of the first that did not.
 */
#include <aaa_client.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#define EXPECT(condition)                                                           \
  do {                                                                              \
    if (!(condition)) {                                                             \
      (void)fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      exit(1);                                                                      \
    }                                                                               \
  } while (0)

static int own_sockets[2];

static void release(aaa_ipc_header* message) {
  aaa_free(__LINE__, __func__, message);
}

/* Before any call: the locks are valid as loaded, and one that is held stays as it is. */
static void lock_twice(pthread_mutex_t* lock) {
  EXPECT(pthread_mutex_trylock(lock) == 0);
  EXPECT(pthread_mutex_trylock(lock) == 0);
}

static void unlock_twice(pthread_mutex_t* lock) {
  EXPECT(pthread_mutex_unlock(lock) == 0);
  EXPECT(pthread_mutex_unlock(lock) == 0);
}

static void locks(void) {
  pthread_mutex_t own_mutex;
  lock_twice(&aaa_lib_lock);
  lock_twice(&aaa_lib_send_buf_lock);
  EXPECT(aaa_lib_mutex_init() == 0);
  unlock_twice(&aaa_lib_send_buf_lock);
  unlock_twice(&aaa_lib_lock);
  EXPECT(aaa_lib_recursive_mutex_init(NULL) == EINVAL);
  EXPECT(aaa_lib_recursive_mutex_init(&own_mutex) == 0);
  lock_twice(&own_mutex);
  unlock_twice(&own_mutex);
  EXPECT(pthread_mutex_destroy(&own_mutex) == 0);
}

static void paths(void) {
  char path[64];
  EXPECT(unsetenv("TMPDIR") == 0);
  EXPECT(aaa_make_path(path, "/x", sizeof path) == 0);
  EXPECT(aaa_make_dir(NULL) == EINVAL);
  EXPECT(aaa_lib_make_work_dir() == -1);
}

static void connections(void) {
  EXPECT(aaa_lib_msg_socket_init() == -1);
  EXPECT(aaa_lib_client_connect(NULL) == -1);
  EXPECT(aaa_lib_client_connect_all() == -1);
  EXPECT(aaa_lib_client_close() == 0);
  EXPECT(aaa_lib_is_conn_broken_err(EPIPE) == 1);
  EXPECT(aaa_lib_is_conn_broken_err(EINTR) == 0);
}

static void bytes_on_own_sockets(void) {
  char bytes[3];
  EXPECT(aaa_msg_send(own_sockets[0], "abc", 3, 0) == 0);
  EXPECT(aaa_msg_recv(own_sockets[1], bytes, 3) == 0);
  EXPECT(memcmp(bytes, "abc", 3) == 0);
}

static void take_from_own_sockets(uint32_t type) {
  aaa_ipc_header* const message = aaa_recv_ipc_msg_from_sd(own_sockets[1]);
  EXPECT(message != NULL);
  EXPECT(message->marker == 0x01010101 && message->id == 0);
  EXPECT(message->type == type && message->length == 3);
  EXPECT(memcmp(message + 1, "abc", 3) == 0);
  release(message);
}

static void messages_on_own_sockets(void) {
  EXPECT(aaa_send_ipc_msg(own_sockets[0], AAA_MSG_DELETE_USER, "abc", 3) == 0);
  take_from_own_sockets(AAA_MSG_DELETE_USER);
  EXPECT(aaalib_send_ipc_msg_print(own_sockets[0], AAA_MSG_HEARTBEAT, "abc", 3) == 0);
  take_from_own_sockets(AAA_MSG_HEARTBEAT);
}

static void messages_in_memory(void) {
  uint32_t length = 0;
  aaa_ipc_header* const message = aaa_init_msg(AAA_MSG_ACCT_REQ, 7, "abc", 3, &length);
  EXPECT(message != NULL);
  EXPECT(length == 19 && message->id == 7 && message->type == AAA_MSG_ACCT_REQ);
  release(message);
}

static void messages_without_a_connection(void) {
  EXPECT(aaalib_sr_ipc_msg(AAA_MSG_GET_SESSION_ID, NULL, -1) == NULL);
  EXPECT(aaalib_recv_ipc_msg() == NULL);
  EXPECT(aaalib_recv_async_ipc_msg() == NULL);
  EXPECT(aaa_lib_send_ipc_msg(-1, AAA_MSG_DELETE_USER, 0, "abc", 3) == EINVAL);
  EXPECT(aaalib_send_ipc_msg(AAA_MSG_DELETE_USER, 0, NULL, 3) == 2);
  EXPECT(aaalib_send_ipc_msg(AAA_MSG_DELETE_USER, 0, "abc", 3) == 4);
  EXPECT(aaa_user_req_authen_sub(NULL, AAA_MSG_AUTHEN_REQ) == -EINVAL);
  EXPECT(aaa_user_req_author_sub(NULL, AAA_MSG_AUTHOR_REQ) == -EINVAL);
}

static void small_parts(void) {
  char name[16] = "worker";
  aaalib_stat before = g_aaalib_stat;
  set_thread_name(name);
  EXPECT(strcmp(name, "worker") == 0);
  EXPECT(aaalib_debug_num_check() == 1);
  aaalib_stat_time_elapse(4, 0, 0);
  EXPECT(memcmp(&before, &g_aaalib_stat, sizeof before) == 0);
  EXPECT(aaa_lib_notify_aaa_event(AAA_EVENT_METHOD_LISTS_CHANGED) == 3);
}

static void flush_thread(void) {
  EXPECT(aaalib_init_send_buf_thread() == 0);
  EXPECT(g_send_buf_tid != 0);
  EXPECT(aaa_svr_dereg() == 0);
  EXPECT(g_send_buf_tid == 0);
}

int main(void) {
  EXPECT(socketpair(AF_UNIX, SOCK_STREAM, 0, own_sockets) == 0);
  locks();
  paths();
  connections();
  bytes_on_own_sockets();
  messages_on_own_sockets();
  messages_in_memory();
  messages_without_a_connection();
  small_parts();
  flush_thread();
  return 0;
}
