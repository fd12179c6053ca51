/*
 * The AAA client library: authentication, authorization and accounting through the local AAA
 * daemon, aaad.
 *
 * A process registers once with aaa_svr_reg(), takes a session id for each user session with
 * aaa_get_session_id(), fills a record of aaa_codec.h, submits it, and either waits for the result
 * with aaa_user_get_result() or is called back. The library keeps the connection to aaad alive,
 * and connects and registers again without limit when aaad restarts. aaa_svr_dereg() ends it.
 *
 * Unless a declaration says otherwise:
 *  - Any thread of the client may call any function, before registration and after deregistration
 *    too, and from inside a callback.
 *  - No function ends the process, raises a signal or throws. Writing to a lost connection is an
 *    error that is returned, never SIGPIPE.
 *  - Callbacks run on the library's receive thread, one message at a time in order of arrival, with
 *    no lock of the library held. Events that registering and deregistering raise run on the
 *    caller's thread, that of aaa_svr_dereg() under a lock. What is passed to a callback belongs to
 *    the library and is released when the callback returns: copy what you keep. A slow callback
 *    delays every later message, heartbeats included; after 180 seconds the connection counts as
 *    lost.
 *  - Every call ends by itself. An exchange is a request to aaad whose answer the call waits for:
 *    with a silent aaad it ends after about 10 seconds. Each of its steps (emptying the socket,
 *    sending, reading the header, reading the body) has a limit of its own, at most 12 seconds.
 *    Calls that talk to aaad take their turn under one lock and may have to wait for another
 *    thread's exchange or attempt to connect first.
 *  - After fork() the child shares the sockets with its parent, has none of the library's threads
 *    and may find its locks held for ever: it must not call the library, only exec or _exit().
 *    exec closes the sockets in the child. The parent goes on as before.
 */
#ifndef AAA_CLIENT_H
#define AAA_CLIENT_H

#include <pthread.h>
#include <stdint.h>

#include "aaa_codec.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Messages ------------------------------------------------------------------------------ */

/* The header ahead of every message on the sockets to aaad; words in host byte order. */
typedef struct aaa_ipc_header {
  uint32_t marker; /* 0x01010101 */
  uint32_t id;     /* session id of per-user messages, else 0 */
  uint32_t type;   /* enum aaa_msg_type */
  uint32_t length; /* bytes of the body that follows */
} aaa_ipc_header;

typedef enum aaa_msg_type {
  AAA_MSG_REGISTER_REQ = 0,
  AAA_MSG_REREGISTER_REQ = 1,
  AAA_MSG_DEREGISTER_REQ = 2,
  AAA_MSG_GET_SESSION_ID = 3,
  AAA_MSG_SEND_RARE_RESULT = 4,
  AAA_MSG_AUTHEN_REQ = 5,
  AAA_MSG_AUTHOR_REQ = 6,
  AAA_MSG_ACCT_REQ = 7,
  AAA_MSG_DELETE_USER = 8,
  AAA_MSG_QUERY_MLIST_EXIST = 9,
  AAA_MSG_USER_SYNC = 10,
  AAA_MSG_RESTORE_USER = 11,
  AAA_MSG_SERVER_MIB = 12,
  AAA_MSG_REGISTER_GROUP = 13,
  AAA_MSG_GS_VALID_RESP = 14,
  AAA_MSG_RDS_ONLINE_INFO_RESP = 15,
  AAA_MSG_SET_RADIUS_GROUP_STATE = 16,
  AAA_MSG_RADIUS_GROUP_STATE_CHANGE = 17,
  AAA_MSG_QUERY_AUTHEN_MLIST_STATE = 18,
  AAA_MSG_CLEAR_USER = 19,
  AAA_MSG_HOT_BACKUP_USER_SYNC = 20,
  AAA_MSG_DOT1X_MIB = 21,
  AAA_MSG_LOCAL_QUERY_PWD = 22,
  AAA_MSG_RADEXT_REQ = 23,
  AAA_MSG_RADEXT_ADD_RESULT = 24,
  AAA_MSG_PAD_PKT = 25,
  AAA_MSG_UPDATE_USER_PWD_REQ = 26,
  AAA_MSG_USER_PWD_UPDATE_RESULT = 27,
  AAA_MSG_INTERFACE_CONTROL = 28,
  AAA_MSG_GET_NEW_MODEL_STATE_REQ = 29,
  AAA_MSG_LDAP_SEARCH_REQ = 32,
  AAA_MSG_LDAP_SEARCH_RESULT = 33,
  AAA_MSG_MOVE_OUT_DELETE_USER = 34,
  AAA_MSG_REGISTER_RESP = 100,
  AAA_MSG_DEREGISTER_RESP = 101,
  AAA_MSG_AAA_INFO_READY = 102,
  AAA_MSG_NOTIFY_RESULT = 103,
  AAA_MSG_MLIST_EXISTED_RESP = 104,
  AAA_MSG_NOTIFY_DEL_MSG = 105,
  AAA_MSG_AAA_DEBUG_INFO = 106,
  AAA_MSG_SERVER_MIB_RESP = 107,
  AAA_MSG_REGISTER_GROUP_RESP = 108,
  AAA_MSG_AUTHEN_GROUP_REQ = 109,
  AAA_MSG_AUTHOR_GROUP_REQ = 110,
  AAA_MSG_ACCT_GROUP_REQ = 111,
  AAA_MSG_GS_VALID_REQ = 112,
  AAA_MSG_GET_ONLINE_INFO = 113,
  AAA_MSG_AUTHEN_MLIST_STATE_RESULT = 114,
  AAA_MSG_LOCAL_AUTHEN_REQ = 115,
  AAA_MSG_LOCAL_AUTHOR_REQ = 116,
  AAA_MSG_LOCAL_CHANGE_PWD_REQ = 117,
  AAA_MSG_LOCAL_FS_GRANT = 118,
  AAA_MSG_LOCAL_COPY_USER = 119,
  AAA_MSG_LOCAL_UPDATE_USER = 120,
  AAA_MSG_ENABLE_AUTHEN = 121,
  AAA_MSG_MLIST_CHANGE = 122,
  AAA_MSG_DEL_MSG_REQ = 123,
  AAA_MSG_LOCAL_QUERY_PWD_RESP = 124,
  AAA_MSG_ADD_RADEXT_RESULT = 125,
  AAA_MSG_NOTIFY_COA_REQ = 126,
  AAA_MSG_LOCALEAP_AUTHEN = 127,
  AAA_MSG_BACKEND_UPDATE_USER_PWD = 128,
  AAA_MSG_UPDATE_USER_PWD_RESP = 129,
  AAA_MSG_GET_NEW_MODEL_STATE_RESP = 130,
  AAA_MSG_KEL = 131,
  AAA_MSG_HEARTBEAT = 132,
  AAA_MSG_LDAP_SEARCH_ENTRY_REQ = 140,
  AAA_MSG_NOTIFY_LDAP_SEARCH_RESULT = 141
} aaa_msg_type;

