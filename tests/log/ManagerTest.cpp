// The manager of loggers hands records to publishers.

#include <gtest/gtest.h>

#include <new>

#include "Lbt/Log/Manager.h"
#include "log/Recording.h"

namespace {

using Lbt::Log::LevelFilter;
using Lbt::Log::Manager;
using Lbt::Util::LogRecord;
using tevtest::Recording;

LogRecord Record(std::uint16_t level, const char* message) {
  LogRecord record(level, "a/b", 7);
  record.AppendToMessage(message);
  return record;
}

/// A manager with loggers that write down what they are told.
class ManagerWithLoggers : public testing::Test {
 protected:
  template <std::uint16_t Level>
  void AddLogger(const std::string& name) {
    const auto publisher = manager_.Publishers().FindOrAdd(
        name, [&] { return std::make_unique<Recording>(name, calls_); });
    const auto filter =
        manager_.Filters().FindOrAdd(name, [] { return std::make_unique<LevelFilter<Level>>(); });
    manager_.AddLogger({publisher, filter, manager_.Formatters().indices.at("__Default__")});
  }

  std::string calls_;
  Manager manager_;
};

TEST(Manager, New_HasNoLoggerAndTheDefaultFilterAndFormatter) {
  Manager manager;
  EXPECT_STREQ(Manager::DefaultElem, "__Default__");
  EXPECT_TRUE(manager.Loggers().empty());
  EXPECT_TRUE(manager.Publishers().list.empty());
  ASSERT_EQ(manager.Filters().list.size(), 1U);
  ASSERT_EQ(manager.Formatters().list.size(), 1U);
  EXPECT_EQ(manager.Filters().indices.at("__Default__"), 0U);
  EXPECT_EQ(manager.Formatters().indices.at("__Default__"), 0U);
}

TEST(Manager, DefaultFilter_PassesErrorsOnly) {
  Manager manager;
  Lbt::Log::Filter& filter = *manager.Filters().list[0];
  EXPECT_FALSE(filter(Record(1999, "")));
  EXPECT_TRUE(filter(Record(2000, "")));
}

TEST(Manager, DefaultFormatter_WritesALine) {
  Manager manager;
  EXPECT_EQ((*manager.Formatters().list[0])(Record(2000, "text")), "b : 7 @ text\n");
}

TEST_F(ManagerWithLoggers, Publish_WithoutALogger_DoesNothing) {
  EXPECT_NO_THROW(manager_.Publish(Record(2000, "text")));
  // The formatter would throw for this one.
  EXPECT_NO_THROW(manager_.Publish(LogRecord(2000, "no separator", 1)));
}

TEST_F(ManagerWithLoggers, Publish_HandsOneTextToThePublisherAndFlushesIt) {
  AddLogger<1000>("A");
  manager_.Publish(Record(1000, "text"));
  EXPECT_EQ(calls_, "<A:b : 7 @ text\n><A!>");
}

TEST_F(ManagerWithLoggers, Publish_GoesThroughTheLoggersInTheirOrder) {
  AddLogger<1000>("B");
  AddLogger<1000>("A");
  manager_.Publish(Record(2000, "x"));
  manager_.Publish(Record(1000, "y"));
  EXPECT_EQ(calls_,
            "<B:b : 7 @ x\n><B!><A:b : 7 @ x\n><A!>"
            "<B:b : 7 @ y\n><B!><A:b : 7 @ y\n><A!>");
}

TEST_F(ManagerWithLoggers, Publish_FilterThatRefuses_ConcernsItsLoggerOnly) {
  AddLogger<2000>("errors");
  AddLogger<1000>("all");
  manager_.Publish(Record(1999, "x"));
  EXPECT_EQ(calls_, "<all:b : 7 @ x\n><all!>");
}

TEST_F(ManagerWithLoggers, Publish_RefusedRecord_IsNotFormatted) {
  AddLogger<1000>("A");
  EXPECT_NO_THROW(manager_.Publish(LogRecord(999, "no separator", 1)));
  EXPECT_EQ(calls_, "");
}

TEST_F(ManagerWithLoggers, Publish_PartsSharedByTwoLoggers_AreUsedTwice) {
  AddLogger<1000>("A");
  AddLogger<1000>("A");
  manager_.Publish(Record(1000, "x"));
  EXPECT_EQ(manager_.Publishers().list.size(), 1U);
  EXPECT_EQ(calls_, "<A:b : 7 @ x\n><A!><A:b : 7 @ x\n><A!>");
}

TEST(ManagerParts, FindOrAdd_NewName_MakesThePartAtTheEnd) {
  Manager::Parts<int> parts;
  EXPECT_EQ(parts.FindOrAdd("z", [] { return std::make_unique<int>(1); }), 0U);
  EXPECT_EQ(parts.FindOrAdd("a", [] { return std::make_unique<int>(2); }), 1U);
  EXPECT_EQ(*parts.list[0], 1);
  EXPECT_EQ(*parts.list[1], 2);
}

TEST(ManagerParts, FindOrAdd_KnownName_MakesNothing) {
  Manager::Parts<int> parts;
  parts.FindOrAdd("a", [] { return std::make_unique<int>(1); });
  bool isMade = false;
  EXPECT_EQ(parts.FindOrAdd("a",
                            [&] {
                              isMade = true;
                              return std::make_unique<int>(2);
                            }),
            0U);
  EXPECT_FALSE(isMade);
  EXPECT_EQ(parts.list.size(), 1U);
}

TEST(ManagerParts, FindOrAdd_PartThatCannotBeMade_LeavesItsNameFree) {
  Manager::Parts<int> parts;
  const auto fail = []() -> std::unique_ptr<int> { throw std::bad_alloc(); };
  EXPECT_THROW(parts.FindOrAdd("a", fail), std::bad_alloc);
  EXPECT_TRUE(parts.indices.empty());
  const std::size_t index = parts.FindOrAdd("a", [] { return std::make_unique<int>(3); });
  ASSERT_LT(index, parts.list.size());
  EXPECT_EQ(*parts.list[index], 3);
}

}  // namespace
