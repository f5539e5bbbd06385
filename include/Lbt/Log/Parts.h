#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "Lbt/Util/FileAccess.h"
#include "Lbt/Util/LogRecord.h"
#include "Lbt/Util/OutputStream.h"

/// What a logger is made of: a filter, a formatter and a publisher.
namespace Lbt::Log {

/// Decides whether a record passes.
class Filter {
 public:
  Filter() = default;
  virtual ~Filter() = default;
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  [[nodiscard]] virtual bool operator()(const Util::LogRecord& record) = 0;
};

/// Passes the records of level N and above.
template <std::uint16_t N>
class LevelFilter final : public Filter {
 public:
  [[nodiscard]] bool operator()(const Util::LogRecord& record) override {
    return record.level >= N;
  }
};

/// Turns a record into text.
class Formatter {
 public:
  Formatter() = default;
  virtual ~Formatter() = default;
  Formatter(const Formatter&) = delete;
  Formatter& operator=(const Formatter&) = delete;

  [[nodiscard]] virtual std::string operator()(const Util::LogRecord& record) = 0;
};

/// One line a record: base name of its source file, " : ", its line, " @ ", its
/// message. Throws std::out_of_range for a source file without any "/" or
/// backslash; every caller passes a whole path.
class DefaultFormatter final : public Formatter {
 public:
  [[nodiscard]] std::string operator()(const Util::LogRecord& record) override;
};

/// Takes the text of records to where it is kept.
class Publisher {
 public:
  Publisher() = default;
  virtual ~Publisher() = default;
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  virtual Publisher& operator<<(const char* text) = 0;
  virtual void flush() = 0;

  /// The file that it writes to; none where it writes to none of its own.
  [[nodiscard]] virtual std::optional<Util::FileIdentity> Identity() const { return std::nullopt; }
};

/// Keeps nothing.
class NullPublisher final : public Publisher {
 public:
  NullPublisher& operator<<(const char* /*text*/) override { return *this; }
  void flush() override {}
};

/// Writes to a stream that outlives it.
class StreamPublisher : public Publisher {
 public:
  explicit StreamPublisher(std::ostream& stream) : stream_(&stream) {}

  StreamPublisher& operator<<(const char* text) override;
  void flush() override;

 private:
  std::ostream* stream_;
};

namespace Detail {

/// The file of a FilePublisher: a base class, so that it is there before the
/// publisher that refers to it.
struct LogFile {
  explicit LogFile(const std::string& path) : LogFile(Util::OpenLog(path).value_or(-1)) {}
  explicit LogFile(int descriptor);

  std::optional<Util::FileIdentity> identity;
  Util::DescriptorStream file;
};

}  // namespace Detail

/// Writes to a file of its own, emptied at the start. Where the file cannot be
/// opened (see Util::OpenLog for what is refused) records are lost silently: a
/// trace must never stop the work that it traces.
class FilePublisher final : private Detail::LogFile, public StreamPublisher {
 public:
  explicit FilePublisher(const std::string& path) : LogFile(path), StreamPublisher(file) {}

  [[nodiscard]] std::optional<Util::FileIdentity> Identity() const override { return identity; }
};

}  // namespace Lbt::Log
