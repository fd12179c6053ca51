// Releasing what a local user record owns: it may be passwords, so it is wiped before.
#include "username/user_list.h"

#include "transport/base/memory.h"
#include "username_lib.h"

namespace {

template <class Entry>
void free_entries(aaa_list& head) {
  while (!aaa::is_empty(head)) {
    aaa_list* const node = head.next;
    aaa::unlink_node(*node);
    aaa::wipe_and_free(aaa::entry_of<Entry>(node), sizeof(Entry));
  }
  aaa::make_empty(head);
}

}  // namespace

void username_lib_release_user(local_user_info* record) {
  if (record == nullptr) return;
  free_entries<local_user_password>(record->passwords);
  free_entries<local_user_block>(record->blocks);
}
