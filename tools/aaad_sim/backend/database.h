// A thin wrapper of SQLite. Failures throw DatabaseError.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace aaa_sim {

struct DatabaseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A prepared statement. Must be destroyed before its database.
class Statement {
 public:
  Statement(sqlite3* database, const std::string& text);

  // Binds the next parameter.
  Statement& bind(std::int64_t value);
  Statement& bind(const std::string& value);

  // Moves to the next row; false when there is none.
  bool step();
  // Runs a statement without rows.
  void run() { step(); }

  // Columns of the current row, from 0.
  std::int64_t number(int column);
  std::string text(int column);

 private:
  void check(int result);

  sqlite3* database_;
  std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement_;
  int bound_ = 0;
};

class Database {
 public:
  // Creates the file if it does not exist. An empty name means in memory.
  explicit Database(const std::string& file);

  Statement prepare(const std::string& text) { return {database_.get(), text}; }
  sqlite3* handle() const { return database_.get(); }

 private:
  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database_;
};

// Rolls back on destruction unless commit() was called.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database) {
    database_.prepare("BEGIN IMMEDIATE").run();
  }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database_;
  bool done_ = false;
};

}  // namespace aaa_sim
