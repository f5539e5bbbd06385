#include "Lbt/Log/Raise.h"

#include <new>

#include "Lbt/Log/Manager.h"

namespace Lbt::Log {

void Raise(Util::Exception::ErrorType type, const char* description, const char* file,
           unsigned long line, const char* method) {
  Util::LogRecord record(Util::LogRecord::kError, file, line, method);
  record.AppendToMessage(description);
  try {
    Util::SingletonHolder<Manager>::getInstance().Publish(record);
  } catch (const std::bad_alloc&) {
    // Where memory is too short to format the record, the failure counts, not its trace.
  }
  throw Util::Exception(type, description, file, line, method);
}

}  // namespace Lbt::Log
