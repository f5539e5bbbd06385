#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Lbt/Log/Parts.h"
#include "Lbt/Util/LogRecord.h"

namespace Lbt::Util {

/// Holds the one instance of T, made at the first call and never destroyed, so
/// that it can be used while other objects of static storage are torn down.
template <class T>
class SingletonHolder {
 public:
  /// The instance.
  [[nodiscard]] static T& getInstance() {
    if (mpInstance == nullptr) {
      mpInstance = new T;  // lives until the process ends, on purpose
    }
    return *mpInstance;
  }

 private:
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static inline T* mpInstance = nullptr;
};

}  // namespace Lbt::Util

namespace Lbt::Log {

/// Hands every log record to a list of loggers. A process has one, made at its
/// first use: Util::SingletonHolder<Manager>::getInstance(). Not for use from
/// several threads at once.
class Manager {
 public:
  /// The name of the filter (level 2000) and of the formatter that are always there.
  static constexpr const char* DefaultElem = "__Default__";

  /// Parts of one kind, owned, in the order in which they came, and by name.
  template <class Part>
  struct Parts {
    /// The index of the part called "name", made by "make" where there is none.
    template <class Make>
    std::size_t FindOrAdd(const std::string& name, Make make) {
      if (const auto found = indices.find(name); found != indices.end()) {
        return found->second;
      }
      list.push_back(make());  // first, so that no name stands for a part that failed to be made
      return indices.emplace(name, list.size() - 1).first->second;
    }

    std::vector<std::unique_ptr<Part>> list;
    std::map<std::string, std::size_t> indices;
  };

  /// One way for records: indices of its publisher, filter and formatter.
  struct Logger {
    std::size_t publisher;
    std::size_t filter;
    std::size_t formatter;
  };

  /// No logger yet; the default filter and formatter.
  Manager();

  /// Passes "record" through every logger, in the order in which they were added:
  /// where the filter lets it pass, its text goes to the publisher, which is then
  /// flushed.
  void Publish(const Util::LogRecord& record);

  /// Appends a logger of registered parts.
  void AddLogger(const Logger& logger) { loggers_.push_back(logger); }

  [[nodiscard]] Parts<Publisher>& Publishers() { return publishers_; }
  [[nodiscard]] Parts<Filter>& Filters() { return filters_; }
  [[nodiscard]] Parts<Formatter>& Formatters() { return formatters_; }
  [[nodiscard]] const std::vector<Logger>& Loggers() const { return loggers_; }

 private:
  std::deque<Util::LogRecord> queue_;  // publishing goes straight through
  std::vector<Logger> loggers_;
  Parts<Publisher> publishers_;
  Parts<Filter> filters_;
  Parts<Formatter> formatters_;
};

}  // namespace Lbt::Log