/* Sub-types of AAA_MSG_KEL, which other processes exchange. */
typedef enum aaa_kel_msg_type {
  AAA_KEL_MSG_UPDATA_SCALAR = 1,
  AAA_KEL_MSG_AUTHEN_REQ = 2,
  AAA_KEL_MSG_AUTHOR_REQ = 3,
  AAA_KEL_MSG_ACCT_REQ = 4,
  AAA_KEL_MSG_RADEXT_REQ = 5,
  AAA_KEL_MSG_RADEXT_ADD_RESULT = 6,
  AAA_KEL_MSG_RARE_RESULT = 7,
  AAA_KEL_MSG_DEL_MSG_REQ = 8,
  AAA_KEL_MSG_CLEAR_USER = 9,
  AAA_KEL_MSG_RADEXT_BATCH_REQ = 10,
  AAA_KEL_MSG_RADEXT_BATCH_RESULT = 11
} aaa_kel_msg_type;

/* The display name of a message type; "Unknown msg" for a number without one. Never null. */
AAA_API const char* aaa_ipc_get_msg_type_str(uint32_t type);
AAA_API const char* aaa_kel_ipc_get_msg_type_str(uint32_t sub_type);

/* ---- Memory -------------------------------------------------------------------------------- */

/*
 * Every heap block of the library comes from and goes back through these two, which count them.
 * `line` and `function` name the call site. A size of 0 gives null; null is ignored when freed.
 */
AAA_API void* aaa_malloc(uint32_t line, const char* function, uint32_t size);
AAA_API void aaa_free(uint32_t line, const char* function, void* block);

/* ---- Registration -------------------------------------------------------------------------- */

/* Told to aaa_event_cb. */
typedef enum aaa_client_event {
  AAA_EVENT_CONNECTION_LOST = 0, /* or the client deregistered */
  AAA_EVENT_REGISTERED = 1,      /* the library runs; whether aaad answered, ask aaa_is_alive() */
  AAA_EVENT_REREGISTERED = 2,    /* not in agent mode, which raises AAA_EVENT_REGISTERED again */
  AAA_EVENT_METHOD_LISTS_CHANGED = 3,
  AAA_EVENT_ACCT_STATUS_CHANGED = 4,
  AAA_EVENT_ACCT_PERIOD_CHANGED = 5,
  AAA_EVENT_ACCT_START_FAIL_POLICY_CHANGED = 6,
  AAA_EVENT_LOGIN_SERVICE_CHECK_MODE_CHANGED = 7
} aaa_client_event;

typedef enum aaa_reg_state {
  AAA_REG_NOT_REGISTERED = 1,
  AAA_REG_CONNECTING = 2,
  AAA_REG_CONNECTED = 3, /* and registering */
  AAA_REG_REGISTERED = 4,
  AAA_REG_LOST = 5 /* and registering again */
} aaa_reg_state;

/*
 * Size of the buffer in which group requests and LDAP questions pass the name of the group that
 * they are about; NUL-terminated. The library sends no answer to them, and what a callback writes
 * into the buffer goes nowhere.
 */
enum { AAA_GROUP_NAME_SIZE = 256 };

typedef void (*aaa_notify_result_fn)(result_info* result);
/* `body`: at least 560 bytes; the first 32-bit word is the kind of the notice. */
typedef void (*aaa_notify_del_msg_fn)(const void* body);
/* `body`: at least 720 bytes. */
typedef void (*aaa_notify_coa_req_fn)(const void* body);
typedef void (*aaa_ldap_search_result_fn)(ldap_search_result* result);
typedef void (*aaa_authen_group_req_fn)(authen_info* authen, char* group_name);
typedef void (*aaa_author_group_req_fn)(author_info* author, char* group_name);
typedef void (*aaa_acct_group_req_fn)(acct_info* acct, char* group_name);
typedef void (*aaa_del_msg_req_fn)(uint32_t word0, uint32_t word1, uint32_t word2);
/* `word` is the 32-bit word at byte 392 of `body`. Returns non-zero when the group is not valid. */
typedef int (*aaa_gs_valid_req_fn)(const void* body, uint32_t word, uint32_t body_length);
/* Fills the 8 zeroed bytes at `answer`, which are aligned to 8. `body` is null when the question
 * came without one. */
typedef void (*aaa_get_online_info_fn)(void* answer, const void* body);
typedef void (*aaa_enable_authen_fn)(authen_info* authen);
/* `body`: at least 24 bytes. */
typedef void (*aaa_add_radext_result_fn)(const void* body);
typedef void (*aaa_localeap_authen_fn)(authen_info* authen);
typedef void (*aaa_ldap_search_entry_req_fn)(ldap_search_info* search, char* group_name);
/* `event` is an aaa_client_event. The library ignores the result; aaa_lib_notify_aaa_event()
 * returns it to its caller. */
typedef int (*aaa_event_fn)(uint32_t event);
/* Strings are NUL-terminated; answer with aaa_add_user_pwd_update_result(). */
typedef void (*aaa_user_pwd_update_fn)(uint32_t code, const char* s1, const char* s2,
                                       const char* s3);
/* Reserved: stored, never called. */
typedef void (*aaa_reserved_fn)(void);

enum { AAA_MODEL_NAME_SIZE = 64 };

/* What a client registers with; read during the call, not kept. Null callbacks are allowed: what
 * they would be told of is dropped, except where said otherwise. */
