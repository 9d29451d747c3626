#include "server/database.h"

#include <sqlite3.h>

#include <utility>

namespace vellmar::server {

namespace {

constexpr const char* kSchema = R"sql(
CREATE TABLE IF NOT EXISTS documents(
  id INTEGER PRIMARY KEY,
  created INTEGER NOT NULL,
  current_version INTEGER NOT NULL DEFAULT 0);
CREATE TABLE IF NOT EXISTS versions(
  document_id INTEGER NOT NULL REFERENCES documents(id),
  number INTEGER NOT NULL,
  body TEXT NOT NULL,
  saved INTEGER NOT NULL,
  PRIMARY KEY(document_id, number));
CREATE TABLE IF NOT EXISTS images(
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  file TEXT NOT NULL UNIQUE,
  size INTEGER NOT NULL,
  width INTEGER NOT NULL,
  height INTEGER NOT NULL,
  created INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS links(
  id INTEGER PRIMARY KEY,
  list TEXT NOT NULL CHECK(list IN ('link', 'email')),
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  address TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS sessions(
  token TEXT PRIMARY KEY,
  created INTEGER NOT NULL,
  last_seen INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS settings(
  key TEXT PRIMARY KEY,
  value TEXT NOT NULL);
)sql";

[[noreturn]] void fail(sqlite3* db, std::string_view what) {
  throw DatabaseError(std::string(what) + ": " + (db ? sqlite3_errmsg(db) : "out of memory"));
}

}  // namespace

Statement::Statement(sqlite3* db, std::string_view sql) : db_(db) {
  if (sqlite3_prepare_v2(db_, sql.data(), static_cast<int>(sql.size()), &stmt_, nullptr) !=
      SQLITE_OK)
    fail(db_, "prepare");
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement& Statement::bind(int index, std::int64_t value) {
  if (sqlite3_bind_int64(stmt_, index, value) != SQLITE_OK) fail(db_, "bind");
  return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
  if (sqlite3_bind_text64(stmt_, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8) !=
      SQLITE_OK)
    fail(db_, "bind");
  return *this;
}

Statement& Statement::bindNull(int index) {
  if (sqlite3_bind_null(stmt_, index) != SQLITE_OK) fail(db_, "bind");
  return *this;
}

bool Statement::step() {
  const int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  fail(db_, "step");
}

void Statement::run() {
  while (step()) {
  }
}

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(stmt_, column); }

std::string Statement::text(int column) const {
  const auto* bytes = sqlite3_column_text(stmt_, column);
  const int size = sqlite3_column_bytes(stmt_, column);
  if (!bytes) return {};
  return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

bool Statement::isNull(int column) const {
  return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

Connection::Connection(const std::filesystem::path& file) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(file.c_str(), &db_, flags, nullptr) != SQLITE_OK) {
    std::string message = "cannot open " + file.string() + ": " +
                          (db_ ? sqlite3_errmsg(db_) : "out of memory");
    sqlite3_close(db_);
    throw DatabaseError(message);
  }
  sqlite3_extended_result_codes(db_, 1);
  // A writer waits for another writer's commit instead of failing at once.
  sqlite3_busy_timeout(db_, 10000);
  // FULL makes every commit reach the disk before the answer goes out, so an acknowledged save
  // survives a crash of the process and of the machine.
  exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
}

Connection::~Connection() { sqlite3_close_v2(db_); }

void Connection::exec(std::string_view sql) {
  const std::string text(sql);
  char* message = nullptr;
  if (sqlite3_exec(db_, text.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
    std::string reason = message ? message : sqlite3_errmsg(db_);
    sqlite3_free(message);
    throw DatabaseError(reason);
  }
}

std::int64_t Connection::lastInsertId() const { return sqlite3_last_insert_rowid(db_); }

int Connection::changes() const { return sqlite3_changes(db_); }

Database::Database(std::filesystem::path file) : file_(std::move(file)) {}

Database::~Database() = default;

void Database::open() {
  Lease lease(*this);
  (*lease).exec(kSchema);
  const std::string verdict = integrityCheckOn(*lease);
  if (verdict != "ok") throw DatabaseError("the database " + file_.string() + " is damaged: " + verdict);
}

std::string Database::integrityCheck() {
  Lease lease(*this);
  return integrityCheckOn(*lease);
}

std::string Database::integrityCheckOn(Connection& conn) {
  auto st = conn.prepare("PRAGMA quick_check");
  return st.step() ? st.text(0) : std::string("no answer");
}

std::unique_ptr<Connection> Database::acquire() {
  {
    std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      auto conn = std::move(idle_.back());
      idle_.pop_back();
      return conn;
    }
  }
  return std::make_unique<Connection>(file_);
}

void Database::release(std::unique_ptr<Connection> conn) {
  std::lock_guard lock(mutex_);
  idle_.push_back(std::move(conn));
}

Database::Lease::Lease(Database& db) : db_(db), conn_(db.acquire()) {}

Database::Lease::~Lease() { db_.release(std::move(conn_)); }

Database::Transaction::Transaction(Connection& conn) : conn_(conn) {
  conn_.exec("BEGIN IMMEDIATE");
}

Database::Transaction::~Transaction() {
  if (done_) return;
  try {
    conn_.exec("ROLLBACK");
  } catch (const DatabaseError&) {
    // The transaction is gone already (SQLite rolls back by itself on some errors).
  }
}

void Database::Transaction::commit() {
  conn_.exec("COMMIT");
  done_ = true;
}

}  // namespace vellmar::server
