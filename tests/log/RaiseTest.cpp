// The one way to fail: a record in the log, then the exception.

#include <gtest/gtest.h>

#include <iostream>
#include <new>

#include "Lbt/Log/Manager.h"
#include "Lbt/Log/Raise.h"
#include "support/Mask.h"
#include "support/Process.h"

namespace {

using Lbt::Log::LevelFilter;
using Lbt::Log::Manager;
using Lbt::Log::Raise;
using Lbt::Util::Exception;
using Lbt::Util::SingletonHolder;
using ErrorType = Exception::ErrorType;

/// Keeps what DefaultFormatter leaves out.
class WholeRecord final : public Lbt::Log::Formatter {
 public:
  std::string operator()(const Lbt::Util::LogRecord& record) override {
    return std::to_string(record.level) + "|" + record.file + "|" + std::to_string(record.line) +
           "|" + record.method + "|" + record.message + "\n";
  }
};

/// Adds a logger of all records to the manager of this process. For children only: it stays.
template <class Publisher, class... Arguments>
void LogAllTo(Arguments&&... arguments) {
  Manager& manager = SingletonHolder<Manager>::getInstance();
  manager.AddLogger(
      {manager.Publishers().FindOrAdd("test",
                                      [&] { return std::make_unique<Publisher>(arguments...); }),
       manager.Filters().FindOrAdd("test", [] { return std::make_unique<LevelFilter<0>>(); }),
       manager.Formatters().FindOrAdd("test", [] { return std::make_unique<WholeRecord>(); })});
}

/// What a child logs that calls "raise", followed by the text of the exception.
std::string LogAndText(void (*raise)()) {
  const auto result = tevtest::RunForked([raise] {
    LogAllTo<Lbt::Log::StreamPublisher>(std::cout);
    try {
      raise();
    } catch (const Exception& exception) {
      std::cout << exception.what() << std::flush;
      return static_cast<int>(exception.GetType());
    }
    return 255;
  });
  EXPECT_EQ(result.status, static_cast<int>(ErrorType::OutOfBounds));
  return tevtest::MaskException(result.output, tevtest::LineNumber::Kept);
}

TEST(Raise, Failure_IsLoggedAtLevel2000AndThrownWithTheSameTextPlaceAndMethod) {
  EXPECT_EQ(
      LogAndText([] { Raise(ErrorType::OutOfBounds, "text", "include/Lbt/A", 12, "Get"); }),
      "2000|include/Lbt/A|12|Get|text\n" + [] {
        std::string text =
            tevtest::ExpectedException("Out of Bounds", "text", "include/Lbt/A", "12");
        return text.replace(text.find("<unknown>"), 9, "Get");
      }());
}

TEST(Raise, WithoutAMethod_SaysUnknown) {
  EXPECT_EQ(LogAndText([] { Raise(ErrorType::OutOfBounds, "text", "include/Lbt/A", 12); }),
            "2000|include/Lbt/A|12|<unknown>|text\n" +
                tevtest::ExpectedException("Out of Bounds", "text", "include/Lbt/A", "12"));
}

TEST(Raise, WithoutALine_TakesThatOfTheCall) {
  static constexpr unsigned long kLine = __LINE__ + 1;
  const std::string text = LogAndText([] { Raise(ErrorType::OutOfBounds, "text", "a/b"); });
  EXPECT_EQ(text,
            "2000|a/b|" + std::to_string(kLine) + "|<unknown>|text\n" +
                tevtest::ExpectedException("Out of Bounds", "text", "a/b", std::to_string(kLine)));
}

TEST(Raise, LongText_IsCutAlikeInLogAndException) {
  const auto result = tevtest::RunForked([] {
    LogAllTo<Lbt::Log::StreamPublisher>(std::cout);
    try {
      Raise(ErrorType::OutOfBounds, std::string(6000, 'x').c_str(), "a/b", 1);
    } catch (const Exception& exception) {
      std::cout << exception.GetLogMessage() << std::flush;
    }
    return 0;
  });
  const std::string cut(5120, 'x');
  EXPECT_EQ(result.output, "2000|a/b|1|<unknown>|" + cut + "\n" + cut);
}

TEST(Raise, WithoutALogger_ThrowsAllTheSame) {
  const auto result = tevtest::RunForked([] {
    try {
      Raise(ErrorType::OutOfBounds, "text", "a/b", 1);
    } catch (const Exception&) {
      return 7;
    }
    return 0;
  });
  EXPECT_EQ(result.status, 7);
  EXPECT_EQ(result.output + result.error, "");
}

/// Has no memory for what it is told.
class ExhaustedPublisher final : public Lbt::Log::Publisher {
 public:
  ExhaustedPublisher& operator<<(const char* /*text*/) override { throw std::bad_alloc(); }
  void flush() override {}
};

TEST(Raise, MemoryTooShortToLog_StillThrowsTheFailure) {
  const auto result = tevtest::RunForked([] {
    LogAllTo<ExhaustedPublisher>();
    try {
      Raise(ErrorType::MemoryAllocationError, "text", "a/b", 1);
    } catch (const Exception& exception) {
      std::cout << exception.GetLogMessage() << std::flush;
    } catch (const std::bad_alloc&) {
      std::cout << "bad_alloc" << std::flush;
    }
    return 0;
  });
  EXPECT_EQ(result.output, "text");
}

}  // namespace
