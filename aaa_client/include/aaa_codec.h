/*
 * Records of the AAA client library and their codec.
 *
 * Most records have three functions. An encoder (aaa_encap_*) turns a record in memory into a
 * message body, a decoder (aaa_parse_*) turns a body into a newly allocated record, and a release
 * function (aaa_free_*) frees what a decoder has allocated.
 *
 * Unless a declaration says otherwise:
 *  - An encoder stores the body, which the caller frees with aaa_free(), and returns its length in
 *    bytes. It returns 0 and stores nothing when an argument is null, when there is no memory, or
 *    when the body would be longer than 32 bits can express. It sets `type` in the record's item
 *    descriptors and changes nothing else: two threads must not encode the same record at once.
 *  - A decoder stores a record, which the caller owns, and returns 1. It returns 0 and stores
 *    nothing when an argument is null, when the body is shorter than the record's fixed block or
 *    head, or when there is no memory. A negative length passes the length check and is then taken
 *    as an empty body. The record does not point into the body, unless its comment says so.
 *  - A release function accepts only records from its decoder; null is ignored. It does not wipe
 *    what it frees: overwrite passwords first.
 *  - Functions ending in _sub convert only the fixed block; `block` points to as many bytes as the
 *    record's *_BLOCK_SIZE constant. They do nothing when a pointer is null.
 *  - No function logs, takes a lock, or accesses anything but its arguments and the heap. Any
 *    thread may call them, before registration and after deregistration too.
 *
 * Members. The meaning of members with generic names (num_a, octets64_b, item_305, ...) is agreed
 * between the client programs and aaad; the library carries them unchanged. Integers of a fixed
 * block are sent in host byte order. A client zeroes a record and fills in:
 *  - for a login: session_id, the user's name (chars65_a, by convention) and user_password;
 *  - for 802.1X: session_id, the name, and eap_message, or chap_password with chap_challenge; the
 *    answer to a challenge repeats the challenge's `state`;
 *  - for accounting: the session_id of the user's session, the name, and the `class` of the result
 *    that accepted the user.
 *
 * Items. An aaa_item with a number below 256 is the RADIUS attribute of that number: it holds the
 * attribute's value, without type and length, in the attribute's format. Addresses and integers are
 * therefore in network byte order. Numbers from 298 on belong to this protocol.
 *  - At most 65,535 bytes of an item are sent. Of a longer text or *_len only the low 16 bits are
 *    used as the length and the rest of the body is zeros; do not exceed the limit.
 *  - When encoding, a length other than 0 with a null pointer sends that many zeros. Exception:
 *    with a null ext_data the item is empty, and ext_data_len is sent in the fixed block.
 *  - A decoded value can contain NUL bytes. A value that is cut off by the end of the body keeps
 *    its length; the missing bytes are zeros.
 *  - If an item occurs more than once, the last one is used; of texts and data (298, 299, 301 to
 *    303, 321, 322) the last one that is not empty, and the copies of earlier ones are leaked. The
 *    lengths of 299 and of 322 are added up: the bytes are those of the last item, then zeros.
 *  - If the length of the fixed block in a body is not the record's, all members of the fixed block
 *    decode to zero. Check the session id before you trust a record.
 *
 * Message ids. A message about one user has the user's session id in its header. The library takes
 * it from session_id (in a result: sub.session_id; in LDAP records: head.session_id), from num_a of
 * a restore_user_info in aaa_restore_user(), from words[0] in aaa_user_syn() and from words[3] in
 * aaa_front_add_radext_result2().
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

/* Sizes of the fixed blocks on the wire, in bytes. */
enum {
  AAA_AUTHEN_BLOCK_SIZE = 1184,
  AAA_AUTHOR_BLOCK_SIZE = 156,
  AAA_ACCT_BLOCK_SIZE = 772,
  AAA_RESULT_BLOCK_SIZE = 1280,
  AAA_RADEXT_BLOCK_SIZE = 2788,
  AAA_RESTORE_USER_BLOCK_SIZE = 392
};

/*
 * The descriptor of an item, a value of variable length. For encoding the caller sets `len` and
 * `value`, and owns the bytes; the encoder sets `type`. In a decoded record `value` points into the
 * record's arena, where a NUL follows the value, or is null when `len` is 0. `type` is 0 when the
 * body had no such item.
 */
typedef struct aaa_item {
  uint16_t type; /* the item's number */
  uint16_t len;  /* bytes */
  const void* value;
} aaa_item;