typedef struct reg_info {
  uint8_t use_send_buf;                  /* non-zero: gather requests and write them every 20 ms */
  char model_name[AAA_MODEL_NAME_SIZE];  /* not empty; the first 63 characters count */
  aaa_notify_result_fn notify_result_cb; /* null: results wait for aaa_user_get_result() */
  aaa_reserved_fn reserved_cb;
  aaa_notify_del_msg_fn notify_del_msg_cb;
  aaa_notify_coa_req_fn notify_coa_req_cb;
  aaa_ldap_search_result_fn ldap_search_result_cb;
  aaa_authen_group_req_fn authen_group_req_cb;
  aaa_author_group_req_fn author_group_req_cb;
  aaa_acct_group_req_fn acct_group_req_cb;
  aaa_del_msg_req_fn del_msg_req_cb;
  aaa_gs_valid_req_fn gs_valid_req_cb;
  aaa_get_online_info_fn get_online_info_cb;
  aaa_enable_authen_fn enable_authen_cb;
  aaa_add_radext_result_fn add_radext_result_cb;
  aaa_localeap_authen_fn localeap_authen_cb;
  aaa_ldap_search_entry_req_fn ldap_search_entry_req_cb;
  aaa_event_fn aaa_event_cb;
  int32_t bind_core_id; /* above 0: the processor that the receive thread is bound to */
} reg_info;

/*
 * The connection record. Clients may look at it, without a lock a single word at a time; only the
 * library writes it. sync_fd may also hold the number of a socket that the library has closed: see
 * aaa_svr_dereg().
 */
typedef struct aaa_client_cb {
  char model_name[AAA_MODEL_NAME_SIZE];
  int32_t sync_fd;   /* request socket, -1 when closed */
  int32_t async_fd;  /* event socket, -1 when closed */
  int32_t aaa_id;    /* granted by aaad; 0: none yet; 255: refused; -1: deregistered */
  int32_t reg_state; /* aaa_reg_state */
  aaa_notify_result_fn notify_result_cb;
  aaa_notify_del_msg_fn notify_del_msg_cb;
  aaa_notify_coa_req_fn notify_coa_req_cb;
  aaa_reserved_fn reserved_cb;
  aaa_event_fn aaa_event_cb;
  aaa_ldap_search_result_fn ldap_search_result_cb;
  aaa_authen_group_req_fn authen_group_req_cb;
  aaa_author_group_req_fn author_group_req_cb;
  aaa_acct_group_req_fn acct_group_req_cb;
  aaa_del_msg_req_fn del_msg_req_cb;
  aaa_gs_valid_req_fn gs_valid_req_cb;
  aaa_get_online_info_fn get_online_info_cb;
  aaa_enable_authen_fn enable_authen_cb;
  aaa_add_radext_result_fn add_radext_result_cb;
  aaa_localeap_authen_fn localeap_authen_cb;
  aaa_ldap_search_entry_req_fn ldap_search_entry_req_cb;
} aaa_client_cb;

/* Settings that aaad sends at registration and when they change. */
typedef struct aaa_status {
  uint32_t new_model;       /* non-zero: on */
  uint32_t acct_period;     /* signed value */
  uint32_t acct_status;     /* non-zero: on */
  uint32_t debug;           /* 1: the library writes debug lines */
  uint32_t debug_msg_limit; /* lines per cycle; 0: no limit */
  uint32_t pro_status;
  uint32_t local_user_public_account; /* 1: allowed */
  uint32_t acct_start_fail_policy;
  uint32_t login_service_check_mode;
  uint32_t aaa_id_limit; /* heartbeats are kept while 0 < aaa_id < aaa_id_limit */
} aaa_status;

AAA_API extern aaa_client_cb g_aaa_client_cb;
AAA_API extern aaa_status g_aaa_status;

/* Printed in log lines; the library never writes it. A client may fill it with its own name. */
AAA_API extern char g_aaalib_process_name[64];

/*
 * Registers the process with aaad and starts the library's threads. Returns 0, also when aaad
 * cannot be reached yet: the receive thread then tries every 2 seconds without limit. Returns -1
 * for a null record, an empty model name, a work directory or local sockets that cannot be made
 * below TMPDIR, or a thread that cannot be started; nothing runs then.
 *
 * TMPDIR begins with "/" or "./" and must be the one that aaad has. The library makes security/aaa
 * below it and sets that directory's mode to 0777, every time: it must belong to the caller, or the
 * caller be root. SECURITY.md says how to keep others out. Names of sockets stay whole with up to
 * 69 bytes of TMPDIR; from 73 on aaad is never reached, from 76 on the first registration of a
 * process fails. After aaa_set_debug_switch(1) a line names TMPDIR when the directory or the local
 * sockets could not be made.
 *
 * While registered, connected or not, a second call replaces the model name and the callbacks,
 * ignores use_send_buf and bind_core_id, and returns 0. Two threads that register at once get one
 * registration.
 *
 * Before the call that registers returns, it calls the event callback once with
 * AAA_EVENT_REGISTERED, on the caller's thread and without a lock. Callbacks on the receive thread
 * may come earlier, and meanwhile. Takes about 100 ms, and about 10 seconds when aaad accepts the
 * connection but stays silent. With an aaad that answers each step at the last moment it can be 76:
 * 2 for each of two connects, 12 for each of three steps on two sockets.
 */
AAA_API int32_t aaa_svr_reg(const reg_info* reg_info);

/*
 * Tells aaad that the client leaves, drops requests that are still in the send buffer, ends the
 * threads, closes the sockets to aaad, raises AAA_EVENT_CONNECTION_LOST and forgets the callbacks,
 * but for the two of LDAP searches and the handler of password updates. Returns 0, also when aaad
 * does not answer, and when not registered. The event callback runs on the caller's thread with
 * aaa_lib_lock held: it may call the library, but must not wait for a thread that does.
 *
 * Returns -1, without an event and with the callbacks kept:
 *  - The request could not be sent. The client is registered as before.
 *  - aaad answered with another message. The request socket is closed, its number stays on record
 *    and counts as closed: requests fail with EBADF, also where the host gets that number for a
 *    file of its own, and so does another deregistration. The threads go on, reg_state stays 4.
 *    When aaad closes the event socket, or sends no heartbeat for 180 seconds, the library connects
 *    and registers again.
 *  - A socket could not be closed. The threads are ended and buffered requests are gone; reg_state
 *    stays 4, though nobody reads the event socket any more. Another call goes on with what is
 *    left: it returns 0 once both sockets are off the record.
 *
 * While there is no connection to aaad no request is sent and no event raised. The client's id is
 * taken away, the state is AAA_REG_NOT_REGISTERED, the threads end and the callbacks stay. Returns
 * 0. The receive thread may sleep between two attempts to connect, for up to 2 seconds.
 *
 * Blocks as long as another thread's exchange or attempt to connect holds aaa_lib_lock, then for up
 * to 12 seconds each for a batch that is being written, for sending the request and for its answer
 * (about 10 with a silent aaad), for the event callback, and at the end for at most 2 seconds for
 * the library's threads. After that no library thread runs, with these exceptions: the thread that
 * it was called on, and a thread that was not through within the 2 seconds, because it still runs a
 * callback or sleeps between two attempts. No message of the old connection is dispatched or
 * answered any more, but such a callback runs to its end: its code and data must stay until then.
 * The shared library itself stays mapped.
 *
 * May be called from inside a callback, and then does not wait for the thread of that callback.
 * aaa_svr_reg() may follow at once: callbacks of the new registration wait until one of the old has
 * returned.
 */
