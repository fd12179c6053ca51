/*
 * Records of the AAA client library and their codec.
 *
 * Every record has three functions. An encoder (aaa_encap_*) turns a record in memory into a
 * message body, a decoder (aaa_parse_*) turns a body into a newly allocated record, and a release
 * function (aaa_free_*) gives back what a decoder allocated.
 *
 * Unless a declaration says otherwise:
 *  - An encoder returns the body length in bytes and stores the body, which the caller releases
 *    with aaa_free(). It returns 0 and stores nothing when an argument is null or memory ran out.
 *    It writes the tag numbers into the item descriptors of the caller's record and changes
 *    nothing else, so one record must not be encoded by two threads at once.
 *  - A decoder returns 1 and stores a record that the caller owns, or returns 0 and stores nothing
 *    (null argument, body shorter than the record's fixed block, no memory). The record does not
 *    refer to the body, except where its comment says so.
 *  - A release function takes only records that its decoder returned; null is ignored.
 *  - Functions ending in _sub convert the fixed part alone; `block` points to the number of bytes
 *    that the record's *_BLOCK_SIZE names. They do nothing when a pointer is null.
 *  - No function logs, takes a lock or touches anything but its arguments and the heap: all may be
 *    called on any thread, before registration and after deregistration.
 *
 * Integers in bodies are in host byte order. The meaning of fields with plain names (num_a,
 * octets64_b, item_305, ...) is agreed between the client program and aaad; the library carries
 * them unchanged.
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
 * follows the value, or is null when `len` is 0.
 */
typedef struct aaa_item {
  uint16_t type;
  uint16_t len; /* bytes */
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
  uint32_t session_id; /* identifies the request; never 0 in a request to aaad */
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
  char chars33_a[33]; /* the last byte is not sent */
  char chars7_a[7];   /* the last byte is not sent */
  uint8_t octets36_a[36];
  char chars65_a[65]; /* the last byte is not sent */
  uint8_t octets64_a[64];
  uint8_t octets64_b[64];
  uint32_t num_k;
  uint32_t num_l;
  uint32_t num_m;
  uint32_t num_n;
  uint32_t num_o;
  uint32_t local_word;   /* not carried */
  uint32_t ext_data_len; /* bytes at ext_data; 0 when ext_data is null */
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

  aaa_item user_password;            /* 2 */
  aaa_item chap_password;            /* 3 */
  aaa_item chap_challenge;           /* 60 */
  aaa_item nas_ip_address;           /* 4 */
  aaa_item eap_message;              /* 79 */
  aaa_item state;                    /* 24 */
  aaa_item tunnel_private_group_id;  /* 81 */
  aaa_item chargeable_user_identity; /* 89 */
  aaa_item item_305;
  aaa_item item_309;
  aaa_item framed_ipv6_address; /* 168 */
  aaa_item item_306;
  aaa_item item_307;
  aaa_item item_308;

  const void* ext_data;  /* item 298, ext_data_len bytes */
  const char* ext_text;  /* item 301, NUL-terminated or null */
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data */
  const void* tail_data; /* item 299 */
  aaa_arena arena;
} authen_info;