/* One allocation that holds the item values of a decoded record. Zero for encoding. */
typedef struct aaa_arena {
  uint32_t used; /* in LDAP records, the bytes used; otherwise 0 */
  uint32_t size; /* bytes allocated */
  void* base;
} aaa_arena;

/*
 * Writes one item to `buffer`, which must be large enough: type and length as 16-bit words, then
 * `length` bytes of `value`. A type or length above 65,535 is truncated to 16 bits, but all bytes
 * are copied. Returns the number of bytes written; 0, and writes nothing, when `buffer` or `value`
 * is null.
 */
AAA_API uint32_t aaa_encap_tlv_data(void* buffer, uint32_t type, const void* value,
                                    uint32_t length);

/* ---- Authentication ------------------------------------------------------------------------ */

/*
 * One user's authentication request. A client submits it; aaad sends it to a client that
 * authenticates on aaad's behalf. In a group request it comes with the name of a server group;
 * neither the record nor the name is sent back. The same applies to the authorization and
 * accounting records and to the LDAP question.
 */
typedef struct authen_info {
  uint32_t num_a;
  uint32_t code_a; /* only the low 8 bits are sent */
  uint32_t code_b; /* only the low 8 bits are sent */
  uint32_t code_c; /* only the low 8 bits are sent */
  uint8_t flag_a;  /* boolean: any value but 1 decodes to 0 */
  uint8_t flag_b;  /* boolean: any value but 1 decodes to 0 */
  uint8_t flag_c;  /* boolean: any value but 1 decodes to 0 */
  uint32_t num_b;
  uint16_t short_a;
  uint32_t session_id; /* from aaa_get_session_id(); may be 0 in a local user's request */
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
  /* The last byte of these texts and of chars65_a is sent as NUL. A received one may have no NUL.
   */
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
  uint32_t local_word;   /* not sent */
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
  uint8_t flag_d; /* boolean: any value but 1 decodes to 0 */
  uint64_t wide_a;
  uint8_t octets100_a[100];
  uint8_t local_pad[4]; /* not sent */
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
   * Item 298. For encoding ext_data_len is its length, 0 without data. After decoding ext_data_len
   * is the value of the fixed block, which can differ from the item: ext_data can be null, or the
   * item shorter. If it is not null, as many bytes can be read as the low 16 bits of ext_data_len
   * say. No NUL follows.
   */
  const void* ext_data;
  const char* ext_text;  /* item 301, NUL-terminated or null */
  uint32_t tail_pos;     /* not sent; 0 after decoding */
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
  uint32_t code_a;     /* only the low 8 bits are sent */
  uint32_t code_b;     /* only the low 8 bits are sent */
  uint32_t session_id; /* of the user's session; may be 0 in a local user's request */
  uint32_t local_word; /* not sent; 0 after decoding */
  uint32_t num_b;
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t flag_a; /* boolean: any value but 1 decodes to 0 */

  const char* ext_text;   /* item 301, NUL-terminated or null */
  aaa_item user_password; /* 2 User-Password: octets, in the clear */
  uint32_t tail_pos;      /* not sent; 0 after decoding */
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
 * One accounting event of a user's session. aaa_get_acct_period() returns the interval of interim
 * reports, in a unit that aaad defines.
 */
typedef struct acct_info {
  uint32_t num_a;
  uint32_t code_a; /* only the low 8 bits are sent */
  uint32_t code_b; /* only the low 8 bits are sent */
  uint32_t code_c; /* only the low 8 bits are sent */
  uint32_t num_b;
  uint32_t num_c;
  uint32_t num_d;
  uint32_t num_e;
  uint32_t words8_b[8];
  uint32_t session_id; /* of the user's session; never 0 in a request */
  uint32_t num_f;
  uint32_t num_g;
  uint32_t local_word; /* not sent; 0 after decoding */
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
  char chars65_a[65]; /* the user's name, by convention; sent whole, may be received without NUL */
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
  uint8_t flag_a; /* boolean: any value but 1 decodes to 0 */
  uint8_t octets100_a[100];
  uint8_t octets100_b[100];
  uint32_t num_l;
  uint8_t flag_b; /* boolean: any value but 1 decodes to 0 */

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
  uint32_t tail_pos;     /* not sent; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data; 0 when that is null */
  const void* tail_data; /* item 299; after decoding a NUL follows */
  aaa_arena arena;
  uint32_t pos_322;      /* not sent; 0 after decoding */
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
 * The fixed block of a result. num_a is the result code; its values are agreed between the client
 * programs and aaad. The library itself writes one value: 2, in the result that it passes to a
 * waiting thread when the connection to aaad is lost.
 */
typedef struct result_info_sub {
  uint32_t num_a;
  uint32_t session_id; /* of the answered request, as aaad sent it; can be 0 */
  uint32_t num_b;
  uint32_t code_a;     /* only the low 8 bits are sent */
  uint32_t code_b;     /* only the low 8 bits are sent */
  uint32_t local_word; /* not sent; 0 after decoding */
  uint32_t code_c;     /* only the low 8 bits are sent */
  uint32_t code_d;     /* only the low 8 bits are sent */
  uint32_t code_e;     /* only the low 8 bits are sent */
  uint32_t code_f;     /* only the low 8 bits are sent */
  uint32_t words5_a[5];
  uint32_t code_g; /* only the low 8 bits are sent */
  uint32_t num_c;
  char chars65_a[65]; /* sent whole, like chars65_b and chars65_c; received ones may have no NUL */
  uint32_t words19_a[19];
  uint8_t flag_a; /* boolean: any value but 0 decodes to 1 */
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint16_t short_b;
  uint8_t octets276_a[276];
  uint8_t local_block[64]; /* not sent; 0 after decoding */
  uint8_t octets256_a[256];
  uint32_t num_d;
  uint8_t octets128_b[128]; /* received, sent as zeros */
  uint8_t local_tail[8];    /* not sent */
  uint32_t words16_a[16];
  char chars65_b[65];
  char chars65_c[65];
  uint32_t words4_a[4];
  uint32_t ext_data_len; /* bytes at ext_data, see authen_info */
  uint32_t num_e;
  uint16_t short_c;
  uint32_t code_h; /* only the low 8 bits are sent */
  uint32_t words5_b[5];
  uint8_t byte_a;
  uint32_t words8_a[8];
  uint8_t byte_b;
  uint8_t flag_b; /* boolean: any value but 1 decodes to 0 */
  uint32_t num_f;
  uint64_t wide_a;
  uint8_t local_last[8]; /* not sent */
} result_info_sub;

/*
 * The result of a request. After decoding a NUL follows texts 302 and 303 and data 321. Their
 * lengths are those of the last such item, even when there was no memory to copy it: the pointer is
 * then null, or points to the bytes of an earlier item followed by zeros.
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
   * After decoding, the next three point into the decoded body: they are valid only as long as the
   * body, are truncated at its end, and no NUL follows. They are null when empty, and in the
   * results of aaa_user_get_result(), username_lib_authen_req() and username_lib_author_req(),
   * whose bodies the library has released; there `len` is kept.
   */
  aaa_item item_318;
  aaa_item item_319;
  aaa_item item_320;
  uint32_t tail_pos;     /* not sent; 0 after decoding */
  uint32_t tail_len;     /* bytes at tail_data; 0 when that is null */
  const void* tail_data; /* item 299; after decoding a NUL follows */
  aaa_arena arena;
  const void* data_321; /* item 321 */
  uint32_t data_321_len;
  uint32_t pos_322;      /* not sent; 0 after decoding */
  uint32_t data_322_len; /* bytes at data_322; 0 when that is null */
  const void* data_322;  /* item 322; after decoding a NUL follows */
} result_info;

AAA_API uint32_t aaa_encap_result_info(result_info* record, void** body);
AAA_API void aaa_encap_result_info_sub(void* block, const result_info* record);
AAA_API uint32_t aaa_parse_result_info(result_info** record, const void* body, int32_t length);
AAA_API void aaa_parse_result_info_sub(result_info* record, const void* block);
AAA_API void aaa_free_result_info(result_info* record);

/* ---- RADIUS extension ---------------------------------------------------------------------- */

/* The message that a client sends. Strings are NUL-terminated; a null string is sent empty. */
typedef struct radext_msg {
  uint8_t local_a[16]; /* not sent */
  uint8_t octets128_a[128];
  uint16_t short_a;
  uint8_t local_b[130]; /* not sent */
  uint32_t words4_a[4];
  uint8_t byte_a;
  uint8_t local_c[19]; /* not sent */
  uint32_t num_a;
  uint32_t num_b;
  uint8_t octets128_b[128];
  const char* text_a; /* of text_a to text_g only the first 253 characters are sent */
  const char* text_b;
  uint32_t num_c;
  uint32_t num_d;
  uint8_t local_d[16]; /* not sent */
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
  const char* text_h; /* sent empty when longer than 250 characters */
  uint8_t flag_a;     /* boolean */
  uint8_t byte_b;
} radext_msg;

/* The message that a client receives. Every text is NUL-terminated. */
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
  uint8_t local_block[256]; /* not changed by the decoder */
  uint32_t flag_a;          /* 1 or 0 */
} radext_msg_info;