AAA_API int32_t aaa_svr_dereg(void);

/* 1 while registered and the library has not noticed the loss of the connection, else 0. Takes no
 * lock. */
AAA_API int32_t aaa_is_alive(void);

/* ---- Agent mode ---------------------------------------------------------------------------- */

/*
 * For a client that runs a loop of the platform's event-thread library. In place of the receive
 * thread, connecting, reading, heartbeats and reconnecting are tasks on that loop; callbacks run on
 * the loop's thread. An attempt to connect blocks the loop as long as aaa_svr_reg() may take.
 *
 * A lost connection, like a first one that fails, is tried again every 3 seconds. The first of
 * these attempts raises AAA_EVENT_CONNECTION_LOST, every success AAA_EVENT_REGISTERED. A thread
 * that waits in aaa_user_get_result() is not woken when the connection is lost.
 *
 * While the event library refuses a task, the library asks again every 2 seconds and does nothing
 * else on that thread, until the task is accepted or the registration has ended.
 */
struct zv_thread_master;

/*
 * Registers in agent mode; the connection is made later, on the loop, and `reg_info` stays the
 * caller's. 0, or -1: null argument, empty model name, work directory or local sockets cannot be
 * made, the send buffer's thread cannot be started, or the event-thread library is not linked.
 * TMPDIR as for aaa_svr_reg(), but the mode of a directory that exists stays as it is, so that it
 * may be another user's. Call it on the loop's thread, or while the loop does not run.
 *
 * A second call depends on what it finds:
 *  - Both sockets are open, or reg_state is not AAA_REG_NOT_REGISTERED: it replaces the model name
 *    and the callbacks and raises AAA_EVENT_REGISTERED on the caller's thread without a lock, also
 *    while the connection is lost.
 *  - Neither, because nothing is connected yet or the connection has just been lost: it takes all
 *    steps anew. Callbacks, loop and heartbeat clocks are replaced, and a task that connects at
 *    once takes the place of every pending task. No event is raised, and no second thread started
 *    for the send buffer.
 *  - A registration of aaa_svr_reg() has not come to either yet: model name and callbacks are
 *    replaced, no more.
 */
AAA_API int32_t aaa_agent_init(const reg_info* reg_info, struct zv_thread_master* master);

/*
 * Deregisters as aaa_svr_dereg(), forgets the callbacks and cancels every task: none runs after it
 * has returned. Where aaa_svr_dereg() returns -1 this call ends the registration nevertheless:
 * threads and sockets as after a success, AAA_EVENT_CONNECTION_LOST on the caller's thread, here
 * without a lock. Call it on the loop's thread, also from inside a callback, or while the loop does
 * not run. Returns 0.
 */
AAA_API int32_t aaa_agent_finish(void);

/*
 * Schedules one of the library's tasks, in place of the same task where it is pending: 0 connect,
 * at once and with `argument`, 1 reconnect, in 3 seconds, 2 read, when `fd` is readable, 3
 * heartbeat, in 60 seconds. 0, also for an unknown event; -1 without a loop or when the event
 * library refuses. Threads as aaa_agent_init().
 */
AAA_API int32_t aaa_lib_thread_event(int32_t event, void* argument, int32_t fd);

/* ---- Session ids and status ---------------------------------------------------------------- */

/*
 * A session id that no other session of this process has, or 0 when not registered, when aaad
 * grants none, or when it could not be asked. Ids come in blocks: most calls exchange nothing with
 * aaad. A block outlives the connection on which it was granted.
 */
AAA_API uint32_t aaa_get_session_id(void);

/* Settings of aaad as it sent them last; each returns 0 when not registered. They take no lock. */
AAA_API uint32_t aaa_get_pro_status(void);
AAA_API uint32_t aaa_get_new_model_status(void); /* 1 or 0 */
AAA_API int32_t aaa_get_acct_period(void);       /* never negative */
AAA_API uint32_t aaa_get_acct_start_fail_policy(void);
AAA_API uint32_t aaa_get_login_service_check_mode(void);
AAA_API uint32_t aaa_get_acct_status(void);                      /* 1 or 0 */
AAA_API uint32_t aaa_is_local_user_public_account_allowed(void); /* 1 or 0 */

/* Reads the state from aaad's file and stores it as the new-model status; 1 or 0. When not
 * registered, 0, and nothing is stored. */
AAA_API uint32_t aaa_get_new_model_status_syn(void);
/* 0 when the file, .new_model beside aaad's socket, begins with "0", is empty or cannot be read,
 * else 1. Registered or not. */
AAA_API uint32_t aaa_get_new_model_from_file(void);

/* ---- Requests ------------------------------------------------------------------------------ */

/*
 * Submit a request for the session named in the record. They return as soon as the message is
 * written, or queued when the client registered with use_send_buf: the result follows. The record
 * stays the caller's and may be released at once.
 *
 * 0: sent or queued. A queued request that cannot be written later is dropped: a debug line tells,
 * no result follows. -EINVAL: null record or session id 0. -1: not registered. -ENOMEM: no memory
 * (for accounting -EINVAL when the record cannot be encoded). Any other value: the negated errno
 * of the failed write: -EAGAIN after about 10 seconds with an aaad that does not read, -EPIPE,
 * -ECONNRESET or -EBADF when the connection has ended; -EINVAL, too, while it is being made.
 */
