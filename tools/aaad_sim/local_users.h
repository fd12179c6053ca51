// The local user database, in an SQLite file or in memory.
#pragma once

#include <optional>
#include <string>

#include "database.h"
#include "local_user.h"

namespace aaa_sim {

// Every call may throw DatabaseError, whose text begins with the name of the file.
class LocalUsers {
 public:
  // An empty name: in memory.
  explicit LocalUsers(std::string file) : file_(std::move(file)) {}

  std::optional<LocalUser> find(const std::string& name);
  // Adds the user, or replaces the one of that name.
  void put(const LocalUser& user);

 private:
  // Opened, and its tables made, when it is first needed.
  Database& database();
  void open();
  std::optional<LocalUser> read(const std::string& name);
  void write(const LocalUser& user);

  const std::string file_;
  std::optional<Database> database_;
};

}  // namespace aaa_sim
