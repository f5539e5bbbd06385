#pragma once

#include <ostream>
#include <string>

#include "Lbt/Util/OutputStream.h"

namespace Lbt::Log {

/// Takes the text of records to where it is kept.
class Publisher {
 public:
  Publisher() = default;
  virtual ~Publisher() = default;
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  virtual Publisher& operator<<(const char* text) = 0;
  virtual void flush() = 0;
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
  explicit LogFile(const std::string& path);

  Util::DescriptorStream file;
};

}  // namespace Detail

/// Writes to a file of its own, emptied at the start. Where the file cannot be
/// opened (see Util::OpenLog for what is refused) records are lost silently: a
/// trace must never stop the work that it traces.
class FilePublisher final : private Detail::LogFile, public StreamPublisher {
 public:
  explicit FilePublisher(const std::string& path) : LogFile(path), StreamPublisher(file) {}
};

}  // namespace Lbt::Log
