// The local user database, in an SQLite file or in memory.
#pragma once

#include <optional>
#include <string>

#include "backend/database.h"
#include "wire/local_user.h"

namespace aaa_sim {

// Every call may throw DatabaseError; its text starts with the name of the file.
class LocalUsers {
 public:
  // An empty name means in memory.
  explicit LocalUsers(std::string file) : file_(std::move(file)) {}

  std::optional<LocalUser> find(const std::string& name);
  // Adds the user, or replaces the user of that name.
  void put(const LocalUser& user);

 private:
  // Opens it on the first call.
  Database& database();
  void open();
  std::optional<LocalUser> read(const std::string& name);
  void write(const LocalUser& user);

  const std::string file_;
  std::optional<Database> database_;
};

}  // namespace aaa_sim
