// Fails and traces, and sets up where the trace goes.

#include "Lbt/Log/Raise.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <string>

#include "Lbt/Log/Manager.h"

namespace Lbt::Log {

namespace {

constexpr const char* kLogFile = "log file";

Manager& TheManager() { return Util::SingletonHolder<Manager>::getInstance(); }

/// A trace must not stop the work that it traces, least of all that of a destructor or of a
/// failure: where memory is too short to format the record, it is lost.
void Publish(Util::LogRecord record, const char* message) {
  record.AppendToMessage(message);
  try {
    TheManager().Publish(record);
  } catch (const std::bad_alloc&) {
    return;
  }
}

template <class Make>
void AddTraceLogger(const char* publisherName, Make makePublisher) {
  Manager& manager = TheManager();
  const std::size_t publisher = manager.Publishers().FindOrAdd(publisherName, makePublisher);
  const std::size_t filter = manager.Filters().FindOrAdd(
      "trace log", [] { return std::make_unique<LevelFilter<Util::LogRecord::kProgress>>(); });
  const std::size_t formatter = manager.Formatters().FindOrAdd(
      Manager::DefaultElem, [] { return std::make_unique<DefaultFormatter>(); });
  manager.AddLogger({publisher, filter, formatter});
}

}  // namespace

void LogFailure(const char* description, const char* file, unsigned long line, const char* method) {
  Publish(Util::LogRecord(Util::LogRecord::kError, file, line, method), description);
}

void Raise(Util::Exception::ErrorType type, const char* description, const char* file,
           unsigned long line, const char* method) {
  LogFailure(description, file, line, method);
  throw Util::Exception(type, description, file, line, method);
}

void Trace(const char* message, const char* file, unsigned long line) {
  Publish(Util::LogRecord(Util::LogRecord::kProgress, file, line), message);
}

void LogTraceToFile(const char* path) {
  AddTraceLogger(kLogFile, [path] { return std::make_unique<FilePublisher>(path); });
}

void LogTraceToNull() {
  AddTraceLogger("log to null", [] { return std::make_unique<NullPublisher>(); });
}

void LogTraceToConsole() {
  AddTraceLogger("log to console", [] { return std::make_unique<StreamPublisher>(std::cerr); });
}

bool IsTracedToFile() {
  const auto& publishers = TheManager().Publishers().indices;
  const auto file = publishers.find(kLogFile);
  return file != publishers.end() &&
         std::ranges::any_of(TheManager().Loggers(), [&file](const Manager::Logger& logger) {
           return logger.publisher == file->second;
         });
}

bool IsLogFile(const Util::FileIdentity& file) {
  return std::ranges::any_of(TheManager().Publishers().list, [&file](const auto& publisher) {
    return publisher->Identity() == file;
  });
}

}  // namespace Lbt::Log

namespace {

std::string LogDirectory() {
  const char* named = std::getenv("QUARLO_TEMP_PATH");
  std::string directory = named == nullptr || *named == '\0' ? "/tmp" : named;
  directory += '/';
  return directory;
}

}  // namespace

void SetLogFile() {
  const std::string directory = LogDirectory();
  if (access(directory.c_str(), W_OK) != 0) {
    // The two sentences stand together and "discorded" is what people search for.
    std::cerr << "Unable to set log file."
              << "Log information will be discorded." << std::endl;
    Lbt::Log::LogTraceToNull();
    return;
  }
  const std::string path = directory + "TevInfo_trace.log";
  // In one piece, so that runs at the same time do not mix theirs.
  std::cerr << "Writing log to \"" + path + "\"\n" << std::flush;
  // Another logger would write each record to the same file once more.
  if (!Lbt::Log::IsTracedToFile()) {
    Lbt::Log::LogTraceToFile(path.c_str());
  }
}
