/*
 * Every name that the library exports is declared in a public header, and a client in C finds it in
 * the shared library. The list is made from the version script: NAMES(ONE) is ONE(name) for each.
 */
#include <aaa_client.h>
#include <aaa_codec.h>
#include <stdint.h>
#include <stdio.h>
#include <username_lib.h>

#include "exported_names.h"

struct exported_name {
  const char* name;
  uintptr_t address;
};

#define ENTRY(name) {#name, (uintptr_t)&name},

int main(void) {
  const struct exported_name names[] = {NAMES(ENTRY)};
  _Static_assert(sizeof names / sizeof names[0] == EXPORTED_NAMES, "names come and go on purpose");
  for (unsigned i = 0; i < EXPORTED_NAMES; i++) {
    if (names[i].address != 0) continue;
    (void)fprintf(stderr, "%s has no address\n", names[i].name);
    return 1;
  }
  return 0;
}
