#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace vellmar::server {

// A failed database call, carrying SQLite's own message.
class DatabaseError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One prepared statement; parameters are bound by 1-based position. Text is bound and read as
// bytes, so documents keep exactly the bytes the editor posted.
class Statement {
 public:
  Statement(sqlite3* db, std::string_view sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& bind(int index, std::int64_t value);
  Statement& bind(int index, std::string_view text);
  Statement& bindNull(int index);

  // Advances to the next row; false when the statement is done.
  bool step();
  // Runs a statement that returns no rows.
  void run();

  std::int64_t integer(int column) const;
  std::string text(int column) const;
  bool isNull(int column) const;

 private:
  sqlite3* db_;
  sqlite3_stmt* stmt_ = nullptr;
};

// One open connection. Used by one thread at a time (the pool hands it out).
class Connection {
 public:
  explicit Connection(const std::filesystem::path& file);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void exec(std::string_view sql);
  Statement prepare(std::string_view sql) { return Statement(db_, sql); }
  std::int64_t lastInsertId() const;
  int changes() const;

 private:
  sqlite3* db_ = nullptr;
};

// The server's database: one SQLite file in WAL mode, shared by the request threads through a
// pool of connections. Every change runs inside `write`, one IMMEDIATE transaction that commits
// fully or not at all; a save is acknowledged only after its commit has reached the disk.
class Database {
 public:
  explicit Database(std::filesystem::path file);
  ~Database();

  // Opens the file, creates the schema when missing and checks the file. Throws DatabaseError.
  void open();

  // Runs `body` inside one transaction; rolls back when it throws, then rethrows.
  template <class Body>
  auto write(Body&& body) {
    // Writers queue here rather than in SQLite, whose busy handler sleeps in growing steps and
    // would turn contention into long tail latencies.
    std::lock_guard writing(writeMutex_);
    Lease lease(*this);
    Transaction tx(*lease);
    if constexpr (std::is_void_v<decltype(body(*lease))>) {
      body(*lease);
      tx.commit();
    } else {
      auto result = body(*lease);
      tx.commit();
      return result;
    }
  }

  // Runs `body` on a connection without opening a write transaction (a consistent snapshot for
  // one statement at a time).
  template <class Body>
  auto read(Body&& body) {
    Lease lease(*this);
    return body(*lease);
  }

  // "ok" when SQLite finds the file sound, otherwise its first complaint.
  std::string integrityCheck();

 private:
  class Lease {
   public:
    explicit Lease(Database& db);
    ~Lease();
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    Connection& operator*() { return *conn_; }

   private:
    Database& db_;
    std::unique_ptr<Connection> conn_;
  };

  class Transaction {
   public:
    explicit Transaction(Connection& conn);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

   private:
    Connection& conn_;
    bool done_ = false;
  };

  static std::string integrityCheckOn(Connection& conn);
  std::unique_ptr<Connection> acquire();
  void release(std::unique_ptr<Connection> conn);

  std::filesystem::path file_;
  std::mutex mutex_;  // guards idle_
  std::mutex writeMutex_;
  std::vector<std::unique_ptr<Connection>> idle_;
};

}  // namespace vellmar::server
