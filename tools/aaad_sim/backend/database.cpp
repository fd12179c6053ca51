#include "backend/database.h"

namespace aaa_sim {
namespace {

constexpr int kBusyTimeout = 1000;  // milliseconds, while another process writes

[[noreturn]] void fail(sqlite3* database) {
  throw DatabaseError(sqlite3_errmsg(database));
}

}  // namespace

Statement::Statement(sqlite3* database, const std::string& text)
    : database_(database), statement_(nullptr, sqlite3_finalize) {
  sqlite3_stmt* statement = nullptr;
  check(sqlite3_prepare_v2(database_, text.data(), static_cast<int>(text.size()), &statement,
                           nullptr));
  statement_.reset(statement);
}

Statement& Statement::bind(std::int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), ++bound_, value));
  return *this;
}

Statement& Statement::bind(const std::string& value) {
  check(sqlite3_bind_text64(statement_.get(), ++bound_, value.data(), value.size(),
                            SQLITE_TRANSIENT, SQLITE_UTF8));
  return *this;
}

bool Statement::step() {
  const int result = sqlite3_step(statement_.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) fail(database_);
  return result == SQLITE_ROW;
}

std::int64_t Statement::number(int column) {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string Statement::text(int column) {
  const auto* first = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  return first == nullptr ? std::string() : std::string(first, size);
}

void Statement::check(int result) {
  if (result != SQLITE_OK) fail(database_);
}

Database::Database(const std::string& file) : database_(nullptr, sqlite3_close) {
  sqlite3* database = nullptr;
  const int result = sqlite3_open(file.empty() ? ":memory:" : file.c_str(), &database);
  database_.reset(database);
  if (result != SQLITE_OK) fail(database);
  sqlite3_busy_timeout(database, kBusyTimeout);
}

// Fails, without harm, if SQLite has rolled back already.
Transaction::~Transaction() {
  if (!done_) sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
  database_.prepare("COMMIT").run();
  done_ = true;
}

}  // namespace aaa_sim
