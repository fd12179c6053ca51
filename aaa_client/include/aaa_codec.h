/*
 * Records of the AAA client library and their codec.
 *
 * Every record has three functions. An encoder (aaa_encap_*) turns a record in memory into a
 * message body, a decoder (aaa_parse_*) turns a body into a newly allocated record, and a release
 * function (aaa_free_*) gives back what a decoder allocated.
 *
 * Unless a declaration says otherwise:
 *  - An encoder returns the body length in bytes and stores the body, which the caller releases
 *    with aaa_free(). It returns 0 and stores nothing when an argument is null, memory ran out or
 *    the body would exceed 32 bits. It writes the tag numbers into the item descriptors of the
 *    caller's record and changes nothing else, so one record must not be encoded by two threads at
 *    once.
 *  - A decoder returns 1 and stores a record that the caller owns, or returns 0 and stores nothing
 *    (null argument, body shorter than the record's fixed block or head, no memory). A negative
 *    length counts as an empty body that is long enough. The record does not refer to the body,
 *    except where its comment says so.
 *  - A release function takes only records that its decoder returned; null is ignored. It does not
 *    wipe what it frees: a client that wants a password gone overwrites it first.
 *  - Functions ending in _sub convert the fixed part alone; `block` points to the number of bytes
 *    that the record's *_BLOCK_SIZE names. They do nothing when a pointer is null.
 *  - No function logs, takes a lock or touches anything but its arguments and the heap: all may be
 *    called on any thread, before registration and after deregistration.
 *
 * Members. The meaning of members with plain names (num_a, octets64_b, item_305, ...) is agreed
 * between the client programs and aaad; the library carries them unchanged. Integers of a fixed
 * part travel in host byte order. Of a zeroed record a client fills:
 *  - a login: session_id, the user's name (chars65_a, by convention) and user_password;
 *  - an 802.1X authenticator: session_id, the name, and eap_message or chap_password with
 *    chap_challenge; its next request repeats the `state` of the challenge that it answers;
 *  - accounting: the session_id of the user's session, the name, and the `class` of the result that
 *    let the user in.
 *
 * Items. An aaa_item whose number is below 256 is the RADIUS attribute of that number: it holds the
 * attribute's value, without type and length, in the attribute's own format. Addresses and integers
 * are therefore in network byte order. Numbers from 298 on are the protocol's own.
 *  - What travels of an item is at most 65,535 bytes. Of a text or a *_len beyond that the
 *    low 16 bits count, and zeros fill up the body: stay below.
 *  - For encoding, a length may be non-zero beside a null pointer: that many zeros travel. Only the
 *    data of ext_data_len travel empty then, though the number itself is carried.
 *  - In a decoded record a value may hold NUL bytes. A value that reached past the body's end has
 *    its length all the same, with zeros for what was missing.
 *  - Of an item that comes twice the last one counts; of texts and data (298, 299, 301 to 303, 321,
 *    322) the last that is not empty, and copies of earlier ones stay allocated. The lengths of 299
 *    and of 322 add up: the bytes are those of the last one, with zeros behind.
 *  - A body whose fixed block has another length than the record's decodes to a fixed part of
 *    zeros, session id included: compare the session id before you believe a record.
 *
 * Message ids. A message that concerns one user has the user's session id in its header. The
 * library takes it from session_id (of a result: sub.session_id; of the LDAP records:
 * head.session_id), from num_a of a restore_user_info given to aaa_restore_user(), from words[0] in
 * aaa_user_syn() and from words[3] in aaa_front_add_radext_result2().
 */
#ifndef AAA_CODEC_H
#define AAA_CODEC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifndef AAA_API
#define AAA_API __attribute__((visibility("default")))
#endif

/* Lengths in bytes of the fixed blocks on the wire. */
enum {
  AAA_AUTHEN_BLOCK_SIZE = 1184,
  AAA_AUTHOR_BLOCK_SIZE = 156,
  AAA_ACCT_BLOCK_SIZE = 772,
  AAA_RESULT_BLOCK_SIZE = 1280,
  AAA_RADEXT_BLOCK_SIZE = 2788,
  AAA_RESTORE_USER_BLOCK_SIZE = 392
};

