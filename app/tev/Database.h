#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

/// A text that is kept as its bytes are, valid or not.
struct RawText {
  std::string_view bytes;
};

/// One prepared statement of a database, which must outlive it. All that fails throws a Failure.
class Statement {
 public:
  Statement(sqlite3* database, std::string_view sql);

  /// Gives the next parameters their values, the first one after a Reset.
  Statement& Bind(std::nullptr_t null);
  Statement& Bind(std::int64_t number);
  Statement& Bind(double number);  ///< NaN becomes null
  Statement& Bind(RawText text);
  Statement& Bind(std::string_view text);  ///< with U+FFFD for what is no valid UTF-8
  template <class T>
  Statement& Bind(const std::optional<T>& value) {
    return value ? Bind(*value) : Bind(nullptr);
  }

  /// Whether there is a row more, which it moves to.
  [[nodiscard]] bool Step();

  /// Ready to run again, without values.
  void Reset();

  /// Runs it to its end with these values.
  template <class... Values>
  void Run(const Values&... values) {
    Reset();
    (Bind(values), ...);
    while (Step()) {
    }
    Reset();
  }

  // Columns of the row, from 0 on.
  [[nodiscard]] int Columns() const;
  [[nodiscard]] std::string NameOf(int column) const;
  [[nodiscard]] bool IsNull(int column) const;
  [[nodiscard]] bool IsNumber(int column) const;
  [[nodiscard]] bool IsReal(int column) const;
  [[nodiscard]] std::int64_t Integer(int column) const;
  [[nodiscard]] double Real(int column) const;
  [[nodiscard]] std::string Text(int column) const;
  /// The same, valid until the next Step or Reset.
  [[nodiscard]] std::string_view TextView(int column) const;

  /// Whether running it changes nothing.
  [[nodiscard]] bool IsReadOnly() const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };

  Statement() = default;

  /// Becomes the first statement of "sql"; none where there are only blanks and comments. Returns
  /// the rest.
  [[nodiscard]] std::string_view Compile(sqlite3* database, std::string_view sql);

  [[nodiscard]] sqlite3* Handle() const;
  void Require(int code) const;

  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int next_ = 1;
};

/// A file of SQLite.
class Database {
 public:
  enum class Access : std::uint8_t {
    Read,   ///< of what is there
    Write,  ///< the same, and makes it where it is missing
  };

  /// Throws a Failure where it cannot be opened; what is no database shows at the first statement.
  Database(const std::string& path, Access access);

  [[nodiscard]] Statement Prepare(std::string_view sql) const;

  /// Runs statements without results.
  void Execute(const std::string& sql) const;

  /// The same, for what may as well stay undone.
  void Try(const std::string& sql) const noexcept;

  /// The first column of the first row, if there is one.
  [[nodiscard]] std::optional<std::int64_t> Number(std::string_view sql) const;

  /// The row that was inserted last.
  [[nodiscard]] std::int64_t LastId() const;

  [[nodiscard]] sqlite3* Handle() const { return handle_.get(); }

 private:
  struct Close {
    void operator()(sqlite3* database) const;
  };

  std::unique_ptr<sqlite3, Close> handle_;
};

/// A transaction that ends with its owner: taken back, unless it was committed.
class Transaction {
 public:
  explicit Transaction(const Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  const Database* database_;
  bool isOpen_ = true;
};
