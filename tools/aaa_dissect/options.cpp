#include "options.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include <CLI/CLI.hpp>

#include "program/file_name.h"
#include "server/client_directory.h"

namespace aaa_dissect {
namespace {

void describe_tap(CLI::App& app, Options& options, CLI::Option* file) {
  CLI::Option* const tap =
      app.add_option("--tap", options.tap,
                     "Listen for clients whose TMPDIR is DIRECTORY, and forward to the daemon")
          ->type_name("DIRECTORY")
          ->excludes(file);
  app.add_option("-d,--directory", options.directory,
                 "The directory that the daemon uses (default: TMPDIR)")
      ->type_name("DIRECTORY")
      ->check(aaa_sim::refuse_empty)
      ->needs(tap);
  app.add_option("--write", options.write, "Write a capture of what is forwarded")
      ->type_name("FILE")
      ->check(aaa_sim::refuse_empty)
      ->needs(tap);
  app.add_flag("--quiet", options.quiet, "Do not print messages")->needs(tap);
}

void describe(CLI::App& app, Options& options) {
  app.name("aaa-dissect");
  app.description("Prints the messages between clients and aaad, from a capture or on their way.");
  app.set_version_flag("--version", "aaa-dissect " AAA_DISSECT_VERSION,
                       "Print the version and exit");
  CLI::Option* const file =
      app.add_option("FILE", options.file, "Capture in pcapng (default: standard input)")
          ->check(aaa_sim::refuse_empty);
  app.add_flag("--json", options.style.is_json, "Print JSON, an object on each line");
  app.add_flag("--secrets", options.style.secrets,
               "Print passwords and keys, and write them to the capture");
  describe_tap(app, options, file);
}

void check(const char* option, const std::string& directory) {
  if (const auto error = aaa_sim::error_of_directory(directory))
    throw CLI::ValidationError(option, "'" + directory + "' " + *error);
}

bool is_same(const std::string& first, const std::string& second) {
  std::error_code ignored;
  return std::filesystem::weakly_canonical(first, ignored) ==
         std::filesystem::weakly_canonical(second, ignored);
}

void complete(Options& options) {
  if (!options.tap) return;
  const char* const variable = std::getenv("TMPDIR");
  if (options.directory.empty() && variable != nullptr) options.directory = variable;
  if (options.directory.empty())
    throw CLI::ValidationError("--directory is required when TMPDIR is not set");
  check("--tap", *options.tap);
  check("--directory", options.directory);
  if (is_same(*options.tap, options.directory))
    throw CLI::ValidationError("--tap: '" + *options.tap + "' is the daemon's own directory");
}

}  // namespace

std::optional<Options> parse_options(int argc, char** argv, Status& status) {
  CLI::App app;
  std::optional<Options> options(std::in_place);
  describe(app, *options);
  try {
    app.parse(argc, argv);
    complete(*options);
    return options;
  } catch (const CLI::Success& done) {
    status = static_cast<Status>(app.exit(done));
  } catch (const CLI::Error& error) {
    std::string what = error.what();
    std::ranges::replace(what, '\n', ' ');
    std::cerr << "aaa-dissect: " << what << '\n';
    status = Status::usage;
  }
  return std::nullopt;
}

}  // namespace aaa_dissect