/*
 * Fill a block of AAA_RADEXT_BLOCK_SIZE bytes, which the caller has zeroed, from a record, and a
 * record from a block. byte_c, short_b and text_h are only sent, never decoded.
 */
AAA_API void aaa_encap_radext_msg_sub(void* block, const radext_msg* record);
AAA_API void aaa_parse_radext_msg_sub(const void* block, radext_msg_info* record);

/* ---- Restore user -------------------------------------------------------------------------- */

/* One user's state, which a client sends to aaad to restore the user or for a hot backup. */
typedef struct restore_user_info {
  uint32_t num_a;       /* also the message id in aaa_restore_user() */
  char chars253_a[253]; /* sent whole, with or without NUL */
  uint32_t code_a;      /* only the low 8 bits are sent */
  uint32_t num_d;
  uint8_t octets16_a[16];
  uint32_t num_b;
  uint8_t octets6_a[6];
  uint32_t num_c;
  uint8_t octets6_b[6];
  uint8_t octets64_a[64];
  uint8_t local_a[25]; /* not sent */
  uint32_t num_e;
  uint8_t local_b[68]; /* not sent */
  uint32_t num_f;
  uint8_t octets6_c[6];
  uint32_t num_g;
  uint32_t num_h;
} restore_user_info;

/* Fills a block of AAA_RESTORE_USER_BLOCK_SIZE bytes; unused bytes become zero. */
AAA_API void aaa_encap_restore_user(const restore_user_info* record, void* block);