AAA_API int32_t aaa_user_req_authen(authen_info* authen);
AAA_API int32_t aaa_user_req_author(author_info* author);
AAA_API int32_t aaa_user_req_acct(acct_info* acct);

/* Sends three words; the first must not be 0. Results as above. */
AAA_API int32_t aaa_notify_ctrl_if_switch(const uint32_t words[3]);

/*
 * Waits for the result of one session. For clients without notify_result_cb, and for one thread at
 * a time: a second waiter takes results away from the first. Not for a callback: the thread that
 * runs it is the one that delivers results. `timeout` is in seconds, at most 120, and 0 looks only
 * for a result that has come; `unused` is ignored. Time is taken in steps of the clock's whole
 * second, at each arrival of another session's result, and may be out by up to a second each.
 *
 * Results of other sessions that are found are dropped, and each leaves its record allocated. A
 * result of more than 4,096 bytes is cut there. A client without notify_result_cb must fetch its
 * results: they wait in a socket of the process, as many as net.unix.max_dgram_qlen allows, and
 * each one more holds up the receive thread for about 10 seconds before it is dropped.
 *
 * 0: *result is the caller's, to be released with aaa_free_result_info(). When the connection to
 * aaad is lost meanwhile, that result has the session id, sub.num_a 2 and nothing else; session 0
 * is not told. -1: null result, or nothing was ever registered. -EINVAL: no result in time, or an
 * unreadable one, of any session. -ENOMEM: no memory. *result is left alone on failure.
 */
AAA_API int32_t aaa_user_get_result(uint32_t session_id, uint32_t unused, uint32_t timeout,
                                    result_info** result);

/* Tells aaad to forget the pending request of a session. 0 when sent or queued, else -1. */
AAA_API int32_t aaa_clear_req_user(uint32_t session_id);

/* ---- Users, servers and groups -------------------------------------------------------------- */

/*
 * The words that these functions take without further comment are aaad's; the library carries them.
 * Functions that return a word of aaad's answer wait for it in an exchange. The others return when
 * their message is written or queued: "sent" means either. Without "registered or not", an
 * unregistered client's call fails.
 */

/* Deletes a user. Always 0, also when not registered or when the request could not be sent. */
AAA_API int32_t aaa_delete_user(uint32_t session_id, uint32_t w1);
AAA_API int32_t aaa_move_out_delete_user(uint32_t session_id, uint32_t w1);

/* 0 when sent; -1 when not sent or not registered; -EINVAL for null words. */
AAA_API int32_t aaa_user_syn(uint32_t w0, const uint32_t words[3]);

/* 0 when sent, else -1, as for a null record or a flag of 0. */
AAA_API int32_t aaa_restore_user(const restore_user_info* record, uint32_t flag);

/* 0 when sent, else -1. Any non-null `flag` sets the flag word of the message. */
AAA_API int32_t aaa_ha_user_syn(uint32_t id, uint32_t unused, const restore_user_info* record,
                                const void* flag);

/*
 * Sends a result of the client's own. 0; -1: not registered; -EINVAL: null; -ENOMEM: no memory;
 * else the negated error of the write.
 */
AAA_API int32_t aaa_method_add_result(result_info* result);

/* Whether a method list exists, as aaad answers; 0 also when it cannot be asked or for null. */
AAA_API uint32_t aaa_mlist_existed(uint32_t w0, uint32_t w1, uint32_t w2, const char* name);

/* The state of an authentication method list; kinds 0 to 10; `name` may be null. 0 on failure. */
AAA_API uint32_t aaa_authen_mlist_sta_query(uint32_t kind, const char* name);

/* Statistics of a server: `mib` is 392 bytes. The word that aaad answers, or -1 on failure. */
AAA_API int32_t aaa_srv_mib(const void* mib, uint32_t w);

/* Hands over two words of 802.1X statistics. 0 when sent, else -1. */
AAA_API int32_t aaa_mib_from_dot1x(const uint32_t words[2]);

/* 1 when aaad answered that it has registered the group, else 0. */
AAA_API uint32_t aaa_register_group(uint32_t w1, const char* name, uint32_t w0);

/* Tell of a RADIUS group's state, and that states changed (returns 0). Registered or not; whether
 * they were sent is not told. */
AAA_API void aaa_set_rds_grp_sta(const char* group_name, uint32_t state);
AAA_API int32_t aaa_rds_grp_sta_chg(void);

/* Sends a RADIUS-extension message. 1 when sent, else 0. */
AAA_API int32_t aaa_lib_radext_msg_recv(const radext_msg* msg);

/* Results of RADIUS extensions: three words, or six given as they are. 0 when sent, else -1.
 * Registered or not. */
AAA_API int32_t aaa_front_add_radext_result(uint32_t w0, uint32_t w1, uint32_t w2);
AAA_API int32_t aaa_front_add_radext_result2(const uint32_t words[6]);

/*
 * Asks aaad to update a user's password. 0: *status_out is the second word of aaad's answer, 1 for
 * an answer of another type. 2: null argument. 4: no answer, or not registered. 5: no memory.
 * *status_out is left alone on failure.
 */
AAA_API int32_t aaa_update_user_pwd(uint32_t w0, uint32_t w1, const char* s1, const char* s2,
                                    const char* s3, uint32_t* status_out);

/*
 * The handler for password updates that aaad asks for; null to have them dropped. It runs like a
 * callback, stays across registrations, and answers with aaa_add_user_pwd_update_result(code,
 * status), which returns 0 when sent or queued, else 4.
 */
AAA_API void aaa_add_user_pwd_update_req_handle(aaa_user_pwd_update_fn handler);
AAA_API int32_t aaa_add_user_pwd_update_result(uint32_t w0, uint32_t w1);

/* ---- LDAP searches -------------------------------------------------------------------------- */

/*
 * A question to aaad, answered through ldap_search_result_cb, and an answer to a question that came
 * through ldap_search_entry_req_cb. 0 when sent or queued; -EINVAL: null; -1: not registered;
 * -ENOMEM: no memory; else the negated error of the write, as for requests.
 */
AAA_API int32_t aaa_user_req_search_ldap_entry(ldap_search_info* info);
AAA_API int32_t aaa_add_ldap_search_result(ldap_search_result* result);

/* ---- Diagnostics --------------------------------------------------------------------------- */