AAA_API uint32_t aaa_encap_authen_info(authen_info* record, void** body);
AAA_API void aaa_encap_authen_info_sub(void* block, const authen_info* record);
AAA_API uint32_t aaa_parse_authen_info(authen_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_authen_info_sub(authen_info* record, const void* block);
AAA_API void aaa_free_authen_info(authen_info* record);

/* ---- Authorization ------------------------------------------------------------------------- */

typedef struct author_info {
  uint32_t num_a;
  uint32_t code_a;     /* low 8 bits travel */
  uint32_t code_b;     /* low 8 bits travel */
  uint32_t session_id; /* identifies the request; never 0 in a request to aaad */
  uint32_t local_word; /* not carried */
  uint32_t num_b;
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t flag_a; /* boolean: anything but 1 arrives as 0 */

  const char* ext_text;   /* item 301, NUL-terminated or null */
  aaa_item user_password; /* 2 */
  uint32_t tail_pos;      /* not carried; 0 after decoding */
  uint32_t tail_len;      /* bytes at tail_data */
  const void* tail_data;  /* item 299 */
  aaa_arena arena;
} author_info;

AAA_API uint32_t aaa_encap_author_info(author_info* record, void** body);
AAA_API void aaa_encap_author_info_sub(void* block, const author_info* record);
AAA_API uint32_t aaa_parse_author_info(author_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_author_info_sub(author_info* record, const void* block);
AAA_API void aaa_free_author_info(author_info* record);

/* ---- Accounting ---------------------------------------------------------------------------- */

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
  uint32_t session_id; /* identifies the request; never 0 in a request to aaad */
  uint32_t num_f;
  uint32_t num_g;
  uint32_t local_word; /* not carried */
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
  char chars65_a[65];
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
  aaa_item user_password; /* 2 */
#ifdef __cplusplus
  aaa_item class_; /* 25; `class` in C, which C++ reserves */
#else
  aaa_item class; /* 25 */
#endif
  aaa_item chargeable_user_identity; /* 89 */
  aaa_item item_305;
  aaa_item framed_ipv6_address; /* 168 */
  aaa_item item_306;
  aaa_item item_307;
  aaa_item item_308;
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data */
  const void* tail_data; /* item 299 */
  aaa_arena arena;
  uint32_t pos_322;      /* not carried; 0 after decoding */
  uint32_t data_322_len; /* bytes at data_322 */
  const void* data_322;  /* item 322 */
} acct_info;

AAA_API uint32_t aaa_encap_acct_info(acct_info* record, void** body);
AAA_API void aaa_encap_acct_info_sub(void* block, const acct_info* record);
AAA_API uint32_t aaa_parse_acct_info(acct_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_acct_info_sub(acct_info* record, const void* block);
AAA_API void aaa_free_acct_info(acct_info* record);

/* ---- Result -------------------------------------------------------------------------------- */

/* The fixed part of a result. */
typedef struct result_info_sub {
  uint32_t num_a;
  uint32_t session_id; /* the request that this is the result of */
  uint32_t num_b;
  uint32_t code_a;     /* low 8 bits travel */
  uint32_t code_b;     /* low 8 bits travel */
  uint32_t local_word; /* not carried */
  uint32_t code_c;     /* low 8 bits travel */
  uint32_t code_d;     /* low 8 bits travel */
  uint32_t code_e;     /* low 8 bits travel */
  uint32_t code_f;     /* low 8 bits travel */
  uint32_t words5_a[5];
  uint32_t code_g; /* low 8 bits travel */
  uint32_t num_c;
  char chars65_a[65];
  uint32_t words19_a[19];
  uint8_t flag_a; /* boolean: anything but 0 arrives as 1 */
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t octets276_a[276];
  uint8_t local_block[64]; /* not carried */
  uint8_t octets256_a[256];
  uint32_t num_d;
  uint8_t octets128_b[128]; /* received, never sent */
  uint8_t local_tail[8];    /* not carried */
  uint32_t words16_a[16];
  char chars65_b[65];
  char chars65_c[65];
  uint32_t words4_a[4];
  uint32_t ext_data_len; /* bytes at ext_data; 0 when ext_data is null */
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

typedef struct result_info {
  result_info_sub sub;

  const void* text_302; /* item 302 */
  uint32_t text_302_len;
  const void* text_303; /* item 303 */
  uint32_t text_303_len;
  const void* ext_data;   /* item 298, sub.ext_data_len bytes */
  aaa_item user_password; /* 2 */
  aaa_item eap_message;   /* 79 */
  aaa_item nas_port_id;   /* 87 */
#ifdef __cplusplus
  aaa_item class_; /* 25; `class` in C, which C++ reserves */
#else
  aaa_item class; /* 25 */
#endif
  aaa_item reply_message; /* 18 */
  aaa_item state;         /* 24 */
  aaa_item item_304;
  aaa_item chargeable_user_identity; /* 89 */
  aaa_item item_309;
  aaa_item item_311;
  /*
   * After decoding, the next three point into the decoded body, without a NUL behind the value:
   * they are valid only as long as the body. Copy what must live longer.
   */
  aaa_item item_318;
  aaa_item item_319;
  aaa_item item_320;
  uint32_t tail_pos;     /* not carried; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data */
  const void* tail_data; /* item 299 */
  aaa_arena arena;
  const void* data_321; /* item 321 */
  uint32_t data_321_len;
  uint32_t pos_322;      /* not carried; 0 after decoding */
  uint32_t data_322_len; /* bytes at data_322 */
  const void* data_322;  /* item 322 */
} result_info;

/*
 * Results of aaa_user_get_result() were decoded from a buffer that the library has released:
 * item_318 to item_320 of such a record must not be followed.
 */
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

/* What a client receives. Every text is NUL-terminated. */
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

/* Fills a block of AAA_RADEXT_BLOCK_SIZE bytes that the caller has cleared. */
AAA_API void aaa_encap_radext_msg_sub(void* block, const radext_msg* record);
AAA_API void aaa_parse_radext_msg_sub(const void* block, radext_msg_info* record);

/* ---- Restore user -------------------------------------------------------------------------- */

typedef struct restore_user_info {
  uint32_t num_a;
  char chars253_a[253];
  uint32_t code_a; /* low 8 bits travel */
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
 * `pool` is left zero. In a decoded record every value lies in the pool, followed by a NUL; slots
 * that no item filled are zero.
 */
typedef struct ldap_search_head {
  uint32_t session_id;
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

/* An answer: entries, each with a distinguished name and pairs of name and value. */
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
  uint32_t session_id;
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
