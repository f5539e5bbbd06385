// Runs statements of SQLite, and turns what fails into failures.

#include "tev/Database.h"

#include <sqlite3.h>

#include "Lbt/Util/Utf8.h"
#include "tev/FileFailure.h"

namespace {

/// What went wrong last, by the kinds of failures that files have.
[[noreturn]] void RaiseFailure(sqlite3* database, int code) {
  switch (code & 0xFF) {  // what it is in particular stands above
    case SQLITE_NOMEM:
      throw std::bad_alloc();
    case SQLITE_CANTOPEN:
      throw SystemFailure("cannot open", sqlite3_system_errno(database));
    case SQLITE_IOERR:
      throw SystemFailure("cannot read or write", sqlite3_system_errno(database));
    case SQLITE_CORRUPT:
      throw Failure(FailureCode::Damaged, std::string("damaged: ") + sqlite3_errmsg(database));
    case SQLITE_NOTADB:
      throw Failure(FailureCode::NotAModel, "no catalogue: it is no file of SQLite");
    default:
      throw Failure(FailureCode::IoError, sqlite3_errmsg(database));
  }
}

}  // namespace

void Statement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

void Database::Close::operator()(sqlite3* database) const { sqlite3_close(database); }

Statement::Statement(sqlite3* database, std::string_view sql) {
  const std::string_view rest = Compile(database, sql);
  if (statement_ == nullptr) {
    throw Failure(FailureCode::IoError, "there is no statement");
  }
  Statement next;
  static_cast<void>(next.Compile(database, rest));
  if (next.statement_ != nullptr) {
    throw Failure(FailureCode::IoError, "there is more than one statement");
  }
}

std::string_view Statement::Compile(sqlite3* database, std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const char* rest = nullptr;
  const int code =
      sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, &rest);
  statement_.reset(statement);
  if (code != SQLITE_OK) {
    RaiseFailure(database, code);
  }
  return sql.substr(static_cast<std::size_t>(rest - sql.data()));
}

sqlite3* Statement::Handle() const { return sqlite3_db_handle(statement_.get()); }

void Statement::Require(int code) const {
  if (code != SQLITE_OK) {
    RaiseFailure(Handle(), code);
  }
}

Statement& Statement::Bind(std::nullptr_t /*null*/) {
  Require(sqlite3_bind_null(statement_.get(), next_++));
  return *this;
}

Statement& Statement::Bind(std::int64_t number) {
  Require(sqlite3_bind_int64(statement_.get(), next_++, number));
  return *this;
}

Statement& Statement::Bind(double number) {
  Require(sqlite3_bind_double(statement_.get(), next_++, number));
  return *this;
}

Statement& Statement::Bind(RawText text) {
  const std::string_view bytes = text.bytes;
  Require(sqlite3_bind_text64(statement_.get(), next_++, bytes.empty() ? "" : bytes.data(),
                              bytes.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
  return *this;
}

Statement& Statement::Bind(std::string_view text) {
  return Bind(RawText{Lbt::Util::ValidUtf8(text)});
}

bool Statement::Step() {
  const int code = sqlite3_step(statement_.get());
  if (code != SQLITE_ROW && code != SQLITE_DONE) {
    RaiseFailure(Handle(), code);
  }
  return code == SQLITE_ROW;
}

void Statement::Reset() {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
  next_ = 1;
}

int Statement::Columns() const { return sqlite3_column_count(statement_.get()); }

std::string Statement::NameOf(int column) const {
  const char* name = sqlite3_column_name(statement_.get(), column);
  return name == nullptr ? "" : name;
}

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

bool Statement::IsNumber(int column) const {
  const int type = sqlite3_column_type(statement_.get(), column);
  return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

bool Statement::IsReal(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_FLOAT;
}

std::int64_t Statement::Integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Statement::Real(int column) const { return sqlite3_column_double(statement_.get(), column); }

std::string_view Statement::TextView(int column) const {
  const void* text = sqlite3_column_blob(statement_.get(), column);  // as its bytes are
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  return text == nullptr ? std::string_view()
                         : std::string_view(static_cast<const char*>(text), size);
}

std::string Statement::Text(int column) const { return std::string(TextView(column)); }

bool Statement::IsReadOnly() const { return sqlite3_stmt_readonly(statement_.get()) != 0; }

Database::Database(const std::string& path, Access access) {
  sqlite3* database = nullptr;
  const int flags =
      access == Access::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  // No two threads use a database.
  const int code = sqlite3_open_v2(path.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(database);
  if (code != SQLITE_OK) {
    RaiseFailure(database, code);
  }
  sqlite3_extended_result_codes(database, 1);
  constexpr int kMilliseconds = 10000;  // somebody else may be writing a batch
  sqlite3_busy_timeout(database, kMilliseconds);
}

Statement Database::Prepare(std::string_view sql) const { return {handle_.get(), sql}; }

void Database::Execute(const std::string& sql) const {
  const int code = sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) {
    RaiseFailure(handle_.get(), code);
  }
}

void Database::Try(const std::string& sql) const noexcept {
  static_cast<void>(sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

std::optional<std::int64_t> Database::Number(std::string_view sql) const {
  Statement statement = Prepare(sql);
  return statement.Step() && !statement.IsNull(0) ? std::optional(statement.Integer(0))
                                                  : std::nullopt;
}

std::int64_t Database::LastId() const { return sqlite3_last_insert_rowid(handle_.get()); }

Transaction::Transaction(const Database& database) : database_(&database) {
  database.Execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (isOpen_) {
    database_->Try("ROLLBACK");
  }
}

void Transaction::Commit() {
  database_->Execute("COMMIT");
  isOpen_ = false;
}