/* ---- LDAP search --------------------------------------------------------------------------- */

/*
 * A question. For encoding, `attributes` points to head.attr_count descriptors of the caller (null:
 * none is sent) and `pool` is zero. In a decoded record every value is in the pool and followed by
 * a NUL; elements without an item are zero, and items beyond attr_count are dropped. A question
 * from aaad comes with a group's name; the client answers with aaa_add_ldap_search_result().
 */
typedef struct ldap_search_head {
  uint32_t session_id; /* may be 0 */
  uint32_t words8_a[8];
  uint32_t attr_count; /* elements of `attributes` */
} ldap_search_head;

typedef struct ldap_search_info {
  ldap_search_head head;
  aaa_item item_301;
  aaa_item item_306;
  aaa_item item_307;
  aaa_item* attributes; /* one item 308 each */
  aaa_arena pool;
} ldap_search_info;

AAA_API uint32_t aaa_encap_ldap_search_info(ldap_search_info* record, void** body);
AAA_API uint32_t aaa_parse_ldap_search_info(ldap_search_info** record, const void* body,
                                            int32_t length);
AAA_API void aaa_free_ldap_search_info(ldap_search_info* record);

/*
 * An answer: entries, each with a distinguished name and pairs of name and value. Both arrays
 * follow the rules of the question's array, except that a null `entries` sends 8 zero bytes per
 * counted entry. The items of one entry have at most 65,535 bytes, headers included.
 */
typedef struct ldap_pair {
  aaa_item name;  /* item 312 */
  aaa_item value; /* item 313 */
} ldap_pair;

typedef struct ldap_dn_entry {
  uint16_t type;       /* 310; set by the encoder */
  uint16_t len;        /* bytes after the entry's header; set by the encoder */
  uint32_t pair_count; /* elements of `pairs` */
  aaa_item dn;         /* item 311 */
  ldap_pair* pairs;
} ldap_dn_entry;

typedef struct ldap_result_head {
  uint32_t session_id; /* of the question */
  uint32_t words3_a[3];
  uint32_t entry_count; /* elements of `entries` */
  uint32_t num_a;
} ldap_result_head;

typedef struct ldap_search_result {
  ldap_result_head head;
  aaa_item item_309;
  aaa_item item_306;
  ldap_dn_entry* entries; /* one item 310 each */
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
