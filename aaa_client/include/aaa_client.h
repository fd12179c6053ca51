/*
 * The AAA client library: authentication, authorization and accounting through the local AAA
 * daemon, aaad.
 *
 * A process registers once with aaa_svr_reg(), gets a session id for each user session with
 * aaa_get_session_id(), fills a record of aaa_codec.h, submits it, and receives the result in
 * aaa_user_get_result() or in a callback. The library keeps the connection to aaad alive and
 * reconnects and registers again, without limit, when aaad restarts. aaa_svr_dereg() ends it.
 *
 * Unless a declaration says otherwise:
 *  - Any thread may call any function, from inside a callback too, and also before registration and
 *    after deregistration.
 *  - No function ends the process, raises a signal or throws. Writing to a closed connection
 *    returns an error and never raises SIGPIPE.
 *  - Callbacks run on the library's receive thread, one at a time, in the order in which the
 *    messages arrived, with no lock of the library held. The events of registering and
 *    deregistering run on the calling thread, that of aaa_svr_dereg() with aaa_lib_lock held.
 *    Arguments of a callback belong to the library, which releases them when the callback returns:
 *    copy what you need longer. A slow callback delays all later messages, heartbeats included;
 *    after 180 seconds the connection is treated as lost.
 *  - Every call is bounded in time. An exchange, a request to aaad whose answer the call waits for,
 *    ends after about 10 seconds when aaad is silent. Each of its steps (draining the socket,
 *    sending, reading the header, reading the body) has a limit of its own: about 12 seconds, with
 *    the last system call and the pause after it.
 *    Calls that talk to aaad are serialized by aaa_lib_lock and may first wait for another thread's
 *    exchange or attempt to connect.
 *  - After fork() the child shares the sockets with its parent, has none of the library's threads,
 *    and may find its locks locked forever: it must not call the library, only exec or _exit().
 *    exec closes the sockets in the child. The parent is not affected.
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

/* The header of every message on the sockets to aaad; words in host byte order. */
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

/* Sub-types of AAA_MSG_KEL, for other processes; the library does not use them. */
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

/* The display name of a message type or sub-type: a constant string, "Unknown msg" for a number
 * that has none. Never null. */
AAA_API const char* aaa_ipc_get_msg_type_str(uint32_t type);
AAA_API const char* aaa_kel_ipc_get_msg_type_str(uint32_t sub_type);

/* ---- Memory -------------------------------------------------------------------------------- */

/*
 * Every heap block of the library is allocated and freed by these two, which count the calls.
 * `line` and `function` name the call site and are not used. aaa_malloc() returns null for a size
 * of 0 and when there is no memory. aaa_free() ignores null.
 */
AAA_API void* aaa_malloc(uint32_t line, const char* function, uint32_t size);
AAA_API void aaa_free(uint32_t line, const char* function, void* block);

/* ---- Registration -------------------------------------------------------------------------- */

