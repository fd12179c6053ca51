/*
 * local_users USER PASSWORD
 *
 * Gives a local user another password: fetches the user, keeps the old password among the earlier
 * ones, counts the change in value_13, writes the user back, and fetches again to see that it is
 * there. Exit status: 0 done, 1 there is no such user or aaad refuses the change, 2 anything else.
 */
#include <aaa_client.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <username_lib.h>

enum { DONE = 0, REFUSED = 1, FAILED = 2 };

static local_user_password* password_of(aaa_list* links) {
  return (local_user_password*)((char*)links - offsetof(local_user_password, links));
}

/* A fetched list has the latest password in front. */
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

/* Entries are released by the library, so they come from its memory. */
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

/* aaad takes string_19 for the password. */
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

int main(int argc, char** argv) {
  if (argc != 3 || strlen(argv[1]) >= sizeof((local_user_info*)0)->user_name ||
      strlen(argv[2]) >= sizeof((local_user_info*)0)->string_19) {
    fprintf(stderr, "usage: %s USER PASSWORD\n", argv[0]);
    return FAILED;
  }
  const reg_info registration = {.model_name = "local_users"};
  if (aaa_svr_reg(&registration) != 0) {
    fputs("local_users: cannot register, is there a directory below TMPDIR to work in?\n", stderr);
    return FAILED;
  }
  int outcome = FAILED;
  if (aaa_is_alive()) {
    outcome = fetch_and_change(argv[1], argv[2]);
    if (outcome == DONE) outcome = fetch_and_check(argv[1], argv[2]);
  } else {
    fputs("local_users: aaad does not run\n", stderr);
  }
  if (aaa_svr_dereg() != 0) {
    fputs("local_users: aaad did not take the farewell\n", stderr);
    outcome = FAILED;
  }
  return outcome;
}