/* Counters of the sockets; not exact under concurrency. Zero at load, never reset. */
typedef struct aaa_msg_stat {
  uint32_t send_error_times;
  uint32_t send_again_times;
  uint32_t recv_fail_times;
  uint32_t last_error_socket;
  uint32_t last_error_errno;
  uint32_t resend_discard_num;
} aaa_msg_stat;

/* Counters of the library; times in microseconds. Zero at load, never reset. */
typedef struct aaalib_stat {
  uint32_t authen_requests;
  uint32_t authen_failures;
  uint32_t authen_time_total;
  uint32_t authen_time_max;
  uint32_t acct_requests;
  uint32_t acct_failures;
  uint32_t acct_time_total;
  uint32_t acct_time_max;
  uint32_t session_id_requests;
  uint32_t session_id_failures;
  uint32_t session_id_time_total;
  uint32_t session_id_time_max;
  uint32_t mlist_queries;
  uint32_t mlist_failures;
  uint32_t mlist_time_total;
  uint32_t mlist_time_max;
  uint32_t results_to_callback;
  uint32_t results_to_waiter;
  uint32_t user_deletions;
  uint32_t user_deletion_failures;
  uint32_t user_restores;
  uint32_t user_restore_failures;
  uint32_t ha_user_syncs;
  uint32_t ha_user_sync_failures;
  uint32_t coa_and_kick_notices;
  uint32_t radext_results;
  uint32_t radext_result_failures;
} aaalib_stat;

AAA_API extern aaa_msg_stat g_aaa_msg_stat;
AAA_API extern aaalib_stat g_aaalib_stat;