/* Events passed to aaa_event_cb. */
typedef enum aaa_client_event {
  AAA_EVENT_CONNECTION_LOST = 0, /* or the client deregistered */
  AAA_EVENT_REGISTERED = 1,      /* the library runs; aaa_is_alive() tells whether aaad answered */
  AAA_EVENT_REREGISTERED = 2,    /* agent mode raises AAA_EVENT_REGISTERED again instead */
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
 * Size of the buffer that holds the group's name in group requests and LDAP questions of aaad;
 * NUL-terminated. The library does not answer these messages, and what a callback writes into the
 * buffer is discarded.
 */
enum { AAA_GROUP_NAME_SIZE = 256 };

typedef void (*aaa_notify_result_fn)(result_info* result);
/* `body`: at least 560 bytes; its first 32-bit word is the kind of the notice. */
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
/* Fills the 8 bytes at `answer`, which are zero before and aligned to 8. `body` is null when the
 * question has none. */
typedef void (*aaa_get_online_info_fn)(void* answer, const void* body);
typedef void (*aaa_enable_authen_fn)(authen_info* authen);
/* `body`: at least 24 bytes. */
typedef void (*aaa_add_radext_result_fn)(const void* body);
typedef void (*aaa_localeap_authen_fn)(authen_info* authen);
typedef void (*aaa_ldap_search_entry_req_fn)(ldap_search_info* search, char* group_name);
/* `event` is an aaa_client_event. The library ignores the return value; aaa_lib_notify_aaa_event()
 * passes it on to its caller. */
typedef int (*aaa_event_fn)(uint32_t event);
/* The strings are NUL-terminated. Answer with aaa_add_user_pwd_update_result(). */
typedef void (*aaa_user_pwd_update_fn)(uint32_t code, const char* s1, const char* s2,
                                       const char* s3);
/* Reserved: stored, never called. */
typedef void (*aaa_reserved_fn)(void);

enum { AAA_MODEL_NAME_SIZE = 64 };

/* The registration record; read during the call and copied. A callback may be null: its messages
 * are then dropped; to the questions of gs_valid_req_cb and get_online_info_cb the library then
 * answers "valid" and 8 zero bytes. */
typedef struct reg_info {
  uint8_t use_send_buf;                  /* non-zero: batch requests and send them every 20 ms */
  char model_name[AAA_MODEL_NAME_SIZE];  /* not empty; only the first 63 characters are used */
  aaa_notify_result_fn notify_result_cb; /* null: results are for aaa_user_get_result() */
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
  int32_t bind_core_id; /* above 0: number of the CPU that the receive thread is bound to */
} reg_info;

/*
 * The connection record. Only the library writes it. A client may read it, without a lock only word
 * by word. sync_fd can hold the number of a socket that the library has closed: see
 * aaa_svr_dereg().
 */
typedef struct aaa_client_cb {
  char model_name[AAA_MODEL_NAME_SIZE];
  int32_t sync_fd;   /* request socket, -1 when closed */
  int32_t async_fd;  /* event socket, -1 when closed */
  int32_t aaa_id;    /* from aaad; 0: none yet; 255: refused; -1: deregistered */
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

/* The status words: settings that aaad sends at registration and when they change. */
typedef struct aaa_status {
  uint32_t new_model;       /* non-zero: on */
  uint32_t acct_period;     /* signed value */
  uint32_t acct_status;     /* non-zero: on */
  uint32_t debug;           /* 1: the library writes debug lines */
  uint32_t debug_msg_limit; /* see aaalib_debug_num_check(); 0: no limit */
  uint32_t pro_status;
  uint32_t local_user_public_account; /* 1: allowed */
  uint32_t acct_start_fail_policy;
  uint32_t login_service_check_mode;
  uint32_t aaa_id_limit; /* heartbeats are sent and expected while 0 < aaa_id < aaa_id_limit */
} aaa_status;

AAA_API extern aaa_client_cb g_aaa_client_cb;
AAA_API extern aaa_status g_aaa_status;

/* A client may store its name here for log lines; the library only reads it. */
AAA_API extern char g_aaalib_process_name[64];

/*
 * Sets the directory below which aaad's sockets are, in place of TMPDIR, for every path that is
 * made later, including when a connection is rebuilt. For set-user-id programs, where the C library
 * hides TMPDIR, and for threaded programs, where the environment must not be changed. Null: TMPDIR
 * again. Returns 0; -1, with nothing changed, when the path does not begin with "/" or has more
 * than 69 bytes. The path is copied; it stays set for the whole process. Any thread; takes only a
 * short lock of its own.
 */
AAA_API int32_t aaa_set_directory(const char* path);

/*
 * Sets the user that aaad must belong to, for every connection that is made later. After each
 * connect, and before a byte is sent, the user of the listening process (SO_PEERCRED) is compared;
 * a connection to another user's process is closed and counts as a failed connect. That is logged
 * regardless of the debug switch, once as long as the user stays the same. -1, the default: no
 * check. Returns 0; -1, with nothing changed, for a number that is not a user id. Existing
 * connections are not checked. Any thread; takes no lock.
 */
AAA_API int32_t aaa_set_aaad_uid(int64_t uid);

/*
 * Returns 1 while the process is registered or tries to be, in thread mode or agent mode, even
 * with no aaad to reach; else 0. For a module that must not take over the registration of its host.
 * Any thread; takes aaa_lib_lock, and so waits for a registration, deregistration or exchange on
 * another thread, unless the answer is 1.
 */
AAA_API int32_t aaa_is_in_use(void);

/*
 * Registers the process with aaad and starts the library's threads. Returns 0 even if aaad
 * cannot be reached yet: the receive thread then retries every 2 seconds without limit. Returns -1
 * for a null record, an empty model name, a work directory or local sockets that cannot be created,
 * or a thread that cannot be started; no thread of the library runs then.
 *
 * The directory is that of aaa_set_directory(), else TMPDIR, which must begin with "/" or "./". It
 * must be the same as aaad's. The library creates security/aaa below it and sets the mode of that
 * directory to 0777 at every registration, so the caller must own it or be root. SECURITY.md says
 * how to keep other users out. Up to 69 bytes fit the socket names; from 73 bytes on aaad cannot be
 * reached, from 76 on the first registration of a process fails. After aaa_set_debug_switch(1) a
 * debug line names the directory when it or the local sockets could not be created.
 *
 * While registered, connected or not, a second call replaces the model name and the callbacks,
 * ignores use_send_buf and bind_core_id, raises no event and returns 0. Two threads that register
 * at the same time make one registration.
 *
 * The call that registers raises AAA_EVENT_REGISTERED once before it returns, on the calling thread
 * and without a lock. Callbacks on the receive thread can run earlier or at the same time. It takes
 * about 100 ms, and about 10 seconds when aaad accepts the connection but does not answer. The
 * upper bound is about 76 seconds: 2 for each of two connects, 12 for each of three steps on two
 * sockets.
 */
AAA_API int32_t aaa_svr_reg(const reg_info* reg_info);

/*
 * Sends aaad a deregister request, drops the requests that are still in the send buffer, ends the
 * threads, closes the sockets to aaad, raises AAA_EVENT_CONNECTION_LOST and clears the callbacks,
 * except the two for LDAP searches and the password-update handler. Returns 0, even if aaad does
 * not answer or the client is not registered. The event callback runs on the calling thread
 * with aaa_lib_lock held: it may call the library, but must not wait for a thread that does.
 *
 * Returns -1, raises no event and keeps the callbacks in these cases:
 *  - The request could not be sent. The client stays registered.
 *  - aaad answered with another message. The request socket is closed, but sync_fd keeps its
 *    number, which the library treats as closed: requests, and a second deregistration, fail with
 *    EBADF, even if the host process has reused the number. The threads continue and reg_state
 *    stays 4. When aaad closes the event socket, or sends no heartbeat for 180 seconds, the library
 *    reconnects and registers again.
 *  - A socket could not be closed. The threads have ended and buffered requests are dropped;
 *    reg_state stays 4, although no thread reads the event socket. Call again: it continues, and
 *    returns 0 once sync_fd and async_fd are -1.
 *
 * While there is no connection to aaad, no request is sent and no event is raised: aaa_id becomes
 * -1, reg_state AAA_REG_NOT_REGISTERED, the threads end, the callbacks are kept, and the call
 * returns 0. The receive thread may then sleep for up to 2 seconds before it ends.
 *
 * Blocks while another thread's exchange or attempt to connect holds aaa_lib_lock. Then it takes
 * about 12 seconds at most for each of: a batch that is being written, sending the request, the
 * answer (about 10 with a silent aaad), and a batch that the flush thread has begun meanwhile; the
 * time of the event callback; and at most 2 seconds for the library's threads. A thread of the
 * client that holds aaa_lib_send_buf_lock, or fills the buffer with aaa_lib_add_send_buf(), is
 * waited for too.
 *
 * After it returns no library thread runs, except the one that it was called on, and one that still
 * runs a callback, waits for another callback to return, or sleeps between two attempts to connect.
 * No message of the old connection is dispatched or answered any more and no event is raised, but a
 * running callback runs to its end: keep its code and data until then. The shared library stays
 * mapped.
 *
 * From inside a callback it does not wait for the thread of that callback. aaa_svr_reg() may follow
 * immediately: callbacks of the new registration wait until a callback of the old one has returned.
 */
AAA_API int32_t aaa_svr_dereg(void);

/* Returns 1 while registered and connected, as far as the library has noticed, else 0. Takes no
 * lock. */
AAA_API int32_t aaa_is_alive(void);

/* ---- Agent mode ---------------------------------------------------------------------------- */

/*
 * For a client that runs a loop of the platform's event-thread library. There is no receive thread:
 * connecting, reading, heartbeats and reconnecting are tasks on that loop, and callbacks run on the
 * loop's thread. An attempt to connect can block the loop as long as aaa_svr_reg().
 *
 * After a failed first attempt or a lost connection the library retries every 3 seconds. The first
 * retry raises AAA_EVENT_CONNECTION_LOST, every success AAA_EVENT_REGISTERED. A lost connection
 * does not wake a thread that waits in aaa_user_get_result().
 *
 * When the event library refuses a task, the library retries every 2 seconds and blocks the
 * calling thread until the task is accepted or the registration has ended.
 */
struct zv_thread_master;

/*
 * Registers in agent mode; the connection is made later, on the loop. `reg_info` is copied. Returns
 * 0; or -1 for a null argument, an empty model name, a work directory or local sockets that cannot
 * be created, a flush thread that cannot be started, or when the event-thread library is not
 * linked. The directory is as for aaa_svr_reg(), but the mode of an existing directory is not
 * changed, so it may belong to another user. Call it on the loop's thread, or while the loop does
 * not run.
 *
 * A second call depends on the state that it finds:
 *  - Both sockets are open, or reg_state is not AAA_REG_NOT_REGISTERED: it replaces the model name
 *    and the callbacks and raises AAA_EVENT_REGISTERED on the calling thread without a lock, even
 *    while the connection is lost.
 *  - Otherwise, after aaa_agent_init(): it starts over. Callbacks, loop and heartbeat times are
 *    replaced, all pending tasks are cancelled and a connect task is scheduled. No event is raised
 *    and no second flush thread is started.
 *  - Otherwise, after aaa_svr_reg(): it replaces the model name and the callbacks.
 */
AAA_API int32_t aaa_agent_init(const reg_info* reg_info, struct zv_thread_master* master);

/*
 * Deregisters as aaa_svr_dereg() does, clears the callbacks and cancels every task: none runs after
 * it has returned. If deregistration fails it ends the registration nevertheless: it stops the
 * threads, closes the sockets and raises AAA_EVENT_CONNECTION_LOST on the calling thread, in this
 * case without a lock. A registration that the client makes inside that event stays, with its
 * callbacks and tasks. Call it on the loop's thread, from inside a callback too, or while the loop
 * does not run. Returns 0.
 */
AAA_API int32_t aaa_agent_finish(void);

/*
 * Schedules one of the library's tasks and replaces the same task if it is pending. `event`: 0
 * connect, immediately and with `argument`; 1 reconnect, in 3 seconds; 2 read, when `fd` is
 * readable; 3 heartbeat, in 60 seconds. Returns 0, also for an unknown event; -1 without a loop or
 * when the event library refuses. Call it on the loop's thread, or while the loop does not run.
 */
AAA_API int32_t aaa_lib_thread_event(int32_t event, void* argument, int32_t fd);

/* ---- Session ids and status ---------------------------------------------------------------- */

/*
 * Returns a session id that is unique in this process; 0 when not registered, when aaad grants
 * none, or when the exchange fails. aaad grants ids in blocks, so most calls need no exchange. A
 * block stays valid when the connection is lost.
 */
AAA_API uint32_t aaa_get_session_id(void);

/* The status words as aaad last sent them; 0 when not registered. These functions take no lock. */
AAA_API uint32_t aaa_get_pro_status(void);
AAA_API uint32_t aaa_get_new_model_status(void); /* 1 or 0 */
AAA_API int32_t aaa_get_acct_period(void);       /* never negative */
AAA_API uint32_t aaa_get_acct_start_fail_policy(void);
AAA_API uint32_t aaa_get_login_service_check_mode(void);
AAA_API uint32_t aaa_get_acct_status(void);                      /* 1 or 0 */
AAA_API uint32_t aaa_is_local_user_public_account_allowed(void); /* 1 or 0 */

/* Returns aaa_get_new_model_from_file() and stores the value as the new-model status. When not
 * registered it returns 0 and stores nothing. */
AAA_API uint32_t aaa_get_new_model_status_syn(void);
/* Reads the file .new_model in the directory of the sockets. Returns 0 when it begins with "0", is
 * empty or cannot be read, else 1. Needs no registration. */
AAA_API uint32_t aaa_get_new_model_from_file(void);

/* ---- Requests ------------------------------------------------------------------------------ */

/*
 * Submit a request for the session in record->session_id. They return when the message is written
 * or, with use_send_buf, queued; the result comes later. The caller keeps the record and may
 * release it immediately. They hold aaa_lib_lock while they send.
 *
 * 0: sent or queued. A queued request that cannot be written later is dropped with a debug line,
 * and no result follows. -EINVAL: null record or session id 0; also while the connection is being
 * established. -1: not registered. -ENOMEM: no memory (for accounting: -EINVAL when the record
 * cannot be encoded). Otherwise the negated errno of the failed write: -EAGAIN when aaad has not
 * read for about 10 seconds; -EPIPE, -ECONNRESET or -EBADF when the connection has ended.
 */
AAA_API int32_t aaa_user_req_authen(authen_info* authen);
AAA_API int32_t aaa_user_req_author(author_info* author);
AAA_API int32_t aaa_user_req_acct(acct_info* acct);

/* Sends three words; -EINVAL when the first is 0. Other results as above. */
AAA_API int32_t aaa_notify_ctrl_if_switch(const uint32_t words[3]);

/*
 * Waits for the result of one session. For clients without notify_result_cb. Only one thread may
 * wait at a time: a second one would take results from the first. Do not call it in a callback: the
 * thread that runs the callback is the one that delivers results. `timeout` is in seconds, at most
 * 120; 0 only checks for a result that has arrived. `unused` is ignored. Elapsed time is measured
 * in whole seconds at each result of another session, with an error of up to a second each.
 *
 * Results of other sessions are dropped, and the record of each is leaked. A result is truncated to
 * 4,096 bytes. A client without notify_result_cb must fetch its results: up to
 * net.unix.max_dgram_qlen of them wait in a socket of the process, and each further one blocks the
 * receive thread for about 10 seconds before it is dropped.
 *
 * 0: *result belongs to the caller, who releases it with aaa_free_result_info(). If the connection
 * to aaad is lost meanwhile, the result has only the session id and sub.num_a = 2; a wait for
 * session 0 is not woken. -1: null result, or the process never registered. -EINVAL: timeout, or a
 * result of any session that cannot be decoded. -ENOMEM: no memory. On failure *result is
 * unchanged.
 */
AAA_API int32_t aaa_user_get_result(uint32_t session_id, uint32_t unused, uint32_t timeout,
                                    result_info** result);

/* Asks aaad to drop the pending request of a session. 0: sent or queued; -1: failure. */
AAA_API int32_t aaa_clear_req_user(uint32_t session_id);

/* ---- Users, servers and groups -------------------------------------------------------------- */

/*
 * The meaning of uncommented arguments is defined by aaad; the library only carries them. Functions
 * that return a value of aaad's answer are exchanges. The others return when their message is
 * written or queued; "sent" means either. A call fails when the client is not registered, unless
 * its comment says "needs no registration".
 */

/* Delete a user. Always return 0, also when not registered or when the request was not sent. */
AAA_API int32_t aaa_delete_user(uint32_t session_id, uint32_t w1);
AAA_API int32_t aaa_move_out_delete_user(uint32_t session_id, uint32_t w1);

/* 0: sent; -1: not sent or not registered; -EINVAL: null. */
AAA_API int32_t aaa_user_syn(uint32_t w0, const uint32_t words[3]);

/* 0: sent; -1: failure, also for a null record or a flag of 0. */
AAA_API int32_t aaa_restore_user(const restore_user_info* record, uint32_t flag);

/* 0: sent; -1: failure. A null record is sent as a block of zeros. A non-null `flag` sets the flag
 * word of the message. */
AAA_API int32_t aaa_ha_user_syn(uint32_t id, uint32_t unused, const restore_user_info* record,
                                const void* flag);

/*
 * Sends a result that the client has produced. 0: sent; -1: not registered; -EINVAL: null; -ENOMEM:
 * no memory; otherwise the negated errno of the write.
 */
AAA_API int32_t aaa_method_add_result(result_info* result);

/* Whether a method list exists, as aaad answers; 0 also for null and when the exchange fails. */
AAA_API uint32_t aaa_mlist_existed(uint32_t w0, uint32_t w1, uint32_t w2, const char* name);

/* The state of an authentication method list. `kind` is 0 to 10; `name` may be null. 0: failure. */
AAA_API uint32_t aaa_authen_mlist_sta_query(uint32_t kind, const char* name);

/* Statistics of a server; `mib` has 392 bytes. Returns the word that aaad answers; -1: failure. */
AAA_API int32_t aaa_srv_mib(const void* mib, uint32_t w);

/* Sends two words of 802.1X statistics. 0: sent; -1: failure. */
AAA_API int32_t aaa_mib_from_dot1x(const uint32_t words[2]);

/* Registers a server group. 1: aaad has registered it; 0: refused or failure. */
AAA_API uint32_t aaa_register_group(uint32_t w1, const char* name, uint32_t w0);

/* Report the state of a RADIUS group, and that states have changed (always returns 0). Errors are
 * not reported. Need no registration. */
AAA_API void aaa_set_rds_grp_sta(const char* group_name, uint32_t state);
AAA_API int32_t aaa_rds_grp_sta_chg(void);

/* Sends a RADIUS-extension message. 1: sent; 0: failure. */
AAA_API int32_t aaa_lib_radext_msg_recv(const radext_msg* msg);

/* Send a result of a RADIUS extension: three words, or six words as they are. 0: sent; -1: failure.
 * Need no registration. */
AAA_API int32_t aaa_front_add_radext_result(uint32_t w0, uint32_t w1, uint32_t w2);
AAA_API int32_t aaa_front_add_radext_result2(const uint32_t words[6]);

/*
 * Asks aaad to update a user's password; an exchange. 0: *status_out is the second word of aaad's
 * answer, or 1 if the answer has another type. 2: null argument. 4: no answer, or not registered.
 * 5: no memory. On failure *status_out is unchanged.
 */
AAA_API int32_t aaa_update_user_pwd(uint32_t w0, uint32_t w1, const char* s1, const char* s2,
                                    const char* s3, uint32_t* status_out);

/*
 * Sets the handler for password updates that aaad asks for; null: they are dropped. The handler
 * runs like a callback, remains set across registrations, and answers with
 * aaa_add_user_pwd_update_result(code, status), which returns 0 when sent or queued, else 4.
 */
AAA_API void aaa_add_user_pwd_update_req_handle(aaa_user_pwd_update_fn handler);
AAA_API int32_t aaa_add_user_pwd_update_result(uint32_t w0, uint32_t w1);

/* ---- LDAP searches -------------------------------------------------------------------------- */

/*
 * Send a question to aaad, whose answer comes to ldap_search_result_cb, and the answer to a
 * question that came to ldap_search_entry_req_cb. 0: sent or queued; -EINVAL: null; -1: not
 * registered; -ENOMEM: no memory; otherwise the negated errno of the write, as for
 * aaa_user_req_authen().
 */
AAA_API int32_t aaa_user_req_search_ldap_entry(ldap_search_info* info);
AAA_API int32_t aaa_add_ldap_search_result(ldap_search_result* result);

/* ---- Diagnostics --------------------------------------------------------------------------- */

/* Counters of socket errors; approximate when several threads count. Zero at load, never reset. */
typedef struct aaa_msg_stat {
  uint32_t send_error_times;
  uint32_t send_again_times;
  uint32_t recv_fail_times;
  uint32_t last_error_socket;
  uint32_t last_error_errno;
  uint32_t resend_discard_num;
} aaa_msg_stat;

/* Statistics; times in microseconds. Zero at load, never reset. */
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

/* A printf-like function. */
typedef int (*aaa_print_fn)(const char* format, ...) __attribute__((format(printf, 1, 2)));

/* Prints the counters of sockets and memory, one line each. Does nothing when `print` is null.
 * Returns 0. */
AAA_API int32_t aaa_show_msg_stat(aaa_print_fn print);
/* Another name of aaa_show_msg_stat(). */
AAA_API int32_t aaalib_show_msg_stat(aaa_print_fn print);

/* Turns debug lines on (1) or off (0). Other values are ignored. */
AAA_API void aaa_set_debug_switch(uint32_t on);

/* The text of an accounting terminate cause, a constant string; null for 0 and unknown codes. */
AAA_API const char* rds_acct_term_cause_string(uint32_t code);

/* An IPv4 or IPv6 address. */
typedef struct aaa_address {
  uint16_t family; /* AF_INET or AF_INET6 */
  uint8_t reserved[2];
  uint32_t ipv4; /* host byte order */
  uint8_t ipv6[16];
} aaa_address;

/* Writes the address as text into `buffer`, of at least 46 bytes, and returns `buffer`. */
AAA_API char* aaa_ipstr(const aaa_address* address, char* buffer);
/* The same for an IPv4 address in host byte order; at least 16 bytes. */
AAA_API char* aaa_ipv4str(uint32_t address, char* buffer);

/* ---- Process-health watchdog --------------------------------------------------------------- */

/*
 * For long-running threads of the client: register the thread with the platform's watchdog, report
 * that it is alive, unregister it. Each returns the result of the platform call, negative on
 * failure.
 */
AAA_API int32_t aaa_reg_ham_client_thread_notify(int32_t pid, int32_t tid);
AAA_API int32_t aaa_reg_ham_client_notify(void);
AAA_API int32_t aaa_reset_ham_client_notify(void);
AAA_API int32_t aaa_dereg_ham_client_notify(void);
AAA_API int32_t aaa_dereg_ham_client_notify_by_tid(int32_t tid);
/*
 * Reports the calling thread alive if the system's uptime differs from *stamp by more than 50
 * seconds. Returns the result of the report and, unless that is negative, stores the uptime in
 * *stamp. Returns 0 when no report was due. `stamp` must not be null.
 */
AAA_API int32_t aaa_check_reset_ham_client_notify(uint32_t* stamp);

/* ---- Working parts ------------------------------------------------------------------------- */

/*
 * The library's internal functions, exported for diagnostics and for programs that drive the
 * protocol themselves. An ordinary client needs none of them.
 *
 * Unless a declaration says otherwise, errors are positive errno values, any thread may call, a
 * null pointer is an error, and a returned message block belongs to the caller, who releases it
 * with aaa_free(). Debug lines are written only while the debug switch is on and their limit is not
 * reached.
 */

/*
 * The library's locks, recursive and valid from load time; take them in this order. A thread that
 * holds one blocks the library, so hold it only briefly. aaa_svr_dereg() on that thread can wait
 * its full 2 seconds for a library thread that waits for the lock.
 *
 * aaa_lib_lock          the connection record, the sockets, every exchange with aaad
 * aaa_lib_send_buf_lock the send buffer
 */
AAA_API extern pthread_mutex_t aaa_lib_lock;
AAA_API extern pthread_mutex_t aaa_lib_send_buf_lock;

/*
 * Initializes the library's recursive locks again, once; a lock that is locked is left unchanged.
 * Registration calls it, and so does the first function that takes one of these locks. A client
 * with several threads that takes an exported lock itself calls it first: a lock that is being
 * taken during the initialization is not yet seen as locked, and two threads could then hold it.
 * Returns 0; -1 when a lock could not be initialized: the locks stay valid and a later call tries
 * again.
 */
AAA_API int32_t aaa_lib_mutex_init(void);

/*
 * Initializes the caller's mutex as a recursive one. Returns 0; EINVAL for null; or the error of
 * pthread_mutexattr_init() or pthread_mutex_init(), the latter with a log line that is always
 * written.
 */
AAA_API int32_t aaa_lib_recursive_mutex_init(pthread_mutex_t* mutex);

/*
 * Names the calling thread and writes a debug line. `name` must have at least 16 bytes: the name as
 * the kernel has stored it, at most 15 characters, is written back. Null is ignored.
 */
AAA_API void set_thread_name(char* name);

/*
 * Counts one debug line. Returns 1 when it may be written, 0 when not. With a limit of n in
 * g_aaa_status.debug_msg_limit, n lines are allowed; the next one is refused, a notice is written
 * always, the count restarts and the limit becomes 1000. A limit of 0 allows all. Does not check
 * the debug switch.
 */
AAA_API int32_t aaalib_debug_num_check(void);

/* -- Paths -- */

/*
 * Writes the directory of aaa_set_directory(), else the value of TMPDIR, followed by `suffix` into
 * the `size` bytes at `buffer`. Returns 1; 0 and leaves `buffer` unchanged when neither is set,
 * when the path would have `size` characters or more, or when a pointer is null. No thread may
 * change the environment meanwhile.
 */
AAA_API int32_t aaa_make_path(char* buffer, const char* suffix, uint32_t size);

/*
 * Creates the missing directories of `path` with mode 0777 & ~umask. The path begins with "/" (only
 * the first 255 characters are used) or with "./". Returns 0, also when the last component exists
 * as another kind of file; EINVAL for null; the errno of a failed mkdir(); -1 for any other
 * failure.
 */
AAA_API int32_t aaa_make_dir(const char* path);

/*
 * Creates the directory of the sockets, security/aaa, as aaa_svr_reg() does, with mode 0777.
 * Returns 0; -1 on failure, also when it belongs to another user and the caller is not root.
 */
AAA_API int32_t aaa_lib_make_work_dir(void);

/* -- Sockets -- */

/* The pair of datagram sockets that passes results to a waiting thread; -1 until created. */
AAA_API extern int32_t lib_msg_server_fd;
AAA_API extern int32_t lib_msg_client_fd;

/*
 * Creates that pair, once per process; it stays open until the process ends. Takes aaa_lib_lock.
 * Returns 0 or -1. After a failure the two words keep the numbers of closed sockets until the next
 * attempt; if no path could be made, the first socket stays open until then.
 */
AAA_API int32_t aaa_lib_msg_socket_init(void);

/*
 * Connects a stream socket to aaad. Its local address is `prefix`, a full path, followed by the
 * process id and truncated to 107 bytes; the file of that name is removed before and after. Returns
 * the descriptor, which the caller closes; it is close-on-exec and has a timeout of 2 seconds for
 * each send and recv. Returns -1 on failure. Blocks for at most 2 seconds when aaad does not
 * accept.
 */
AAA_API int32_t aaa_lib_client_connect(const char* prefix);

/*
 * Opens the request socket and the event socket, unless they are open, and stores their numbers in
 * g_aaa_client_cb. Takes aaa_lib_lock. Returns 0; -1 on failure, and if the request socket fails
 * the event socket is not tried. The first frame on a new request socket must have the type
 * AAA_MSG_REGISTER_REQ: others fail with EINVAL until it is written. The library does not check
 * what is written first on the event socket.
 */
AAA_API int32_t aaa_lib_client_connect_all(void);

/*
 * Closes both and sets their numbers to -1. Waits for threads that are writing to one of them or
 * reading a message from the event socket; they get an error within about 100 ms. Takes
 * aaa_lib_lock. Returns 0; -1 when a close failed: with EBADF the number is set to -1, otherwise it
 * is kept. If both numbers are equal the descriptor is closed once, and EBADF is no failure.
 */
AAA_API int32_t aaa_lib_client_close(void);

/* Returns 1 when an errno value of a socket means that the connection to aaad is lost, else 0. */
AAA_API int32_t aaa_lib_is_conn_broken_err(int32_t error);

/* -- Framed messages -- */

/*
 * Builds a message: one block with header and body. If `body` is null, `body_length` is taken as 0.
 * Returns the block and stores its length in *total_length, which may be null. Returns null and
 * leaves *total_length unchanged when there is no memory or the body is longer than 2,147,483,631
 * bytes.
 */
AAA_API aaa_ipc_header* aaa_init_msg(uint32_t type, uint32_t id, const void* body,
                                     uint32_t body_length, uint32_t* total_length);

/*
 * Writes `length` bytes to any descriptor, with `flags` and MSG_NOSIGNAL. Takes no lock; is a
 * cancellation point. Returns 0; EINVAL for a bad argument; the errno of a failed send(); EAGAIN or
 * EINTR after 50 attempts, 100 ms apart, that were refused or interrupted; at the deadline of about
 * 10 seconds the current errno, which is never 0 and usually EAGAIN or EINTR.
 *
 * This function and aaa_msg_recv() check the time between two system calls. A blocking descriptor
 * should have a timeout of its own; the library's have 2 seconds.
 */
AAA_API int32_t aaa_msg_send(int32_t fd, const void* buffer, int32_t length, int32_t flags);

/*
 * Reads exactly `length` bytes from any descriptor. Takes no lock; is a cancellation point. Returns
 * 0, also for a length of 0; EINVAL for null or a negative descriptor; an error for a negative
 * length; EPIPE when the peer has closed; the errno of a failed recv(); at the deadline of about 10
 * seconds (12 with the last system call) the current errno, as above. It does not pause between
 * attempts, so a non-blocking descriptor keeps the CPU busy. Bytes read before a failure are lost.
 */
AAA_API int32_t aaa_msg_recv(int32_t fd, void* buffer, int32_t length);

/*
 * Frames a body with id 0 and writes it. Writes to the request socket or the event socket are
 * serialized by that socket's lock, so frames never interleave; for other descriptors no lock is
 * taken. A null body is an empty one, whatever its length. Returns 0; ENOMEM; EBADF for a number
 * that the library has closed, as long as sync_fd holds it; EINVAL on a new request socket that
 * waits for its register request; otherwise as aaa_msg_send().
 */
AAA_API int32_t aaa_send_ipc_msg(int32_t fd, uint32_t type, const void* body, uint32_t body_length);
/* The same, with a debug line first. */
AAA_API int32_t aaalib_send_ipc_msg_print(int32_t fd, uint32_t type, const void* body,
                                          uint32_t body_length);

/*
 * Reads one message from a descriptor of the caller. Takes no lock and does not check the marker.
 * Returns null when the message could not be read completely, or when there is no memory; the bytes
 * read are lost. It knows nothing of what the library has read ahead: read the library's own
 * sockets with aaalib_recv_ipc_msg() and aaalib_recv_async_ipc_msg().
 */
AAA_API aaa_ipc_header* aaa_recv_ipc_msg_from_sd(int32_t fd);

/*
 * The synchronous exchange. Under aaa_lib_lock it discards unread bytes of the request socket,
 * sends a request with id 0 and returns the next message as the reply, whatever its type. Returns
 * null for a negative length, and for a null body with a length other than 0; null, with debug
 * lines, when the request could not be sent or no reply came. If the socket cannot be drained (aaad
 * has closed it, the connection is lost, 10 seconds have passed), nothing is sent.
 */
AAA_API aaa_ipc_header* aaalib_sr_ipc_msg(uint32_t type, const void* body, int32_t body_length);

/*
 * Read one message: from the request socket, under aaa_lib_lock; from the event socket, under its
 * read lock. Both start with the bytes that the library has read ahead: on the event socket the
 * receive thread, on the request socket an exchange, if more than its answer had arrived. The lock
 * is held until the message has arrived, up to about 12 seconds each for header and body. Return
 * null as aaa_recv_ipc_msg_from_sd() does, with a debug line. The receive thread reads the event
 * socket too, so either may get a message.
 */
AAA_API aaa_ipc_header* aaalib_recv_ipc_msg(void);
AAA_API aaa_ipc_header* aaalib_recv_async_ipc_msg(void);

/* -- One-way requests -- */

/*
 * Frames a body and queues it, if the flush thread runs, or writes it to the request socket. Writes
 * a debug line first; `fd` is only printed there. A null body is an empty one. Takes
 * aaa_lib_send_buf_lock or the socket's lock, not aaa_lib_lock. Returns 0 or an error as
 * aaa_send_ipc_msg().
 */
AAA_API uint32_t aaa_lib_send_ipc_msg(int32_t fd, uint32_t type, uint32_t id, const void* body,
                                      uint32_t body_length);
/* The same. Returns 0; 2 for a negative length, or a null body with a length other than 0; 4 when
 * it was not sent. */
AAA_API int32_t aaalib_send_ipc_msg(uint32_t type, uint32_t id, const void* body,
                                    int32_t body_length);

/*
 * Submit a record under a given message type, with its session id as the message id. They do not
 * check for a registration and count no statistics. Return 0; -EINVAL for null, and for session id
 * 0 with AAA_MSG_AUTHEN_REQ or AAA_MSG_AUTHOR_REQ respectively; -ENOMEM; otherwise the negated
 * errno of the write.
 */
AAA_API int32_t aaa_user_req_authen_sub(authen_info* authen, uint32_t type);
AAA_API int32_t aaa_user_req_author_sub(author_info* author, uint32_t type);

/* -- Send buffer -- */

/*
 * Batches requests in one message of type AAA_MSG_PAD_PKT. Guarded by aaa_lib_send_buf_lock, which
 * the functions here take; they wait for a write of another thread that holds it.
 */
enum { AAA_SEND_BUF_BODY_SIZE = 8192 };
typedef struct aaa_send_buf {
  aaa_ipc_header header;
  uint8_t body[AAA_SEND_BUF_BODY_SIZE];
} aaa_send_buf;

AAA_API extern aaa_send_buf aaalib_send_buf;
AAA_API extern uint32_t g_send_buf_msg_cnt;
AAA_API extern uint8_t g_send_buf_init;
AAA_API extern pthread_t g_send_buf_tid;    /* the flush thread; 0: none, requests are not queued */
AAA_API extern uint32_t g_send_buf_tmr;     /* not used */
AAA_API extern uint8_t g_send_buf_tmr_init; /* not used */

/* Resets the buffer on the first call; later calls do nothing. */
AAA_API void aaa_lib_send_buf_init(void);
/* Empties the buffer and drops its messages. */
AAA_API void aaa_lib_send_buf_reset(void);
/* Writes the buffer to aaad, if it is not empty and there is a request socket that has sent its
 * register request. Takes the socket's lock too; blocks for about 12 seconds at most when aaad does
 * not read. A failure causes a debug line only. The caller resets the buffer afterwards. */
AAA_API void aaa_lib_send_buf(void);
/*
 * Adds one framed message, which the caller keeps. If the buffer has no room or holds 16 messages,
 * it is written and reset first. A message of 8,192 bytes or more is written directly after the
 * buffer. Each of these writes blocks like aaa_lib_send_buf(). A message that cannot be written is
 * dropped with a debug line. Null is ignored. Returns 0.
 */
AAA_API int32_t aaa_lib_add_send_buf(const void* message, uint32_t length);
/* Starts the flush thread, unless it runs. From then on requests are queued. aaa_svr_dereg() ends
 * it. Returns 0 or -1. */
AAA_API int32_t aaalib_init_send_buf_thread(void);
/*
 * The flush thread's function, for a thread of the client: names the calling thread, registers it
 * with the watchdog, and writes and resets the buffer every 20 ms, except while a connection waits
 * for its register request. Such a thread does not cause requests to be queued, and aaa_svr_dereg()
 * does not end it. Never returns; the thread can be cancelled while it waits.
 */
AAA_API void* aaa_lib_send_buf_chk_thread(void* unused);

/* -- Heartbeat, statistics, events -- */

/* Monotonic second of the last heartbeat sent (0: none) and received. */
AAA_API extern uint32_t aaalib_hbt_last_send;
AAA_API extern uint32_t aaalib_hbt_last_recv;

/*
 * Adds the time since a wall-clock instant to the total of a timing slot of g_aaalib_stat (0
 * authentication, 1 accounting, 2 session ids, 3 method lists) and raises its maximum; microseconds
 * in unsigned 32-bit arithmetic. Other slots are ignored. With concurrent calls the maximum is
 * approximate.
 */
AAA_API void aaalib_stat_time_elapse(uint32_t slot, uint32_t start_sec, uint32_t start_usec);

/* Calls the client's event callback and returns its result; without one, returns `event`. */
AAA_API int32_t aaa_lib_notify_aaa_event(uint32_t event);

/* -- Messages of aaad -- */

/*
 * Passes an encoded result to the thread in aaa_user_get_result(), as one datagram on
 * lib_msg_client_fd. Blocks for about 10 seconds when the queue of that socket is full. An error
 * causes a debug line only. A socket that aaa_lib_msg_socket_init() has closed is not written to,
 * even if the host process has reused its number, until the word has held another value. A value
 * that is put there and taken back between two calls of the library is not noticed.
 */
AAA_API void aaa_lib_send_msg(const void* body, uint32_t length);

/*
 * Dispatches one message as if it had arrived on the current event socket. `header` must not be
 * null. `body` is null when header->length is 0, else it has header->length bytes followed by a
 * NUL. Callbacks run on the calling thread, concurrently with those of the receive thread.
 */
AAA_API void aaa_lib_async_msg_proc(const aaa_ipc_header* header, const void* body);

/* The handlers of the message types; arguments as above. */
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
 * Closes the event socket, which ends the receive thread; reg_state and the request socket are not
 * changed. The library does not call it. Takes aaa_lib_lock.
 */
AAA_API void aaalib_ipc_msg_proc_dereg_response(void);

#ifdef __cplusplus
}
#endif

#endif
