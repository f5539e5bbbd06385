#pragma once

#include <string>

#include "Lbt/Util/LogRecord.h"

namespace Lbt::Log {

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

}  // namespace Lbt::Log
