/*
 * Local users: requests that aaad answers from its own user database.
 *
 * Every function but the release is one exchange with aaad. Exchanges of a process are one at a
 * time: it waits for its turn, then blocks until the answer has come or the exchange has failed,
 * which takes about 12 seconds with an aaad that is silent. Any thread of a registered client may
 * call. Requests and answers are wiped from the library's memory; what the client hands in and gets
 * is the client's to wipe.
 *
 * Where a function returns a word or code of aaad's, that may equal a value listed for a failure.
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
 * Authenticate or authorize a local user. The session id may be 0. A client that registered with
 * use_send_buf sends these through the buffer too. 0: *result is the caller's, to be released with
 * aaa_free_result_info(); the values of item_318 to item_320 are null. -1: null argument, not
 * registered, not sent, no memory or no usable answer; *result is left alone.
 */
AAA_API int32_t username_lib_authen_req(authen_info* authen, result_info** result);
AAA_API int32_t username_lib_author_req(author_info* author, result_info** result);

/*
 * Changes a password. The three strings together have at most 168 bytes. Returns the first word of
 * the answer, whatever its type; -1: null argument or strings too long, nothing sent; -5: not
 * registered, not sent or no answer.
 */
AAA_API int32_t username_lib_chg_pwd(const char* s1, const char* s2, const char* s3);

/*
 * Asks for a file-service grant. The first 64 bytes of `s1` and the first 4096 of `s2` are sent.
 * aaad's code, 0 to 255, negated; -2: null string; -3: not registered; -1: no memory, not sent or
 * no answer.
 */
AAA_API int32_t username_lib_fs_grant_req(const char* s1, const char* s2, uint32_t value);

/*
 * Asks for a password's security. Each string has at most 65,535 bytes. Returns the first word
 * of the answer; -1: null argument; -2: not registered, not sent or no answer; -3: an answer of
 * another type, or no memory.
 */
AAA_API int32_t username_lib_query_pwd_secu(const char* s1, const char* s2);

/* ---- Whole records ------------------------------------------------------------------------- */

/* A circular doubly linked list; the head of an empty one points to itself. */
typedef struct aaa_list {
  struct aaa_list* next;
  struct aaa_list* prev;
} aaa_list;

/* Allocated with aaa_malloc(). */
typedef struct local_user_password {
  char text[256]; /* NUL-terminated; written back when it has 1 to 247 characters */
  aaa_list links;
} local_user_password;

/* Allocated with aaa_malloc() by the record's owner; never transferred. */
typedef struct local_user_block {
  uint8_t data[8200];
  aaa_list links;
} local_user_block;

/*
 * A local user. The record is the caller's; the library fills it, and allocates and frees only what
 * its lists hold. One thread at a time. Members that are not transferred are zero after a fetch,
 * flags are then 1 or 0; any other value than 0 is written back as 1. A text that is empty, or has
 * no NUL, is not written back. The meaning of the values, flags and strings is aaad's.
 */
typedef struct local_user_info {
  char user_name[65];
  uint32_t value_2;
  char string_18[53];   /* not written back when string_19 is not empty */
  char local_text[129]; /* not transferred */
  char string_19[129];
  uint8_t flag_4; /* when set, neither string_18 nor string_19 is written back */
  uint8_t flag_7;
  uint32_t password_count; /* entries of `passwords` */
  aaa_list passwords;
  uint32_t local_a[2]; /* not transferred */
  uint32_t value_5;
  uint32_t local_b[2]; /* not transferred */
  uint8_t flag_8;
  uint8_t flag_9;
  uint32_t value_10;
  uint32_t block_count; /* entries of `blocks` */
  aaa_list blocks;
  uint32_t value_12;
  uint32_t value_20;
  uint32_t value_13;
  uint32_t local_c[2]; /* not transferred */
  aaa_list list_3;
  aaa_list list_4;
} local_user_info;

/*
 * Fetches the user that record->user_name names. 0: the record is filled; lists it held before are
 * forgotten, not freed; its passwords stand in the reverse of their order in aaad's answer, without
 * those that no memory was left for. Texts are cut to their members. -1: no such user; -2: null
 * record; -3: not registered, not sent, or no usable answer. The record is left alone unless the
 * result is 0.
 */
AAA_API int32_t username_lib_copy_user(local_user_info* record);

/*
 * Writes the user back, passwords in the order in which they were fetched, blocks not at all. The
 * counts must be those of the lists: passwords beyond password_count may be left out. 0: accepted;
 * -1: refused; -2: null record; -3: not registered, no memory, not sent or no answer. Other values
 * are aaad's code, combined as -(code XOR 1).
 */
AAA_API int32_t username_lib_update_user(const local_user_info* record);

/*
 * Wipes and frees every password and block of a record that has been fetched, is zeroed, or whose
 * lists have been set up, and leaves both lists empty. The counts and all other members stay. Null
 * is ignored. Needs no registration.
 */
AAA_API void username_lib_release_user(local_user_info* record);

#ifdef __cplusplus
}
#endif

#endif
