/* Command line parsing. */
#ifndef EXAMPLES_ARGUMENTS_H
#define EXAMPLES_ARGUMENTS_H

#include <ctype.h>
#include <errno.h>
#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>

/* An option whose argument is a number from `least` to `most`. */
typedef struct number_option {
  int letter;
  unsigned long least, most;
  unsigned long* value;
} number_option;

/* An option whose argument is taken as it stands. */
typedef struct text_option {
  int letter;
  const char** value;
} text_option;

typedef struct command_line {
  const char* name;
  const char* usage; /* options and operands */
  const char* help;  /* printed after the usage line by --help */
  int operands;
  const char* letters;      /* option string of getopt(), with 'h' */
  number_option numbers[4]; /* unused elements have the letter 0 */
  text_option texts[2];     /* so here */
} command_line;

/* Parses decimal digits only. Returns 1; 0 for anything else or a number out of range. */
static inline int parse_number(const char* text, unsigned long least, unsigned long most,
                               unsigned long* number) {
  char* end = NULL;
  if (!isdigit((unsigned char)*text)) return 0;
  errno = 0;
  *number = strtoul(text, &end, 10);
  return errno == 0 && *end == '\0' && *number >= least && *number <= most;
}

static inline int take_text(const command_line* line, int letter) {
  for (size_t i = 0; i < sizeof line->texts / sizeof *line->texts; ++i) {
    if (line->texts[i].letter != letter) continue;
    *line->texts[i].value = optarg;
    return 1;
  }
  return 0;
}

static inline int take_number(const command_line* line, int letter) {
  for (size_t i = 0; i < sizeof line->numbers / sizeof *line->numbers; ++i) {
    const number_option* const option = &line->numbers[i];
    if (option->letter != letter) continue;
    if (parse_number(optarg, option->least, option->most, option->value)) return 1;
    fprintf(stderr, "%s: -%c: '%s' is not a number from %lu to %lu\n", line->name, letter, optarg,
            option->least, option->most);
    return 0;
  }
  return 0;
}

static inline void print_usage(const command_line* line, FILE* stream) {
  fprintf(stream, "usage: %s %s\n", line->name, line->usage);
}

enum { GO_ON = 0, HELPED = 1, MISUSED = 2 };

/* On GO_ON the operands begin at argv[optind]; otherwise a message has been printed. */
static inline int parse_arguments(const command_line* line, int argc, char** argv) {
  static const struct option long_options[] = {{"help", no_argument, NULL, 'h'}, {0}};
  for (int letter; (letter = getopt_long(argc, argv, line->letters, long_options, NULL)) != -1;) {
    if (letter == 'h') {
      print_usage(line, stdout);
      fputs(line->help, stdout);
      return HELPED;
    }
    if (letter == '?' || (!take_text(line, letter) && !take_number(line, letter))) return MISUSED;
  }
  if (argc - optind == line->operands) return GO_ON;
  print_usage(line, stderr);
  return MISUSED;
}

#endif