/*
 * A variable-length value. For encoding the caller sets `len` and `value` and keeps the bytes;
 * the encoder sets `type`. In a decoded record `value` points into the record's arena, where a NUL
 * follows the value, or is null when `len` is 0. `type` is 0 when the body had no such item.
 */
typedef struct aaa_item {
  uint16_t type; /* the item's number */
  uint16_t len;  /* bytes */
  const void* value;
} aaa_item;

/* One allocation that holds the item values of a decoded record. Leave zero for encoding. */
typedef struct aaa_arena {
  uint32_t used; /* bytes used of an LDAP record's pool; otherwise 0 */
  uint32_t size; /* bytes allocated */
  void* base;
} aaa_arena;

/*
 * Writes one item at `buffer`: type and length as 16-bit words, then `length` bytes of `value`.
 * A type or length above 65535 is stored truncated while all bytes are copied and counted. The
 * caller provides the space. Returns the bytes written, or 0 (nothing written) when `buffer` or
 * `value` is null.
 */
AAA_API uint32_t aaa_encap_tlv_data(void* buffer, uint32_t type, const void* value,
                                    uint32_t length);

/* ---- Authentication ------------------------------------------------------------------------ */

/*
 * One user's authentication attempt: what a client submits, and what aaad hands to a client that
 * authenticates in its place. With a question about a server group comes the group's name, which
 * is there to be read; neither the name nor the record is sent back. The same holds for the
 * authorization and accounting records and the LDAP question that come with a group's name.
 */
typedef struct authen_info {
  uint32_t num_a;
  uint32_t code_a; /* low 8 bits travel */
  uint32_t code_b; /* low 8 bits travel */
  uint32_t code_c; /* low 8 bits travel */
  uint8_t flag_a;  /* boolean: anything but 1 arrives as 0 */
  uint8_t flag_b;  /* boolean: anything but 1 arrives as 0 */
  uint8_t flag_c;  /* boolean: anything but 1 arrives as 0 */
  uint32_t num_b;
  uint16_t short_a;
  uint32_t session_id; /* of aaa_get_session_id(); may be 0 in a local user's request */
  uint32_t num_c;
  uint32_t num_d;
  uint32_t num_e;
  uint32_t num_f;
  uint32_t num_g;
  uint32_t num_h;
  uint32_t num_i;
  uint32_t num_j;
  uint8_t byte_a;
  uint8_t octets6_a[6];
  uint8_t octets6_b[6];
  uint8_t octets6_c[6];
  /* Of these texts and chars65_a the last byte is not sent. Another peer's may have no NUL. */
  char chars33_a[33];
  char chars7_a[7];
  uint8_t octets36_a[36];
  char chars65_a[65]; /* the user's name, by convention; see chars33_a */
  uint8_t octets64_a[64];
  uint8_t octets64_b[64];
  uint32_t num_k;
  uint32_t num_l;
  uint32_t num_m;
  uint32_t num_n;
  uint32_t num_o;
  uint32_t local_word;   /* not carried */
  uint32_t ext_data_len; /* bytes at ext_data, see there */
  uint32_t num_p;
  uint8_t octets128_a[128];
  uint16_t short_b;
  uint16_t short_c;
  uint8_t byte_b;
  uint8_t octets16_a[16];
  uint8_t octets16_b[16];
  uint8_t octets16_c[16];
  uint32_t num_q;
  uint8_t byte_c;
  uint8_t flag_d; /* boolean: anything but 1 arrives as 0 */
  uint64_t wide_a;
  uint8_t octets100_a[100];
  uint8_t local_pad[4]; /* not carried */
  uint8_t octets100_b[100];
  uint32_t num_r;
  uint8_t byte_d;
  uint8_t octets32_a[32];
  uint8_t octets32_b[32];
  uint8_t octets32_c[32];
  uint32_t num_s;
  uint32_t num_t;
  uint32_t num_u;
  uint8_t octets256_a[256];
  uint32_t num_v;

  aaa_item user_password;            /* 2 User-Password: octets, in the clear */
  aaa_item chap_password;            /* 3 CHAP-Password: identifier octet, 16 octets of response */
  aaa_item chap_challenge;           /* 60 CHAP-Challenge: octets */
  aaa_item nas_ip_address;           /* 4 NAS-IP-Address: 4 octets, network byte order */
  aaa_item eap_message;              /* 79 EAP-Message: octets of an EAP packet */
  aaa_item state;                    /* 24 State: octets, as the challenge brought them */
  aaa_item tunnel_private_group_id;  /* 81 Tunnel-Private-Group-ID: tag octet (optional), text */
  aaa_item chargeable_user_identity; /* 89 Chargeable-User-Identity: octets */
  aaa_item item_305;                 /* 305 to 309: the protocol's own */
  aaa_item item_309;
  aaa_item framed_ipv6_address; /* 168 Framed-IPv6-Address: 16 octets, network byte order */
  aaa_item item_306;
  aaa_item item_307;
  aaa_item item_308;

  /*
   * Item 298. For encoding ext_data_len is its length, and 0 when there is none. After decoding
   * ext_data_len is what the peer put into the fixed block: ext_data may be null beside it, or
   * shorter. As many bytes as its low 16 bits say may be read. No NUL follows.
   */
  const void* ext_data;
  const char* ext_text;  /* item 301, NUL-terminated or null */
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data; 0 when that is null */
  const void* tail_data; /* item 299; after decoding a NUL follows */
  aaa_arena arena;
} authen_info;

