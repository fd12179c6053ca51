/* Why a client cannot work in the directory that TMPDIR names. */
#ifndef EXAMPLES_WORK_DIRECTORY_H
#define EXAMPLES_WORK_DIRECTORY_H

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

/*
 * Sizes of TMPDIR in bytes. The name of a socket has 107 bytes at most: those of clients stay whole
 * up to the first size. From the second one on aaad's has no room, from the third one on no client
 * can register.
 */
enum { TMPDIR_WHOLE_NAMES = 69, TMPDIR_WITHOUT_AAAD = 73, TMPDIR_REFUSED = 76 };

/* A relative name is completed with the current directory, which is read into so many bytes. */
enum { CURRENT_DIRECTORY_SIZE = 128 };

static inline int tmpdir_is_at_least(size_t size) {
  const char* const root = getenv("TMPDIR");
  return root != NULL && strlen(root) >= size;
}

static inline void print_tmpdir_size(const char* program) {
  fprintf(stderr, "%s: TMPDIR has %zu bytes, socket names leave room for %d\n", program,
          strlen(getenv("TMPDIR")), TMPDIR_WHOLE_NAMES);
}

typedef struct work_path {
  char text[TMPDIR_REFUSED + sizeof "/security/aaa/"];
} work_path;

static inline work_path work_path_below(const char* root) {
  work_path path;
  /* With the last slash a file is not taken for a directory. */
  (void)snprintf(path.text, sizeof path.text, "%s/security/aaa/", root);
  return path;
}

/* "/a/b" to "/a" to "/". Returns 0 when there is nothing above. */
static inline int go_up(char* path) {
  char* const slash = strrchr(path, '/');
  if (slash == NULL || strcmp(path, "/") == 0) return 0;
  slash[slash == path] = '\0';
  return 1;
}

/* What is not there yet is made in the nearest directory that is. */
static inline int print_unwritable(const char* program, work_path path) {
  while (faccessat(AT_FDCWD, path.text, W_OK | X_OK, AT_EACCESS) != 0) {
    const int error = errno;
    if (error == ENOENT && go_up(path.text)) continue;
    fprintf(stderr, "%s: cannot register: %s: %s\n", program, path.text, strerror(error));
    return 1;
  }
  return 0;
}

/* Its mode is set at every registration, which only its owner may. */
static inline int print_foreign(const char* program, work_path path) {
  struct stat found;
  if (geteuid() == 0 || stat(path.text, &found) != 0 || found.st_uid == geteuid()) return 0;
  fprintf(stderr, "%s: cannot register: %s belongs to another user\n", program, path.text);
  return 1;
}

/* The name counts as it is used, with "/security/aaa" behind it. */
static inline int has_taken_form(const char* root) {
  return *root == '/' || *root == '\0' || strcmp(root, ".") == 0 || strncmp(root, "./", 2) == 0;
}

static inline int current_directory_fits(const char* root) {
  char current[CURRENT_DIRECTORY_SIZE];
  return *root != '.' || getcwd(current, sizeof current) != NULL;
}

/* One line, for a client that aaa_svr_reg() or aaa_agent_init() has answered with -1. */
static inline void print_registration_failure(const char* program) {
  const char* const root = getenv("TMPDIR");
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
