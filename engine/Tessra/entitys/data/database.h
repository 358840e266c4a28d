#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace tessra {

/// A short-lived connection to an SQLite file. Every failure is a `SurroundingsError` that names the file and includes
/// SQLite's message. Waits up to five seconds for other processes.
class Database {
 public:
  /// Opens the file, or creates it.
  explicit Database(const std::filesystem::path& file);

  /// Runs statements that return nothing.
  void run(const char* sql) const;
  /// Id of the last inserted row.
  std::int64_t last_id() const;

 private:
  friend class Statement;
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  void check(int code) const;

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Close> connection_;
};

/// A prepared statement; must not outlive its database. Parameters count from 1, columns from 0.
class Statement {
 public:
  Statement(const Database& database, const char* sql);

  void bind(int place, std::int64_t value);
  void bind(int place, double value);
  void bind(int place, const std::string& value);
  /// True when there is a row.
  bool step();
  bool is_null(int column) const;
  std::string text(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  const Database& database_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// A transaction, rolled back by its destructor unless committed.
class Transaction {
 public:
  explicit Transaction(const Database& database) : database_(database) { database_.run("BEGIN IMMEDIATE"); }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  const Database& database_;
  bool open_ = true;
};

}  // namespace tessra
