#pragma once

#include <cstdint>

#include "Lbt/Util/LogRecord.h"

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

}  // namespace Lbt::Log
