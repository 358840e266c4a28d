#include "Tessra/entitys/data/database.h"

#include <sqlite3.h>

#include "Tessra/base/error.h"

namespace tessra {

Database::Database(const std::filesystem::path& file) : file_(file) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open(file.c_str(), &opened);
  connection_.reset(opened);  // SQLite returns a connection even on failure, to hold the message and to be closed
  check(code);
  sqlite3_busy_timeout(opened, 5000);
  run("PRAGMA journal_mode=WAL");  // readers and one writer do not block each other
}

void Database::run(const char* sql) const { check(sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr)); }

std::int64_t Database::last_id() const { return sqlite3_last_insert_rowid(connection_.get()); }

void Database::check(int code) const {
  if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
  throw SurroundingsError("results database " + file_.string() + ": " + sqlite3_errmsg(connection_.get()));
}

void Database::Close::operator()(sqlite3* connection) const { sqlite3_close(connection); }

Statement::Statement(const Database& database, const char* sql) : database_(database) {
  sqlite3_stmt* prepared = nullptr;
  database.check(sqlite3_prepare_v2(database.connection_.get(), sql, -1, &prepared, nullptr));
  statement_.reset(prepared);
}

void Statement::bind(int place, std::int64_t value) {
  database_.check(sqlite3_bind_int64(statement_.get(), place, value));
}

void Statement::bind(int place, double value) { database_.check(sqlite3_bind_double(statement_.get(), place, value)); }

void Statement::bind(int place, const std::string& value) {
  database_.check(
      sqlite3_bind_text(statement_.get(), place, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT));
}

bool Statement::step() {
  const int code = sqlite3_step(statement_.get());
  database_.check(code);
  return code == SQLITE_ROW;
}

bool Statement::is_null(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

std::string Statement::text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_.get(), column);
  return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }

double Statement::real(int column) const { return sqlite3_column_double(statement_.get(), column); }

void Statement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

Transaction::~Transaction() {
  if (!open_) return;
  try {
    database_.run("ROLLBACK");
  } catch (const SurroundingsError&) {
    // The original error is already propagating; closing the connection rolls back as well.
  }
}

void Transaction::commit() {
  database_.run("COMMIT");
  open_ = false;
}

}  // namespace tessra