/* A printf-like function that the counters are printed with. */
typedef int (*aaa_print_fn)(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* Prints the counters of sockets and memory, a line each. A null `print` is ignored. Returns 0. */
AAA_API int32_t aaa_show_msg_stat(aaa_print_fn print);
/* The same under a second name. */
AAA_API int32_t aaalib_show_msg_stat(aaa_print_fn print);

/* Turns debug lines on (1) or off (0); any other value is ignored. */
AAA_API void aaa_set_debug_switch(uint32_t on);

/* The text of an accounting terminate cause; null for a code without one, and for 0. */
AAA_API const char* rds_acct_term_cause_string(uint32_t code);

/* An address of either family. */
typedef struct aaa_address {
  uint16_t family; /* AF_INET or AF_INET6 */
  uint8_t reserved[2];
  uint32_t ipv4; /* host byte order */
  uint8_t ipv6[16];
} aaa_address;

/* Writes the address as text into `buffer` and returns it; 46 bytes always suffice. */
AAA_API char* aaa_ipstr(const aaa_address* address, char* buffer);
/* The same for an IPv4 address in host byte order; 16 bytes suffice. */
AAA_API char* aaa_ipv4str(uint32_t address, char* buffer);

/* ---- Process-health watchdog --------------------------------------------------------------- */

/*
 * For long-running threads of the client: register with the platform's watchdog, report that the
 * thread is alive, leave. Each returns what the platform call returns, negative on failure.
 */
AAA_API int32_t aaa_reg_ham_client_thread_notify(int32_t pid, int32_t tid);
AAA_API int32_t aaa_reg_ham_client_notify(void);
AAA_API int32_t aaa_reset_ham_client_notify(void);
AAA_API int32_t aaa_dereg_ham_client_notify(void);
AAA_API int32_t aaa_dereg_ham_client_notify_by_tid(int32_t tid);
/*
 * Reports when the system's uptime is more than 50 seconds away from *stamp and then returns as the
 * report does; if that is not negative, the uptime is stored there. Returns 0 when there was
 * nothing to do. `stamp` must not be null.
 */
AAA_API int32_t aaa_check_reset_ham_client_notify(uint32_t* stamp);

/* ---- Working parts ------------------------------------------------------------------------- */

/*
 * What follows is the library's own machinery, exported for diagnostics and for programs that drive
 * it themselves. An ordinary client needs none of it.
 *
 * Unless a declaration says otherwise, errors are errno values, any thread may call, a null pointer
 * is refused like any bad argument, and a message block that a function returns is the caller's,
 * who releases it with aaa_free(). Functions that write a debug line write it only while the debug
 * switch is on and the limit of lines is not reached.
 */

/*
 * The library's locks, recursive and valid from load on; taken in this order. A thread that holds
 * one of them excludes the library's own work, so hold them for moments only. aaa_svr_dereg()
 * called meanwhile may wait its full 2 seconds for a thread that waits for the lock.
 *
 * aaa_lib_lock          the connection record, the sockets, every exchange with aaad
 * aaa_lib_send_buf_lock the send buffer
 */
AAA_API extern pthread_mutex_t aaa_lib_lock;
AAA_API extern pthread_mutex_t aaa_lib_send_buf_lock;

/*
 * Makes the library's recursive locks anew, the first time it succeeds; a lock that a thread holds
 * is left as it is. Registration calls it, and whatever takes one of these locks for the first
 * time. Returns 0; or -1 when a lock could not be made: the locks then are as valid as before, and
 * a later call tries again.
 */
AAA_API int32_t aaa_lib_mutex_init(void);

/*
 * Makes a recursive mutex of the caller's. Returns 0, or the error of pthread_mutexattr_init() or
 * pthread_mutex_init(); the latter is always logged. EINVAL for null.
 */
AAA_API int32_t aaa_lib_recursive_mutex_init(pthread_mutex_t* mutex);

/*
 * Names the calling thread. `name` holds at least 16 bytes: the name as the kernel has kept it, at
 * most 15 characters, is written back. Writes a debug line. Null is ignored.
 */
AAA_API void set_thread_name(char* name);

/*
 * Asks for one debug line: 1 when it may be written, 0 when not. With a limit of n in
 * g_aaa_status.debug_msg_limit, n lines pass; the next one is refused with a notice that is always
 * written, and the limit is 1000 from then on. A limit of 0 refuses nothing. Does not look at the
 * debug switch.
 */
AAA_API int32_t aaalib_debug_num_check(void);

/* -- Paths -- */

/*
 * Writes the value of TMPDIR followed by `suffix` into the `size` bytes at `buffer`. Returns 1; or
 * 0, with `buffer` left alone, when TMPDIR is not set, the two together have `size` characters or
 * more, or a pointer is null. Reads the environment: not while another thread changes it.
 */
AAA_API int32_t aaa_make_path(char* buffer, const char* suffix, uint32_t size);

/*
 * Makes every missing directory of `path`, with mode 0777 less the umask. A path starts with "/",
 * of which the first 255 characters count, or with "./". Returns 0, also when the last name is
 * there as another kind of file; EINVAL for null; the error of a failed mkdir(); -1 for any other
 * failure.
 */
AAA_API int32_t aaa_make_dir(const char* path);

/*
 * Makes the directory of the sockets, security/aaa below TMPDIR, and sets its mode to 0777. Returns
 * 0; or -1, also when it belongs to another user and the caller is not root.
 */
AAA_API int32_t aaa_lib_make_work_dir(void);

/* -- Sockets -- */

/* The pair of datagram sockets that hands results to a waiting thread; -1 until made. */
AAA_API extern int32_t lib_msg_server_fd;
AAA_API extern int32_t lib_msg_client_fd;

/*
 * Makes that pair, once for the process; it stays open for good. Takes aaa_lib_lock. Returns 0 or
 * -1. The numbers of what a failure has closed stay in the two words until the next attempt, and
 * where TMPDIR was at fault the first socket stays open until then.
 */
AAA_API int32_t aaa_lib_msg_socket_init(void);

/*
 * Connects a stream socket to aaad, under the local name `prefix` followed by the process id: a
 * full path, of which the first 107 bytes count, and whose file is removed before and after.
 * Returns the descriptor, close-on-exec, with a limit of 2 seconds on each send and recv, and the
 * caller's to close; or -1. Blocks for at most 2 seconds when aaad does not accept.
 */
AAA_API int32_t aaa_lib_client_connect(const char* prefix);

/*
 * Opens whichever of the request and event sockets is not open, and puts it on record. Takes
 * aaa_lib_lock. Returns 0; or -1, and the event socket is not tried when the request socket failed.
 * On a request socket that it has opened, the library writes no frame before one of type
 * AAA_MSG_REGISTER_REQ: others fail with EINVAL until then.
 */
AAA_API int32_t aaa_lib_client_connect_all(void);

/*
 * Closes both and forgets their numbers. A thread that is writing to one of them or reading a
 * message from the event socket gets an error, at once or after a pause of 100 ms between two
 * attempts, and is waited for. Takes aaa_lib_lock. Returns 0; -1 when a close failed: a descriptor
 * that was not open is forgotten, any other keeps its number. Two equal descriptors are closed
 * once, and then 0 is returned also for one that was not open.
 */
AAA_API int32_t aaa_lib_client_close(void);

/* 1 when an error of a socket means that the connection to aaad is lost, else 0. */
AAA_API int32_t aaa_lib_is_conn_broken_err(int32_t error);

/* -- Framed messages -- */

/*
 * Builds a message: a block of header and body. A null `body` counts as empty, whatever
 * `body_length` says. Returns the block and stores its length in *total_length; or null, with
 * *total_length left alone, when there is no memory or the body is longer than 2,147,483,631 bytes.
 * A null `total_length` is allowed.
 */
AAA_API aaa_ipc_header* aaa_init_msg(uint32_t type, uint32_t id, const void* body,
                                     uint32_t body_length, uint32_t* total_length);

/*
 * Writes `length` bytes on any descriptor, with `flags` and MSG_NOSIGNAL. Takes no lock; a
 * cancellation point. Returns 0; EINVAL for a bad argument; the error of a failed send(); EAGAIN or
 * EINTR after 50 refused or interrupted attempts, 100 ms apart. After about 10 seconds an error,
 * never 0: the value of errno then, which is EAGAIN or EINTR unless bytes still went.
 *
 * Here and in aaa_msg_recv() the time is looked at between two calls of the system: a descriptor
 * that blocks should have a time limit of its own, as the library's have, of 2 seconds.
 */
AAA_API int32_t aaa_msg_send(int32_t fd, const void* buffer, int32_t length, int32_t flags);

/*
 * Reads exactly `length` bytes from any descriptor. Takes no lock; a cancellation point. Returns 0,
 * also for a length of 0; EINVAL for null or a negative descriptor, an error also for a negative
 * length; EPIPE when the peer has closed; the error of a failed recv(); after about 10 seconds, 12
 * where a call waits for 2, the value of errno then, as above. Between attempts it does not pause:
 * a descriptor that does not block keeps the processor busy. What was read before a failure is
 * lost.
 */
AAA_API int32_t aaa_msg_recv(int32_t fd, void* buffer, int32_t length);

/*
 * Frames a body with id 0 and writes it. One of the link's two sockets is written under that
 * socket's own lock, so that frames never mix; on another descriptor of the caller's no lock is
 * taken. Returns 0, ENOMEM, or as aaa_msg_send(): EBADF for a number that the library has closed,
 * EINVAL on a request socket that the library has opened and that waits for its register request.
 */
AAA_API int32_t aaa_send_ipc_msg(int32_t fd, uint32_t type, const void* body, uint32_t body_length);
/* The same with a debug line first. */
AAA_API int32_t aaalib_send_ipc_msg_print(int32_t fd, uint32_t type, const void* body,
                                          uint32_t body_length);

/*
 * Reads one message from a descriptor of the caller's, without a lock and whatever its marker. Null
 * when it could not be read whole, or when there is no memory for it; what was read of it is lost.
 */
AAA_API aaa_ipc_header* aaa_recv_ipc_msg_from_sd(int32_t fd);

/*
 * The synchronous exchange: under aaa_lib_lock throws away what stands unread on the request
 * socket, sends a request with id 0 and returns the next message as the reply, whatever its type.
 * Null for a negative length, or a null body with another length than 0; null, with debug lines,
 * when the request could not be sent or no reply came. When the socket cannot be emptied (aaad has
 * closed it, the link is lost, 10 seconds have passed) nothing is sent. Blocks as every exchange.
 */
AAA_API aaa_ipc_header* aaalib_sr_ipc_msg(uint32_t type, const void* body, int32_t body_length);

/*
 * Read one message from the request socket, under aaa_lib_lock, and from the event socket, under
 * the lock of its reader: what the receive thread has received ahead comes first, so that no
 * message is cut. The lock is held until the message has come, for up to about 12 seconds each for
 * header and body. Null as above, with a debug line. The receive thread takes messages too, so that
 * it is open who gets one.
 */
AAA_API aaa_ipc_header* aaalib_recv_ipc_msg(void);
AAA_API aaa_ipc_header* aaalib_recv_async_ipc_msg(void);

/* -- One-way requests -- */

/*
 * Frames a body and queues it, when the flush thread runs, or writes it on the request socket; a
 * debug line first, in which `fd` appears. Takes aaa_lib_send_buf_lock or the socket's own lock,
 * not aaa_lib_lock. Returns 0 or an error: ENOMEM, or as aaa_send_ipc_msg().
 */
AAA_API uint32_t aaa_lib_send_ipc_msg(int32_t fd, uint32_t type, uint32_t id, const void* body,
                                      uint32_t body_length);
/* The same. Returns 0; 2 for a negative length or a null body with another length than 0; 4 when
 * it was not sent. */
AAA_API int32_t aaalib_send_ipc_msg(uint32_t type, uint32_t id, const void* body,
                                    int32_t body_length);

/*
 * Submit a record under a message type of the caller's, with its session id as the message id. No
 * test whether the client is registered, no statistics. 0; -EINVAL for null, and for session id 0
 * with AAA_MSG_AUTHEN_REQ or AAA_MSG_AUTHOR_REQ respectively; -ENOMEM; or the negated error of the
 * write.
 */
AAA_API int32_t aaa_user_req_authen_sub(authen_info* authen, uint32_t type);
AAA_API int32_t aaa_user_req_author_sub(author_info* author, uint32_t type);

/* -- Send buffer -- */

/* Gathers requests into one message of type AAA_MSG_PAD_PKT; guarded by aaa_lib_send_buf_lock. */
enum { AAA_SEND_BUF_BODY_SIZE = 8192 };
typedef struct aaa_send_buf {
  aaa_ipc_header header;
  uint8_t body[AAA_SEND_BUF_BODY_SIZE];
} aaa_send_buf;

AAA_API extern aaa_send_buf aaalib_send_buf;
AAA_API extern uint32_t g_send_buf_msg_cnt;
AAA_API extern uint8_t g_send_buf_init;
AAA_API extern pthread_t g_send_buf_tid;    /* the library's flush thread; 0: requests not queued */
AAA_API extern uint32_t g_send_buf_tmr;     /* not used */
AAA_API extern uint8_t g_send_buf_tmr_init; /* not used */

/* Empties the buffer, the first time it is called. */
AAA_API void aaa_lib_send_buf_init(void);
/* Empties the buffer; what it held is dropped. */
AAA_API void aaa_lib_send_buf_reset(void);
/* Writes the buffer to aaad, if it holds anything and a registered request socket is on record; a
 * failure is told by a debug line only. The caller resets it afterwards. */
AAA_API void aaa_lib_send_buf(void);
/*
 * Adds one framed message, which stays the caller's. A buffer that has no room, or holds 16
 * messages, is written and reset first; a message of 8,192 bytes or more is then written at once.
 * What cannot be written is dropped with a debug line. Returns 0.
 */
AAA_API int32_t aaa_lib_add_send_buf(const void* message, uint32_t length);
/* Starts the flush thread, unless it runs: requests are queued from then on. aaa_svr_dereg() ends
 * it. Returns 0 or -1. */
AAA_API int32_t aaalib_init_send_buf_thread(void);
/*
 * What the flush thread does: names the calling thread, puts it under the watchdog and writes and
 * resets the buffer every 20 ms, except while a connection waits for its register request. For a
 * thread of the client, which aaa_svr_dereg() does not end, and which does not have requests queued
 * by itself. Returns never; the thread can be cancelled while it waits.
 */
AAA_API void* aaa_lib_send_buf_chk_thread(void* unused);

/* -- Heartbeat, statistics, events -- */

/* Monotonic second of the last heartbeat sent (0: none) and received. */
AAA_API extern uint32_t aaalib_hbt_last_send;
AAA_API extern uint32_t aaalib_hbt_last_recv;

/*
 * Adds the time since a wall-clock instant to the total of a timing slot of g_aaalib_stat (0
 * authentication, 1 accounting, 2 session ids, 3 method lists) and raises its maximum; microseconds
 * in unsigned 32-bit arithmetic. Other slots are ignored. Threads that race may leave a maximum
 * that is none of theirs.
 */
AAA_API void aaalib_stat_time_elapse(uint32_t slot, uint32_t start_sec, uint32_t start_usec);

/* Calls the client's event callback and returns its result; without one, returns `event`. */
AAA_API int32_t aaa_lib_notify_aaa_event(uint32_t event);

/* -- Messages of aaad -- */

/*
 * Hands an encoded result to the thread in aaa_user_get_result(), as one datagram on
 * lib_msg_client_fd. Blocks for about 10 seconds while nobody takes what waits there. An error is
 * told by a debug line only.
 */
AAA_API void aaa_lib_send_msg(const void* body, uint32_t length);

/*
 * Handles one message of the event socket, which counts as one of the present connection: what
 * changes the library's state or is answered does so for that one. `body` is null when
 * header->length is 0, else it holds header->length bytes and a NUL behind them. Callbacks run on
 * the calling thread, without waiting for those of the receive thread. `header` must not be null.
 */
AAA_API void aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body);

/* The handlers by message type; arguments as above. */
AAA_API void aaalib_ipc_msg_proc_aaa_info_notify(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_notify_result(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_notify_del_msg(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_aaa_debug_info(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_authen_group_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_author_group_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_acct_group_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_gs_valid_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_get_online_info(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_enable_authen(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_mlist_change(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_del_msg_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_add_radext_result(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_notify_coa_req(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_localeap_authen(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_backend_update_user_pwd(const aaa_ipc_header* header,
                                                         const void* body);
AAA_API void aaalib_ipc_msg_proc_heartbeat(const aaa_ipc_header* header, const void* body);
AAA_API void aaalib_ipc_msg_proc_ldap_search_entry_req(const aaa_ipc_header* header,
                                                       const void* body);
AAA_API void aaalib_ipc_msg_proc_notify_ldap_search_entry_result(const aaa_ipc_header* header,
                                                                 const void* body);

/*
 * Closes the event socket, which ends the receive thread; reg_state and the request socket stay.
 * For a client that has been told of its deregistration; the library does not call it. Takes
 * aaa_lib_lock.
 */
AAA_API void aaalib_ipc_msg_proc_dereg_response(void);

#ifdef __cplusplus
}
#endif

#endif
