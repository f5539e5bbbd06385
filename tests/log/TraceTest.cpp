// Records of progress.

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <string>

#include "Lbt/Log/Manager.h"
#include "Lbt/Log/Raise.h"
#include "support/Process.h"
#include "support/TempDir.h"

// The manager lives as long as its process: each case has one of its own, in a child.

namespace {

using Lbt::Log::Manager;
using Lbt::Util::LogRecord;
using tevtest::RunForked;
using tevtest::TempDir;

Manager& TheManager() { return Lbt::Util::SingletonHolder<Manager>::getInstance(); }

void Publish(std::uint16_t level, const char* message) {
  LogRecord record(level, "a/b", 7);
  record.AppendToMessage(message);
  TheManager().Publish(record);
}

/// The names under which parts are registered, each followed by its index.
template <class Part>
std::string Names(const Manager::Parts<Part>& parts) {
  std::string names;
  for (const auto& [name, index] : parts.indices) {
    names += name + " " + std::to_string(index) + "; ";
  }
  return names;
}

/// What the manager holds, in words.
std::string Registered() {
  std::string text = "publishers: " + Names(TheManager().Publishers()) +
                     "filters: " + Names(TheManager().Filters()) +
                     "formatters: " + Names(TheManager().Formatters()) + "loggers: ";
  for (const Manager::Logger& logger : TheManager().Loggers()) {
    text += std::to_string(logger.publisher) + std::to_string(logger.filter) +
            std::to_string(logger.formatter) + "; ";
  }
  return text;
}

/// What "body" leaves registered in a process of its own.
std::string RegisteredBy(const std::function<void()>& body) {
  const auto result = RunForked([&body] {
    body();
    std::cout << Registered() << std::flush;
    return 0;
  });
  EXPECT_EQ(result.status, 0);
  return result.output;
}

TEST(LogTrace, Manager_IsMadeOnceWithItsDefaults) {
  EXPECT_EQ(RegisteredBy([] { static_cast<void>(TheManager()); }),
            "publishers: filters: __Default__ 0; formatters: __Default__ 0; loggers: ");
}

TEST(LogTrace, ToFile_RegistersItsParts) {
  const TempDir directory;
  EXPECT_EQ(RegisteredBy([&] { Lbt::Log::LogTraceToFile((directory / "log").c_str()); }),
            "publishers: log file 0; filters: __Default__ 0; trace log 1; "
            "formatters: __Default__ 0; loggers: 010; ");
}

TEST(LogTrace, ToNull_RegistersItsParts) {
  EXPECT_EQ(RegisteredBy(Lbt::Log::LogTraceToNull),
            "publishers: log to null 0; filters: __Default__ 0; trace log 1; "
            "formatters: __Default__ 0; loggers: 010; ");
}

TEST(LogTrace, ToConsole_RegistersItsParts) {
  EXPECT_EQ(RegisteredBy(Lbt::Log::LogTraceToConsole),
            "publishers: log to console 0; filters: __Default__ 0; trace log 1; "
            "formatters: __Default__ 0; loggers: 010; ");
}

TEST(LogTrace, EachCall_AddsALoggerAndSharesWhatIsThere) {
  EXPECT_EQ(RegisteredBy([] {
              Lbt::Log::LogTraceToNull();
              Lbt::Log::LogTraceToConsole();
              Lbt::Log::LogTraceToNull();
            }),
            "publishers: log to console 1; log to null 0; filters: __Default__ 0; trace log 1; "
            "formatters: __Default__ 0; loggers: 010; 110; 010; ");
}

TEST(LogTrace, ToFile_TakesProgressAndErrorsAtOnce) {
  const TempDir directory;
  const auto result = RunForked([&] {
    Lbt::Log::LogTraceToFile((directory / "log").c_str());
    Publish(999, "below");
    Publish(1000, "progress");
    const bool isThere = directory.Read("log") == "b : 7 @ progress\n";
    Publish(2000, "error");
    return isThere ? 0 : 1;
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(directory.Read("log"), "b : 7 @ progress\nb : 7 @ error\n");
}

TEST(LogTrace, ToFile_ASecondPath_KeepsWritingToTheFirst) {
  const TempDir directory;
  const auto result = RunForked([&] {
    Lbt::Log::LogTraceToFile((directory / "first").c_str());
    Publish(1000, "once");
    Lbt::Log::LogTraceToFile((directory / "second").c_str());
    Publish(1000, "twice");
    return 0;
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(directory.Read("first"), "b : 7 @ once\nb : 7 @ twice\nb : 7 @ twice\n");
  EXPECT_FALSE(directory.Has("second"));
}

TEST(LogTrace, ToConsole_GoesToStandardError) {
  const auto result = RunForked([] {
    Lbt::Log::LogTraceToConsole();
    Publish(999, "below");
    Publish(1000, "text");
    return 0;
  });
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, "b : 7 @ text\n");
}

TEST(LogTrace, ToNull_GoesNowhere) {
  const auto result = RunForked([] {
    Lbt::Log::LogTraceToNull();
    Publish(2000, "text");
    return 0;
  });
  EXPECT_EQ(result.output + result.error, "");
}

TEST(Trace, Message_IsAProgressRecordOfItsPlace) {
  constexpr unsigned long kLine = __LINE__ + 3;
  const auto result = RunForked([] {
    Lbt::Log::LogTraceToConsole();
    Lbt::Log::Trace("here", "include/Lbt/Lbf/LbFile");
    Lbt::Log::Trace("there", "include/Lbt/Lbf/Index", 12);
    return 0;
  });
  EXPECT_EQ(result.error, "LbFile : " + std::to_string(kLine) + " @ here\nIndex : 12 @ there\n");
}

TEST(Trace, Message_DoesNotPassTheFilterOfErrors) {
  const auto result = RunForked([] {
    Lbt::Log::LogTraceToConsole();
    const Manager::Logger trace = TheManager().Loggers().front();
    const std::size_t errors = TheManager().Filters().indices.at(Manager::DefaultElem);
    TheManager().AddLogger({trace.publisher, errors, trace.formatter});
    Lbt::Log::Trace("progress", "a/b", 1);
    Publish(2000, "error");
    return 0;
  });
  EXPECT_EQ(result.error, "b : 1 @ progress\nb : 7 @ error\nb : 7 @ error\n");
}

}  // namespace
