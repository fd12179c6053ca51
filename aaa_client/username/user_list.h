// The circular lists of a local user record.
#pragma once

#include <cstddef>

#include "username_lib.h"

namespace aaa {

inline void make_empty(aaa_list& head) {
  head = {.next = &head, .prev = &head};
}

// A head that was never set up counts as empty.
inline bool is_empty(const aaa_list& head) {
  return head.next == nullptr || head.next == &head;
}

inline void push_front(aaa_list& head, aaa_list& node) {
  node = {.next = head.next, .prev = &head};
  head.next->prev = &node;
  head.next = &node;
}

inline void unlink_node(aaa_list& node) {
  node.prev->next = node.next;
  node.next->prev = node.prev;
}

// The entry whose `links` a node is.
template <class Entry>
Entry* entry_of(aaa_list* node) {
  return reinterpret_cast<Entry*>(reinterpret_cast<char*>(node) - offsetof(Entry, links));
}

}  // namespace aaa
