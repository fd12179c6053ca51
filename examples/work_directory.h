/* Finds out why a client cannot use its directory: the one that it has named, or TMPDIR's. */
#ifndef EXAMPLES_WORK_DIRECTORY_H
#define EXAMPLES_WORK_DIRECTORY_H

#include <aaa_client.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

/*
 * Lengths of TMPDIR in bytes. A socket address has at most 107 bytes. Up to the first length the
 * names of client sockets fit; from the second one on aaad's name does not, from the third one on
 * no client can register.
 */
enum { TMPDIR_WHOLE_NAMES = 69, TMPDIR_WITHOUT_AAAD = 73, TMPDIR_REFUSED = 76 };

/* Size of the buffer for the current directory, which completes a relative path. */
enum { CURRENT_DIRECTORY_SIZE = 128 };

/* The directory of use_directory(); null: TMPDIR. */
static const char* named_directory;

static inline const char* work_root(void) {
  return named_directory != NULL ? named_directory : getenv("TMPDIR");
}

/* Takes the directory in place of TMPDIR. Returns 1; 0, after printing the reason, if it cannot. */
static inline int use_directory(const char* program, const char* path) {
  named_directory = path;
  if (aaa_set_directory(path) == 0) return 1;
  fprintf(stderr, "%s: the directory '%s' must begin with / and have at most %d bytes\n", program,
          path, TMPDIR_WHOLE_NAMES);
  return 0;
}

static inline int tmpdir_is_at_least(size_t size) {
  const char* const root = work_root();
  return root != NULL && strlen(root) >= size;
}

static inline void print_tmpdir_size(const char* program) {
  fprintf(stderr, "%s: TMPDIR has %zu bytes, socket names leave room for %d\n", program,
          strlen(work_root()), TMPDIR_WHOLE_NAMES);
}

typedef struct work_path {
  char text[TMPDIR_REFUSED + sizeof "/security/aaa/"];
} work_path;

static inline work_path work_path_below(const char* root) {
  work_path path;
  /* The trailing slash makes the checks fail if it is a file. */
  (void)snprintf(path.text, sizeof path.text, "%s/security/aaa/", root);
  return path;
}

/* Removes the last component: "/a/b", "/a", "/". Returns 0 when there is no parent. */
static inline int go_up(char* path) {
  char* const slash = strrchr(path, '/');
  if (slash == NULL || strcmp(path, "/") == 0) return 0;
  slash[slash == path] = '\0';
  return 1;
}

/* Missing directories are created in the nearest one that exists. */
static inline int print_unwritable(const char* program, work_path path) {
  while (faccessat(AT_FDCWD, path.text, W_OK | X_OK, AT_EACCESS) != 0) {
    const int error = errno;
    if (error == ENOENT && go_up(path.text)) continue;
    fprintf(stderr, "%s: cannot register: %s: %s\n", program, path.text, strerror(error));
    return 1;
  }
  return 0;
}

/* Registration sets the mode of the directory, which only its owner may do. */
static inline int print_foreign(const char* program, work_path path) {
  struct stat found;
  if (geteuid() == 0 || stat(path.text, &found) != 0 || found.st_uid == geteuid()) return 0;
  fprintf(stderr, "%s: cannot register: %s belongs to another user\n", program, path.text);
  return 1;
}

/* Checks TMPDIR with "/security/aaa" appended, as the library does. */
static inline int has_taken_form(const char* root) {
  return *root == '/' || *root == '\0' || strcmp(root, ".") == 0 || strncmp(root, "./", 2) == 0;
}

static inline int current_directory_fits(const char* root) {
  char current[CURRENT_DIRECTORY_SIZE];
  return *root != '.' || getcwd(current, sizeof current) != NULL;
}

/* Prints why aaa_svr_reg() or aaa_agent_init() has returned -1, in one line. */
static inline void print_registration_failure(const char* program) {
  const char* const root = work_root();
  if (root == NULL) {
    fprintf(stderr, "%s: cannot register: TMPDIR is not set\n", program);
  } else if (!has_taken_form(root)) {
    fprintf(stderr, "%s: cannot register: TMPDIR '%s' must begin with / or ./\n", program, root);
  } else if (tmpdir_is_at_least(TMPDIR_REFUSED)) {
    print_tmpdir_size(program);
  } else if (!current_directory_fits(root)) {
    fprintf(stderr,
            "%s: cannot register: TMPDIR begins with ./ in a directory of %d bytes or more\n",
            program, CURRENT_DIRECTORY_SIZE);
  } else if (!print_unwritable(program, work_path_below(root)) &&
             !print_foreign(program, work_path_below(root))) {
    fprintf(stderr, "%s: cannot register: no memory, descriptors or threads left\n", program);
  }
}

#endif
