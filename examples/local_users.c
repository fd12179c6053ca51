/*
 * local_users [-w SECONDS] USER PASSWORD
 *
 * Changes the password of a local user: fetches the user, adds the old password to the list of
 * earlier ones, counts the change in value_13, sends the user back, and fetches it again to verify
 * the change. Exit status: 0 done, 1 no such user or refused by aaad, 2 any other failure.
 */
#include <aaa_client.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <username_lib.h>

#include "arguments.h"
#include "connection.h"

enum { DONE = 0, REFUSED = 1, FAILED = 2 };

static local_user_password* password_of(aaa_list* links) {
  return (local_user_password*)((char*)links - offsetof(local_user_password, links));
}

/* In a fetched list the latest password is first. */
static void print_user(local_user_info* user) {
  printf("%s: %u changes of password\n", user->user_name, (unsigned)user->value_13);
  for (aaa_list* at = user->passwords.next; at != &user->passwords; at = at->next)
    printf("  earlier password: %s\n", password_of(at)->text);
}

static int fetch(local_user_info* user, const char* name) {
  (void)memset(user, 0, sizeof *user);
  (void)strncpy(user->user_name, name, sizeof user->user_name - 1);
  switch (username_lib_copy_user(user)) {
    case 0:
      print_user(user);
      return DONE;
    case -1:
      fprintf(stderr, "local_users: there is no user %s\n", name);
      return REFUSED;
    default:
      fprintf(stderr, "local_users: cannot fetch %s\n", name);
      return FAILED;
  }
}

/* The library frees the entries, so they are allocated with aaa_malloc(). */
static int keep_password(local_user_info* user, const char* text) {
  if (*text == '\0') return DONE;
  local_user_password* entry = aaa_malloc(__LINE__, __func__, sizeof *entry);
  if (entry == NULL) return FAILED;
  (void)memset(entry, 0, sizeof *entry);
  (void)strncpy(entry->text, text, sizeof entry->text - 1);
  entry->links.prev = &user->passwords;
  entry->links.next = user->passwords.next;
  entry->links.next->prev = &entry->links;
  user->passwords.next = &entry->links;
  ++user->password_count;
  return DONE;
}

/* The meaning of the fields is agreed with aaad; for aaad-sim string_19 is the password. */
static int change(local_user_info* user, const char* password) {
  if (keep_password(user, user->string_19) != DONE) {
    fputs("local_users: out of memory\n", stderr);
    return FAILED;
  }
  (void)strcpy(user->string_19, password);
  ++user->value_13;
  const int32_t written = username_lib_update_user(user);
  if (written == 0) return DONE;
  fprintf(stderr, "local_users: the change was not taken (%d)\n", (int)written);
  return written == -1 ? REFUSED : FAILED;
}

static int fetch_and_change(const char* name, const char* password) {
  local_user_info user;
  int outcome = fetch(&user, name);
  if (outcome != DONE) return outcome;
  outcome = change(&user, password);
  username_lib_release_user(&user);
  return outcome;
}

static int fetch_and_check(const char* name, const char* password) {
  local_user_info user;
  const int outcome = fetch(&user, name);
  if (outcome != DONE) return outcome;
  const int same = strcmp(user.string_19, password) == 0;
  username_lib_release_user(&user);
  if (!same) {
    fputs("local_users: aaad has kept another password\n", stderr);
    return FAILED;
  }
  puts("the new password is kept");
  return DONE;
}

static int renew(const char* name, const char* password) {
  const int outcome = fetch_and_change(name, password);
  return outcome == DONE ? fetch_and_check(name, password) : outcome;
}

int main(int argc, char** argv) {
  unsigned long patience = 10;
  const command_line line = {
      .name = "local_users",
      .usage = "[-w SECONDS] USER PASSWORD",
      .help =
          "Changes the password of a user in aaad's local user database.\n"
          "TMPDIR is the directory that aaad uses.\n"
          "  -w SECONDS  time limit for registering with aaad, default 10\n"
          "Exit status: 0 done, 1 no such user or refused by aaad, 2 any other failure.\n",
      .operands = 2,
      .letters = "w:h",
      .numbers = {{'w', 1, 3600, &patience}}};
  const int parsed = parse_arguments(&line, argc, argv);
  if (parsed != GO_ON) return parsed == HELPED ? 0 : FAILED;
  const char* const name = argv[optind];
  const char* const password = argv[optind + 1];
  if (strlen(name) >= sizeof((local_user_info*)0)->user_name ||
      strlen(password) >= sizeof((local_user_info*)0)->string_19) {
    fputs("local_users: the name or the password is too long\n", stderr);
    return FAILED;
  }

  if (!connect_to_aaad("local_users", patience)) return FAILED;
  const int outcome = renew(name, password);
  return disconnect_from_aaad("local_users") ? outcome : FAILED;
}
