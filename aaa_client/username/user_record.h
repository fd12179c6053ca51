// What reading and writing a local user record share: the items that travel, and the circular lists
// in memory.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "username_lib.h"

namespace aaa {

// Type and length, of 32 bits each. The length counts them.
inline constexpr std::uint32_t user_item_header_size = 8;

inline void make_empty(aaa_list& head) {
  head = {.next = &head, .prev = &head};
}

// A head that was never set up counts as empty.
inline bool is_empty(const aaa_list& head) {
  return head.next == nullptr || head.next == &head;
}

// REQUIRES: the head is set up.
inline void push_front(aaa_list& head, aaa_list& node) {
  assert(head.next != nullptr);
  node = {.next = head.next, .prev = &head};
  head.next->prev = &node;
  head.next = &node;
}

// REQUIRES: the node is in a list.
inline void unlink_node(aaa_list& node) {
  assert(node.prev != nullptr && node.next != nullptr);
  node.prev->next = node.next;
  node.next->prev = node.prev;
}

// The entry whose `links` a node is. REQUIRES: the node is not a list's head.
template <class Entry>
Entry* entry_of(aaa_list* node) {
  return reinterpret_cast<Entry*>(reinterpret_cast<char*>(node) - offsetof(Entry, links));
}

}  // namespace aaa