AAA_API uint32_t aaa_encap_authen_info(authen_info* record, void** body);
AAA_API void aaa_encap_authen_info_sub(void* block, const authen_info* record);
AAA_API uint32_t aaa_parse_authen_info(authen_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_authen_info_sub(authen_info* record, const void* block);
AAA_API void aaa_free_authen_info(authen_info* record);

/* ---- Authorization ------------------------------------------------------------------------- */

/* One user's authorization request. */
typedef struct author_info {
  uint32_t num_a;
  uint32_t code_a;     /* low 8 bits travel */
  uint32_t code_b;     /* low 8 bits travel */
  uint32_t session_id; /* of the user's session; may be 0 in a local user's request */
  uint32_t local_word; /* not carried; 0 after decoding */
  uint32_t num_b;
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t flag_a; /* boolean: anything but 1 arrives as 0 */

  const char* ext_text;   /* item 301, NUL-terminated or null */
  aaa_item user_password; /* 2 User-Password: octets, in the clear */
  uint32_t tail_pos;      /* not carried; 0 after decoding */
  uint32_t tail_len;      /* bytes at tail_data; 0 when that is null */
  const void* tail_data;  /* item 299; after decoding a NUL follows */
  aaa_arena arena;
} author_info;

AAA_API uint32_t aaa_encap_author_info(author_info* record, void** body);
AAA_API void aaa_encap_author_info_sub(void* block, const author_info* record);
AAA_API uint32_t aaa_parse_author_info(author_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_author_info_sub(author_info* record, const void* block);
AAA_API void aaa_free_author_info(author_info* record);

/* ---- Accounting ---------------------------------------------------------------------------- */

/*
 * One accounting event of a user's session. How often a client reports between start and stop is
 * what aaa_get_acct_period() returns; the unit of that period is aaad's.
 */
typedef struct acct_info {
  uint32_t num_a;
  uint32_t code_a; /* low 8 bits travel */
  uint32_t code_b; /* low 8 bits travel */
  uint32_t code_c; /* low 8 bits travel */
  uint32_t num_b;
  uint32_t num_c;
  uint32_t num_d;
  uint32_t num_e;
  uint32_t words8_b[8];
  uint32_t session_id; /* of the user's session; never 0 in a request */
  uint32_t num_f;
  uint32_t num_g;
  uint32_t local_word; /* not carried; 0 after decoding */
  uint32_t words4_a[4];
  uint32_t num_h;
  uint32_t num_i;
  uint32_t num_j;
  uint8_t byte_a;
  uint8_t octets6_a[6];
  uint8_t octets6_b[6];
  uint8_t octets6_c[6];
  uint32_t words8_a[8];
  uint8_t byte_b;
  char chars65_a[65]; /* the user's name, by convention; sent whole, so it may arrive without NUL */
  uint32_t words32_a[32];
  uint16_t short_a;
  uint32_t num_k;
  uint8_t octets128_a[128];
  uint16_t short_b;
  uint16_t short_c;
  uint8_t byte_c;
  uint8_t octets16_a[16];
  uint8_t octets16_b[16];
  uint8_t octets16_c[16];
  uint32_t words7_a[7];
  uint8_t byte_d;
  uint8_t flag_a; /* boolean: anything but 1 arrives as 0 */
  uint8_t octets100_a[100];
  uint8_t octets100_b[100];
  uint32_t num_l;
  uint8_t flag_b; /* boolean: anything but 1 arrives as 0 */

  const char* ext_text;   /* item 301, NUL-terminated or null */
  aaa_item user_password; /* 2 User-Password: octets, in the clear */
#ifdef __cplusplus
  aaa_item class_; /* 25 Class: octets, as the result brought them; `class` in C */
#else
  aaa_item class; /* 25 Class: octets, as the result brought them; `class_` in C++ */
#endif
  aaa_item chargeable_user_identity; /* 89 Chargeable-User-Identity: octets */
  aaa_item item_305;                 /* 305 to 308: the protocol's own */
  aaa_item framed_ipv6_address;      /* 168 Framed-IPv6-Address: 16 octets, network byte order */
  aaa_item item_306;
  aaa_item item_307;
  aaa_item item_308;
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data; 0 when that is null */
  const void* tail_data; /* item 299; after decoding a NUL follows */
  aaa_arena arena;
  uint32_t pos_322;      /* not carried; 0 after decoding */
  uint32_t data_322_len; /* bytes at data_322; 0 when that is null */
  const void* data_322;  /* item 322; after decoding a NUL follows */
} acct_info;

AAA_API uint32_t aaa_encap_acct_info(acct_info* record, void** body);
AAA_API void aaa_encap_acct_info_sub(void* block, const acct_info* record);
AAA_API uint32_t aaa_parse_acct_info(acct_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_acct_info_sub(acct_info* record, const void* block);
AAA_API void aaa_free_acct_info(acct_info* record);

/* ---- Result -------------------------------------------------------------------------------- */

/*
 * The fixed part of a result. What num_a says of the decision is agreed between the client programs
 * and aaad. The library itself writes one value: 2, in the result that it hands to a waiting thread
 * when the link to aaad is lost.
 */
typedef struct result_info_sub {
  uint32_t num_a;
  uint32_t session_id; /* of the request that this answers; what aaad sent, 0 included */
  uint32_t num_b;
  uint32_t code_a;     /* low 8 bits travel */
  uint32_t code_b;     /* low 8 bits travel */
  uint32_t local_word; /* not carried; 0 after decoding */
  uint32_t code_c;     /* low 8 bits travel */
  uint32_t code_d;     /* low 8 bits travel */
  uint32_t code_e;     /* low 8 bits travel */
  uint32_t code_f;     /* low 8 bits travel */
  uint32_t words5_a[5];
  uint32_t code_g; /* low 8 bits travel */
  uint32_t num_c;
  char chars65_a[65]; /* sent whole, as chars65_b and chars65_c: they may arrive without NUL */
  uint32_t words19_a[19];
  uint8_t flag_a; /* boolean: anything but 0 arrives as 1 */
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t octets276_a[276];
  uint8_t local_block[64]; /* not carried; 0 after decoding */
  uint8_t octets256_a[256];
  uint32_t num_d;
  uint8_t octets128_b[128]; /* received, sent as zeros */
  uint8_t local_tail[8];    /* not carried */
  uint32_t words16_a[16];
  char chars65_b[65];
  char chars65_c[65];
  uint32_t words4_a[4];
  uint32_t ext_data_len; /* bytes at ext_data, see authen_info */
  uint32_t num_e;
  uint16_t short_c;
  uint32_t code_h; /* low 8 bits travel */
  uint32_t words5_b[5];
  uint8_t byte_a;
  uint32_t words8_a[8];
  uint8_t byte_b;
  uint8_t flag_b; /* boolean: anything but 1 arrives as 0 */
  uint32_t num_f;
  uint64_t wide_a;
  uint8_t local_last[8]; /* not carried */
} result_info_sub;

/*
 * The outcome of a request. Texts 302 and 303 and data 321 have a NUL behind them after decoding.
 * Their lengths are those of the last such item, also where no memory was left to copy it: the
 * pointer is then null, or holds an earlier item's bytes with zeros behind.
 */
typedef struct result_info {
  result_info_sub sub;

  const void* text_302; /* item 302 */
  uint32_t text_302_len;
  const void* text_303; /* item 303 */
  uint32_t text_303_len;
  const void* ext_data;   /* item 298, sub.ext_data_len bytes, see authen_info */
  aaa_item user_password; /* 2 User-Password: octets, in the clear */
  aaa_item eap_message;   /* 79 EAP-Message: octets of an EAP packet */
  aaa_item nas_port_id;   /* 87 NAS-Port-Id: text */
#ifdef __cplusplus
  aaa_item class_; /* 25 Class: octets, for accounting; `class` in C */
#else
  aaa_item class; /* 25 Class: octets, for accounting; `class_` in C++ */
#endif
  aaa_item reply_message;            /* 18 Reply-Message: text for the user */
  aaa_item state;                    /* 24 State: octets, for the next request */
  aaa_item item_304;                 /* 304 to 320: the protocol's own */
  aaa_item chargeable_user_identity; /* 89 Chargeable-User-Identity: octets */
  aaa_item item_309;
  aaa_item item_311;
  /*
   * After decoding, the next three point into the decoded body, without a NUL behind the value:
   * they are valid only as long as the body, and cut where that ends. Copy what must live longer.
   * They are null when empty, and in the results of aaa_user_get_result(),
   * username_lib_authen_req() and username_lib_author_req(), whose bodies the library has released;
   * `len` is kept there.
   */
  aaa_item item_318;
  aaa_item item_319;
  aaa_item item_320;
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data; 0 when that is null */
  const void* tail_data; /* item 299; after decoding a NUL follows */
  aaa_arena arena;
  const void* data_321; /* item 321 */
  uint32_t data_321_len;
  uint32_t pos_322;      /* not carried; 0 after decoding */
  uint32_t data_322_len; /* bytes at data_322; 0 when that is null */
  const void* data_322;  /* item 322; after decoding a NUL follows */
} result_info;

AAA_API uint32_t aaa_encap_result_info(result_info* record, void** body);
AAA_API void aaa_encap_result_info_sub(void* block, const result_info* record);
AAA_API uint32_t aaa_parse_result_info(result_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_result_info_sub(result_info* record, const void* block);
AAA_API void aaa_free_result_info(result_info* record);

/* ---- RADIUS extension ---------------------------------------------------------------------- */

/* What a client sends. Strings are NUL-terminated; a null string is sent empty. */
typedef struct radext_msg {
  uint8_t local_a[16]; /* not carried */
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint8_t local_b[130]; /* not carried */
  uint32_t words4_a[4];
  uint8_t byte_a;
  uint8_t local_c[19]; /* not carried */
  uint32_t num_a;
  uint32_t num_b;
  uint8_t octets128_b[128];
  const char* text_a; /* the first 253 characters travel, as of text_b to text_g */
  const char* text_b;
  uint32_t num_c;
  uint32_t num_d;
  uint8_t local_d[16]; /* not carried */
  uint32_t num_e;
  const char* text_c;
  const char* text_d;
  const char* text_e;
  const char* text_f;
  const char* text_g;
  uint8_t octets416_a[416];
  uint32_t num_f;
  uint32_t num_g;
  uint8_t byte_c;
  uint16_t short_b;
  const char* text_h; /* not sent at all when longer than 250 characters */
  uint8_t flag_a;     /* boolean */
  uint8_t byte_b;
} radext_msg;

/* What a client receives. Every text is NUL-terminated, at the latest in its last byte. */
typedef struct radext_msg_info {
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint8_t byte_a;
  uint32_t words4_a[4];
  uint32_t num_a;
  uint32_t num_b;
  uint8_t octets128_b[128];
  char text_a[254];
  char text_b[254];
  uint32_t num_c;
  uint32_t num_d;
  uint32_t num_e;
  char text_c[254];
  char text_d[254];
  char text_e[254];
  char text_f[254];
  char text_g[254];
  uint8_t octets416_a[416];
  uint8_t byte_b;
  uint32_t num_f;
  uint32_t num_g;
  uint8_t local_block[256]; /* left untouched by the decoder */
  uint32_t flag_a;          /* 1 or 0 */
} radext_msg_info;

/*
 * Fill a block of AAA_RADEXT_BLOCK_SIZE bytes that the caller has cleared, and a record from such a
 * block. byte_c, short_b and text_h travel only towards aaad.
 */
AAA_API void aaa_encap_radext_msg_sub(void* block, const radext_msg* record);
AAA_API void aaa_parse_radext_msg_sub(const void* block, radext_msg_info* record);

/* ---- Restore user -------------------------------------------------------------------------- */

/* One user's state, as a client hands it to aaad to restore the user or for a hot backup. */
typedef struct restore_user_info {
  uint32_t num_a;       /* also the id of the message of aaa_restore_user() */
  char chars253_a[253]; /* sent whole, with or without NUL */
  uint32_t code_a;      /* low 8 bits travel */
  uint32_t num_d;
  uint8_t octets16_a[16];
  uint32_t num_b;
  uint8_t octets6_a[6];
  uint32_t num_c;
  uint8_t octets6_b[6];
  uint8_t octets64_a[64];
  uint8_t local_a[25]; /* not carried */
  uint32_t num_e;
  uint8_t local_b[68]; /* not carried */
  uint32_t num_f;
  uint8_t octets6_c[6];
  uint32_t num_g;
  uint32_t num_h;
} restore_user_info;

/* Clears and fills a block of AAA_RESTORE_USER_BLOCK_SIZE bytes. */
AAA_API void aaa_encap_restore_user(const restore_user_info* record, void* block);

/* ---- LDAP search --------------------------------------------------------------------------- */

/*
 * A question. For encoding, `attributes` points to head.attr_count descriptors of the caller, and
 * `pool` is left zero; a null array sends none. In a decoded record every value lies in the pool,
 * followed by a NUL; slots that no item filled are zero, and items beyond attr_count are dropped.
 * A question that aaad asks comes with a group's name, which is not sent back; a client answers it
 * with aaa_add_ldap_search_result().
 */
typedef struct ldap_search_head {
  uint32_t session_id; /* may be 0 */
  uint32_t words8_a[8];
  uint32_t attr_count; /* descriptors at `attributes` */
} ldap_search_head;

typedef struct ldap_search_info {
  ldap_search_head head;
  aaa_item item_301;
  aaa_item item_306;
  aaa_item item_307;
  aaa_item* attributes; /* item 308, one each */
  aaa_arena pool;
} ldap_search_info;

AAA_API uint32_t aaa_encap_ldap_search_info(ldap_search_info* record, void** body);
AAA_API uint32_t aaa_parse_ldap_search_info(ldap_search_info** record, const void* body,
                                            int32_t length);
AAA_API void aaa_free_ldap_search_info(ldap_search_info* record);

/*
 * An answer: entries, each with a distinguished name and pairs of name and value. What was said of
 * the question's array holds for both arrays here, but for entries that are counted without an
 * array 8 zero bytes each are sent. The items of one entry have at most 65,535 bytes, headers
 * included.
 */
typedef struct ldap_pair {
  aaa_item name;  /* item 312 */
  aaa_item value; /* item 313 */
} ldap_pair;

typedef struct ldap_dn_entry {
  uint16_t type;       /* 310; set by the encoder */
  uint16_t len;        /* bytes behind the entry's header; set by the encoder */
  uint32_t pair_count; /* elements at `pairs` */
  aaa_item dn;         /* item 311 */
  ldap_pair* pairs;
} ldap_dn_entry;

typedef struct ldap_result_head {
  uint32_t session_id; /* of the question */
  uint32_t words3_a[3];
  uint32_t entry_count; /* elements at `entries` */
  uint32_t num_a;
} ldap_result_head;

typedef struct ldap_search_result {
  ldap_result_head head;
  aaa_item item_309;
  aaa_item item_306;
  ldap_dn_entry* entries; /* item 310, one each */
  aaa_arena pool;
} ldap_search_result;

AAA_API uint32_t aaa_encap_ldap_search_result_info(ldap_search_result* record, void** body);
AAA_API uint32_t aaa_parse_ldap_search_result(ldap_search_result** record, const void* body,
                                              int32_t length);
AAA_API void aaa_free_ldap_search_result(ldap_search_result* record);

#ifdef __cplusplus
}
#endif

#endif
