// The trace log of a call as text.

#include "TraceText.h"

#include <memory>
#include <sstream>

#include "Lbt/Log/Manager.h"

namespace tevtest {
namespace {

using Lbt::Log::Manager;

/// Lives as long as the manager's publisher that writes to it.
std::ostringstream& Stream() {
  static std::ostringstream stream;
  return stream;
}

bool AddLogger() {
  Manager& manager = Lbt::Util::SingletonHolder<Manager>::getInstance();
  const auto publisher = manager.Publishers().FindOrAdd(
      "test", [] { return std::make_unique<Lbt::Log::StreamPublisher>(Stream()); });
  const auto filter = manager.Filters().FindOrAdd(
      "test", [] { return std::make_unique<Lbt::Log::LevelFilter<1000>>(); });
  const auto formatter = manager.Formatters().FindOrAdd(
      "test", [] { return std::make_unique<Lbt::Log::DefaultFormatter>(); });
  manager.AddLogger({publisher, filter, formatter});
  return true;
}

}  // namespace

TraceText::TraceText() {
  static const bool isAdded = AddLogger();
  static_cast<void>(isAdded);
  Stream().str("");
}

std::string TraceText::Lines() const { return Stream().str(); }

}  // namespace tevtest
