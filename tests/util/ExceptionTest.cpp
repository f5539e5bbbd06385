// What an exception carries and says.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <type_traits>

#include "Lbt/Util/Exception.h"
#include "support/Mask.h"
#include "support/Process.h"

namespace {

using Lbt::Util::Exception;
using ErrorType = Lbt::Util::Exception::ErrorType;

constexpr const char* kFile = "include/Lbt/Tev/Tree";

Exception Made(ErrorType type, const char* description) {
  return {type, description, kFile, 729, "<unknown>"};
}

struct Category {
  ErrorType type;
  std::uint32_t value;
  const char* name;
};

constexpr auto kCategories = std::to_array<Category>({
    {ErrorType::MemoryAllocationError, 0, "Memory Allocation Error"},
    {ErrorType::OutOfBounds, 1, "Out of Bounds"},
    {ErrorType::UnknownVersion, 2, "Unknown Version"},
    {ErrorType::NotInitialized, 3, "Not Initialized"},
    {ErrorType::ElementExists, 4, "Element Exists"},
    {ErrorType::ElementNotFound, 5, "Element Not Found"},
    {ErrorType::InvalidMethod, 6, "Invalid Method"},
    {ErrorType::InvalidEnumeration, 7, "Invalid Enumeration"},
    {ErrorType::InvalidObject, 8, "Invalid Object"},
    {ErrorType::ReadError, 9, "Read Error"},
    {ErrorType::WriteError, 10, "Write Error"},
    {ErrorType::FormatNotSupported, 11, "Format Not Supported"},
    {ErrorType::BadCasting, 12, "Bad Casting"},
    {ErrorType::NotImplemented, 13, "Not Implemented"},
    {ErrorType::MismatchError, 14, "Mis-match Error"},
    {ErrorType::SystemError, 15, "System Error"},
    {ErrorType::MiscelleneousError, 16, "Miscelleneous Error"},
    {ErrorType::ZeroLength, 17, "Zero Length"},
    {ErrorType::ModelError, 18, "Model Error"},
    {ErrorType::StateError, 19, "State Error"},
    {ErrorType::InvalidException, 21, "Invalid Exception"},
});

// It has to be made where memory is exhausted: both texts stand in the object, and making, copying
// and throwing it cannot fail.
static_assert(std::is_base_of_v<std::exception, Exception>);
static_assert(sizeof(ErrorType) == 4);
static_assert(sizeof(Exception) >= 5120 + 5632);
static_assert(std::is_nothrow_constructible_v<Exception, ErrorType, const char*, const char*,
                                              unsigned long, const char*>);
static_assert(std::is_nothrow_copy_constructible_v<Exception>);

TEST(Exception, ErrorTypes_HaveTheirFixedValuesAndNames) {
  for (const Category& category : kCategories) {
    EXPECT_EQ(static_cast<std::uint32_t>(category.type), category.value) << category.name;
    EXPECT_STREQ(Exception::GetDescription(category.type), category.name);
  }
}

TEST(Exception, ErrorTypeWithoutAName_HasAnEmptyOne) {
  for (const std::uint32_t value : {20U, 22U, 4294967295U}) {
    EXPECT_STREQ(Exception::GetDescription(static_cast<ErrorType>(value)), "") << value;
  }
}

TEST(Exception, WhatItCarries_IsOffered) {
  const std::time_t before = std::time(nullptr);
  const Exception exception(ErrorType::ReadError, "x", kFile, 18446744073709551615UL, "Load");
  const std::time_t after = std::time(nullptr);
  EXPECT_STREQ(exception.GetFile(), kFile);
  EXPECT_EQ(exception.GetLine(), 18446744073709551615UL);
  EXPECT_STREQ(exception.GetMethod(), "Load");
  EXPECT_GE(exception.GetTime(), before);
  EXPECT_LE(exception.GetTime(), after);
  EXPECT_EQ(exception.GetLevel(), 2000);
}

TEST(Exception, What_OfEveryType_NamesIt) {
  for (const Category& category : kCategories) {
    const Exception exception = Made(category.type, "x");
    EXPECT_EQ(exception.GetType(), category.type);
    EXPECT_EQ(tevtest::MaskException(exception.what(), tevtest::LineNumber::Kept),
              tevtest::ExpectedException(category.name, "x", kFile, "729"));
  }
}

TEST(Exception, What_HasSixLinesThatEndWithABlankAndThenTheTimesOwnLineEnd) {
  const std::string text = Made(ErrorType::FormatNotSupported, "x").what();
  const std::string untilTime =
      "Exception \"Format Not Supported\" raised. \n"
      "Description : x \n"
      "       File : include/Lbt/Tev/Tree \n"
      "       Line : 729 \n"
      "     Method : <unknown> \n"
      "       Time : ";
  ASSERT_EQ(text.substr(0, untilTime.size()), untilTime);
  const std::string time = text.substr(untilTime.size());
  ASSERT_EQ(time.size(), 24U + 3U);
  EXPECT_EQ(time.substr(24), "\n \n");
}

TEST(Exception, What_ShowsTheGivenMethodAndTheLargestLine) {
  const Exception exception(ErrorType::OutOfBounds, "y", "a/b", 18446744073709551615UL, "Get");
  EXPECT_NE(std::strstr(exception.what(), "       Line : 18446744073709551615 \n"), nullptr);
  EXPECT_NE(std::strstr(exception.what(), "     Method : Get \n"), nullptr);
}

/// Ends with 0 if an exception made now shows the local time as ctime writes it.
int CompareWithTheClock() {
  tzset();
  const std::time_t before = std::time(nullptr);
  const std::string text = Made(ErrorType::ReadError, "x").what();
  const std::time_t after = std::time(nullptr);
  for (std::time_t time = before; time <= after; ++time) {
    if (text.ends_with(std::string("Time : ") + std::ctime(&time) + " \n")) {
      return 0;
    }
  }
  return 1;
}

TEST(Exception, What_ShowsTheLocalTime) {
  for (const char* zone : {"UTC0", "XXX-13", "XXX+11"}) {
    const auto result = tevtest::RunForked(CompareWithTheClock, {.environment = {{"TZ", zone}}});
    EXPECT_EQ(result.status, 0) << zone;
  }
}

TEST(Exception, GetLogMessage_IsTheBareDescription) {
  EXPECT_STREQ(Made(ErrorType::FormatNotSupported, "x").GetLogMessage(), "x");
  EXPECT_STREQ(Made(ErrorType::FormatNotSupported, "").GetLogMessage(), "");
}

TEST(Exception, GetLevel_IsAlwaysThatOfErrors) {
  for (const Category& category : kCategories) {
    EXPECT_EQ(Made(category.type, "x").GetLevel(), 2000) << category.name;
  }
}

TEST(Exception, LongDescription_IsCutAt5120Characters) {
  for (const std::size_t length : {5119U, 5120U, 5121U, 6000U}) {
    const std::string description(length, 'd');
    const Exception exception = Made(ErrorType::ReadError, description.c_str());
    EXPECT_EQ(exception.GetLogMessage(), description.substr(0, 5120)) << length;
  }
}

TEST(Exception, What_OfALongDescription_HasAllOfItAndTheFrame) {
  const Exception exception = Made(ErrorType::ReadError, std::string(6000, 'd').c_str());
  EXPECT_EQ(tevtest::MaskException(exception.what(), tevtest::LineNumber::Kept),
            tevtest::ExpectedException("Read Error", std::string(5120, 'd'), kFile, "729"));
}

TEST(Exception, What_ThatWouldBeTooLong_IsCutAt5631Characters) {
  const std::string description(5120, 'd');
  const std::string file(1000, 'f');
  const Exception exception(ErrorType::ReadError, description.c_str(), file.c_str(), 1, "m");
  const std::string whole = "Exception \"Read Error\" raised. \nDescription : " + description +
                            " \n       File : " + file;
  EXPECT_EQ(exception.what(), whole.substr(0, 5631));
}

TEST(Exception, Description_IsCopied) {
  std::array<char, 4> description{'o', 'n', 'e', '\0'};
  const Exception exception = Made(ErrorType::ReadError, description.data());
  description = {'t', 'w', 'o', '\0'};
  EXPECT_STREQ(exception.GetLogMessage(), "one");
  EXPECT_NE(std::strstr(exception.what(), "Description : one \n"), nullptr);
}

TEST(Exception, ThrownByValue_IsCaughtAsStdExceptionWithItsText) {
  const Exception original = Made(ErrorType::BadCasting, "thrown");
  std::string caught;
  try {
    throw Exception(original);
  } catch (const std::exception& exception) {
    caught = exception.what();
  }
  EXPECT_EQ(caught, original.what());
}

}  // namespace
