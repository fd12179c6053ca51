/*
 * Local users: requests that aaad answers from its local user database.
 *
 * Every function except the release function is one exchange with aaad: it takes aaa_lib_lock, may
 * first wait for another thread's exchange, and returns when the answer has arrived or the exchange
 * has failed, after about 10 seconds if aaad is silent. Any thread may call. The library wipes
 * requests and answers from its own memory; the client wipes its arguments and results.
 *
 * A word or code of aaad can have the same value as a result that is listed for a failure.
 */
#ifndef USERNAME_LIB_H
#define USERNAME_LIB_H

#include <stdint.h>

#include "aaa_codec.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Requests ------------------------------------------------------------------------------ */

/*
 * Authenticate or authorize a local user. The session id may be 0. With use_send_buf the request is
 * queued like others. 0: *result belongs to the caller, who releases it with
 * aaa_free_result_info(); the values of item_318 to item_320 are null. -1: null argument, not
 * registered, not sent, no memory, or no answer that can be decoded; *result is unchanged.
 */
AAA_API int32_t username_lib_authen_req(authen_info* authen, result_info** result);
AAA_API int32_t username_lib_author_req(author_info* author, result_info** result);

/*
 * Changes a password. The three strings together must not exceed 168 bytes. Returns the first word
 * of the answer, whatever its type; -1: null argument or strings too long, nothing is sent; -5: not
 * registered, not sent or no answer.
 */
AAA_API int32_t username_lib_chg_pwd(const char* s1, const char* s2, const char* s3);

/*
 * Asks for a file-service grant. At most 64 bytes of `s1` and 4,096 of `s2` are sent. Returns the
 * negated code of aaad, 0 to -255; -2: null string; -3: not registered; -1: no memory, not sent or
 * no answer.
 */
AAA_API int32_t username_lib_fs_grant_req(const char* s1, const char* s2, uint32_t value);

/*
 * Queries the security of a password. Each string has at most 65,535 bytes. Returns the first word
 * of the answer; -1: null argument; -2: not registered, not sent or no answer; -3: an answer of
 * another type, or no memory.
 */
AAA_API int32_t username_lib_query_pwd_secu(const char* s1, const char* s2);

/* ---- Whole records ------------------------------------------------------------------------- */

/* A node or the head of a circular doubly linked list; the head of an empty list points to
 * itself. */
typedef struct aaa_list {
  struct aaa_list* next;
  struct aaa_list* prev;
} aaa_list;

/* Allocated with aaa_malloc(). */
typedef struct local_user_password {
  char text[256]; /* NUL-terminated; sent only when it has 1 to 247 characters */
  aaa_list links;
} local_user_password;

/* Allocated with aaa_malloc() by the record's owner; neither fetched nor sent. */
typedef struct local_user_block {
  uint8_t data[8200];
  aaa_list links;
} local_user_block;

/*
 * A local user. The caller owns the record; the library fills it in, and allocates and frees only
 * the entries of its lists. One thread at a time. After a fetch, members that are not transferred
 * are zero and flags are 1 or 0; a flag other than 0 is sent as 1. A text that is empty or has no
 * NUL is not sent. aaad defines the meaning of values, flags and strings.
 */
typedef struct local_user_info {
  char user_name[65];
  uint32_t value_2;
  char string_18[53];   /* not sent when string_19 is not empty */
  char local_text[129]; /* not transferred */
  char string_19[129];
  uint8_t flag_4; /* when set, neither string_18 nor string_19 is sent */
  uint8_t flag_7;
  uint32_t password_count; /* length of `passwords` */
  aaa_list passwords;
  uint32_t local_a[2]; /* not transferred */
  uint32_t value_5;
  uint32_t local_b[2]; /* not transferred */
  uint8_t flag_8;
  uint8_t flag_9;
  uint32_t value_10;
  uint32_t block_count; /* length of `blocks` */
  aaa_list blocks;
  uint32_t value_12;
  uint32_t value_20;
  uint32_t value_13;
  uint32_t local_c[2]; /* not transferred */
  aaa_list list_3;
  aaa_list list_4;
} local_user_info;

/*
 * Fetches the user whose name is in record->user_name. 0: the record is filled in. Its previous
 * lists are overwritten, not freed. The passwords are in reverse order of aaad's answer; those for
 * which there was no memory are missing. Texts are truncated to their members. -1: no such user;
 * -2: null record; -3: not registered, not sent, or no valid answer. The record is changed only
 * when the result is 0.
 */
AAA_API int32_t username_lib_copy_user(local_user_info* record);

/*
 * Sends the user back to aaad: the passwords from the end of the list to its front, which is the
 * order of aaad's answer, and no blocks. The counts must be the lengths of the lists; passwords
 * beyond password_count may be omitted. 0: accepted; -1: refused; -2: null record; -3: not
 * registered, no memory, not sent or no answer; other values: -(code XOR 1) with the code of aaad.
 */
AAA_API int32_t username_lib_update_user(const local_user_info* record);

/*
 * Wipes and frees the passwords and blocks of a record that has been fetched, is zeroed, or whose
 * lists the caller has initialized, and empties both lists. The counts and all other members are
 * not changed. Null is ignored. Needs no registration.
 */
AAA_API void username_lib_release_user(local_user_info* record);

#ifdef __cplusplus
}
#endif

#endif
