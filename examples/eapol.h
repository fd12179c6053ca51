/* EAPOL, IEEE 802.1X: EAP packets in Ethernet frames between a supplicant and a port. */
#ifndef EXAMPLES_EAPOL_H
#define EXAMPLES_EAPOL_H

#include <arpa/inet.h>
#include <errno.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

enum { EAPOL_ETHERTYPE = 0x888e, EAPOL_VERSION = 2, EAPOL_HEADER = 4, EAP_MAX = 1496 };
enum { EAPOL_EAP = 0, EAPOL_START = 1, EAPOL_LOGOFF = 2 };

/* An EAP packet: code, identifier, length in two bytes; in requests and responses then the type. */
enum { EAP_REQUEST = 1, EAP_RESPONSE = 2, EAP_SUCCESS = 3, EAP_FAILURE = 4 };
enum { EAP_CODE = 0, EAP_IDENTIFIER = 1, EAP_TYPE = 4, EAP_DATA = 5 };
enum { EAP_TYPE_IDENTITY = 1 };

typedef struct eap_packet {
  uint16_t size;
  uint8_t bytes[EAP_MAX];
} eap_packet;

enum { ETHERNET_ADDRESS = 6 };

/* Every port and every supplicant receives what is sent to this address. */
static const uint8_t eapol_group[ETHERNET_ADDRESS] = {0x01, 0x80, 0xc2, 0x00, 0x00, 0x03};

typedef struct eapol_frame {
  uint8_t from[ETHERNET_ADDRESS];
  uint8_t type;
  eap_packet eap; /* in a frame of the type EAPOL_EAP */
} eapol_frame;

typedef struct eapol_socket {
  int fd;
  int interface;
  uint8_t address[ETHERNET_ADDRESS];
} eapol_socket;

static inline eap_packet new_eap_packet(uint8_t code, uint8_t identifier, uint16_t size) {
  const uint8_t low = (uint8_t)size, high = (uint8_t)(size >> 8);
  return (eap_packet){.size = size, .bytes = {code, identifier, high, low}};
}

/* Takes a packet that is as long as its header says, or longer. Returns 1, or 0 if it is not. */
static inline int take_eap_packet(eap_packet* packet, const uint8_t* bytes, size_t size) {
  if (size < EAP_TYPE) return 0;
  packet->size = (uint16_t)(bytes[2] << 8 | bytes[3]);
  if (packet->size < EAP_TYPE || packet->size > size || packet->size > EAP_MAX) return 0;
  const int has_type = bytes[EAP_CODE] == EAP_REQUEST || bytes[EAP_CODE] == EAP_RESPONSE;
  if (has_type && packet->size < EAP_DATA) return 0;
  (void)memcpy(packet->bytes, bytes, packet->size);
  return 1;
}

static inline int join_eapol_group(const eapol_socket* wire) {
  struct packet_mreq group = {
      .mr_ifindex = wire->interface, .mr_type = PACKET_MR_MULTICAST, .mr_alen = ETHERNET_ADDRESS};
  (void)memcpy(group.mr_address, eapol_group, ETHERNET_ADDRESS);
  return setsockopt(wire->fd, SOL_PACKET, PACKET_ADD_MEMBERSHIP, &group, sizeof group);
}

/* Needs CAP_NET_RAW. Returns 1; 0, with the reason in errno, when the interface cannot be used. */
static inline int open_eapol_socket(eapol_socket* wire, const char* interface) {
  struct sockaddr_ll own = {.sll_family = AF_PACKET, .sll_protocol = htons(EAPOL_ETHERTYPE)};
  socklen_t size = sizeof own;
  own.sll_ifindex = wire->interface = (int)if_nametoindex(interface);
  if (wire->interface == 0) return 0;
  wire->fd = socket(AF_PACKET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (wire->fd < 0 || bind(wire->fd, (struct sockaddr*)&own, sizeof own) != 0 ||
      join_eapol_group(wire) != 0 || getsockname(wire->fd, (struct sockaddr*)&own, &size) != 0)
    return 0;
  (void)memcpy(wire->address, own.sll_addr, ETHERNET_ADDRESS);
  return 1;
}

/* A frame that is lost is sent again by whoever waits for the answer. */
static inline void send_eap(const eapol_socket* wire, const uint8_t* to, const eap_packet* packet) {
  const uint8_t high = (uint8_t)(packet->size >> 8), low = (uint8_t)packet->size;
  uint8_t frame[EAPOL_HEADER + EAP_MAX] = {EAPOL_VERSION, EAPOL_EAP, high, low};
  struct sockaddr_ll peer = {.sll_family = AF_PACKET,
                             .sll_protocol = htons(EAPOL_ETHERTYPE),
                             .sll_ifindex = wire->interface,
                             .sll_halen = ETHERNET_ADDRESS};
  (void)memcpy(peer.sll_addr, to, ETHERNET_ADDRESS);
  (void)memcpy(frame + EAPOL_HEADER, packet->bytes, packet->size);
  (void)sendto(wire->fd, frame, EAPOL_HEADER + (size_t)packet->size, 0, (struct sockaddr*)&peer,
               sizeof peer);
}

/* Not its own frames, and not those that only a promiscuous interface receives. */
static inline int is_for_port(const struct sockaddr_ll* peer) {
  return peer->sll_halen == ETHERNET_ADDRESS &&
         (peer->sll_pkttype == PACKET_HOST || peer->sll_pkttype == PACKET_MULTICAST);
}

typedef enum arrival { NO_FRAME, FRAME, INTERFACE_DOWN } arrival;

/* A frame that is not well-formed is none. */
static inline arrival receive_eapol(const eapol_socket* wire, eapol_frame* frame) {
  uint8_t bytes[EAPOL_HEADER + EAP_MAX];
  struct sockaddr_ll peer;
  socklen_t peer_size = sizeof peer;
  const ssize_t size =
      recvfrom(wire->fd, bytes, sizeof bytes, 0, (struct sockaddr*)&peer, &peer_size);
  if (size < 0 && errno == ENETDOWN) return INTERFACE_DOWN;
  if (size < EAPOL_HEADER || !is_for_port(&peer)) return NO_FRAME;
  const int body_size = bytes[2] << 8 | bytes[3];
  if (body_size > size - EAPOL_HEADER) return NO_FRAME;
  (void)memcpy(frame->from, peer.sll_addr, ETHERNET_ADDRESS);
  frame->type = bytes[1];
  if (frame->type != EAPOL_EAP) return FRAME;
  return take_eap_packet(&frame->eap, bytes + EAPOL_HEADER, (size_t)body_size) ? FRAME : NO_FRAME;
}

enum { ADDRESS_TEXT_SIZE = 18 };

/* As RADIUS writes addresses, RFC 3580: 00-10-A4-23-19-C0. */
static inline void write_address(char* text, const uint8_t* address) {
  (void)snprintf(text, ADDRESS_TEXT_SIZE, "%02X-%02X-%02X-%02X-%02X-%02X", address[0], address[1],
                 address[2], address[3], address[4], address[5]);
}

#endif
