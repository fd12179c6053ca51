#include "backend/local_users.h"

namespace aaa_sim {
namespace {

// The columns in the order of the field lists, each with the ending of its kind.
std::string columns(const std::string& number_ending, const std::string& text_ending) {
  std::string list;
  for (const auto& field : kLocalUserNumbers)
    list += ", " + (field.name + number_ending);
  for (const auto& field : kLocalUserFlags)
    list += ", " + (field.name + number_ending);
  for (const auto& field : kLocalUserTexts)
    list += ", " + (field.name + text_ending);
  return list;
}

constexpr std::size_t kColumns =
    1 + std::size(kLocalUserNumbers) + std::size(kLocalUserFlags) + std::size(kLocalUserTexts);

std::string parameters() {
  std::string list = "?";
  for (std::size_t i = 1; i < kColumns; ++i)
    list += ", ?";
  return list;
}

void create_tables(Database& database) {
  database
      .prepare("CREATE TABLE IF NOT EXISTS local_user (name TEXT PRIMARY KEY" +
               columns(" INTEGER NOT NULL", " TEXT NOT NULL") + ")")
      .run();
  database
      .prepare(
          "CREATE TABLE IF NOT EXISTS local_password (name TEXT NOT NULL, position INTEGER NOT "
          "NULL, password TEXT NOT NULL, PRIMARY KEY (name, position))")
      .run();
}

void read_fields(LocalUser& user, Statement& row) {
  int column = 0;
  for (const auto& field : kLocalUserNumbers)
    user.*field.member = static_cast<std::uint32_t>(row.number(column++));
  for (const auto& field : kLocalUserFlags)
    user.*field.member = row.number(column++) != 0;
  for (const auto& field : kLocalUserTexts)
    user.*field.member = row.text(column++);
}

void write_fields(const LocalUser& user, Statement& statement) {
  for (const auto& field : kLocalUserNumbers)
    statement.bind(std::int64_t{user.*field.member});
  for (const auto& field : kLocalUserFlags)
    statement.bind(std::int64_t{user.*field.member});
  for (const auto& field : kLocalUserTexts)
    statement.bind(user.*field.member);
}

}  // namespace

std::optional<LocalUser> LocalUsers::find(const std::string& name) {
  try {
    return read(name);
  } catch (const DatabaseError& error) {
    throw DatabaseError((file_.empty() ? "local users" : file_) + ": " + error.what());
  }
}

void LocalUsers::put(const LocalUser& user) {
  try {
    write(user);
  } catch (const DatabaseError& error) {
    throw DatabaseError((file_.empty() ? "local users" : file_) + ": " + error.what());
  }
}

Database& LocalUsers::database() {
  if (!database_) open();
  return *database_;
}

void LocalUsers::open() {
  Database database(file_);
  create_tables(database);
  database_.emplace(std::move(database));
}

std::optional<LocalUser> LocalUsers::read(const std::string& name) {
  Statement fields =
      database().prepare("SELECT " + columns("", "").substr(2) + " FROM local_user WHERE name = ?");
  if (!fields.bind(name).step()) return std::nullopt;
  LocalUser user{.name = name};
  read_fields(user, fields);
  Statement passwords =
      database().prepare("SELECT password FROM local_password WHERE name = ? ORDER BY position");
  passwords.bind(name);
  while (passwords.step())
    user.passwords.push_back(passwords.text(0));
  return user;
}

void LocalUsers::write(const LocalUser& user) {
  Transaction transaction(database());
  Statement fields = database().prepare("INSERT OR REPLACE INTO local_user (name" +
                                        columns("", "") + ") VALUES (" + parameters() + ")");
  fields.bind(user.name);
  write_fields(user, fields);
  fields.run();
  database().prepare("DELETE FROM local_password WHERE name = ?").bind(user.name).run();
  for (std::size_t i = 0; i < user.passwords.size(); ++i) {
    database()
        .prepare("INSERT INTO local_password VALUES (?, ?, ?)")
        .bind(user.name)
        .bind(static_cast<std::int64_t>(i))
        .bind(user.passwords[i])
        .run();
  }
  transaction.commit();
}

}  // namespace aaa_sim
