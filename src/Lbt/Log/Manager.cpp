// Hands records to the loggers.

#include "Lbt/Log/Manager.h"

namespace Lbt::Log {

Manager::Manager() {
  filters_.FindOrAdd(DefaultElem,
                     [] { return std::make_unique<LevelFilter<Util::LogRecord::kError>>(); });
  formatters_.FindOrAdd(DefaultElem, [] { return std::make_unique<DefaultFormatter>(); });
}

void Manager::Publish(const Util::LogRecord& record) {
  for (const Logger& logger : loggers_) {
    if (!(*filters_.list[logger.filter])(record)) {
      continue;
    }
    const std::string text = (*formatters_.list[logger.formatter])(record);
    Publisher& publisher = *publishers_.list[logger.publisher];
    publisher << text.c_str();
    publisher.flush();
  }
}

}  // namespace Lbt::Log
