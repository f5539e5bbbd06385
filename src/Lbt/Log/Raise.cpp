#include "Lbt/Log/Raise.h"

#include "Lbt/Log/Manager.h"

namespace Lbt::Log {

void Raise(Util::Exception::ErrorType type, const char* description, const char* file,
           unsigned long line, const char* method) {
  Util::LogRecord record(Util::LogRecord::kError, file, line, method);
  record.AppendToMessage(description);
  Util::SingletonHolder<Manager>::getInstance().Publish(record);
  throw Util::Exception(type, description, file, line, method);
}

}  // namespace Lbt::Log
