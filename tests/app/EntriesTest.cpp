// Entries of verbs for who asks in this process.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/SmallModel.h"
#include "support/TempDir.h"
#include "tev/Entries.h"
#include "tev/FileFailure.h"

namespace {

class Entries : public testing::Test {
 protected:
  Json Check(const std::string& path) {
    const NamedInput input(path);
    return Json::parse(
        EntryOf("check", path, [&](AnswerWriter& writer) { AnswerCheck(input.Get(), writer); }));
  }

  const tevtest::TempDir directory_;
};

TEST_F(Entries, OfASoundModel_HasItsVerdict) {
  const std::string path = directory_.Write("model.tev", tevtest::SmallModel().Build());
  const Json entry = Check(path);
  EXPECT_EQ(entry["format"], "tev.check/1");
  EXPECT_EQ(entry["file"], path);
  EXPECT_EQ(entry["failure"], nullptr);
  EXPECT_EQ(entry["verdict"], "ok");
}

TEST_F(Entries, OfADamagedModel_AreToldToNobodyElse) {
  const std::string bytes = tevtest::SmallModel().Build();
  const std::string path = directory_.Write("model.tev", bytes.substr(0, bytes.size() - 9));
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const Json entry = Check(path);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(entry["failure"]["code"], "damaged");
  EXPECT_EQ(entry["verdict"], "damaged");
}

TEST_F(Entries, OfADiff_TakeTolerancesAsText) {
  const std::string path = directory_.Write("model.tev", tevtest::SmallModel().Build());
  const NamedInput a(path);
  const NamedInput b(path);
  const auto diff = [&](const std::string& relative) {
    return EntryOf("diff", path, [&](AnswerWriter& writer) {
      AnswerDiff(a.Get(), b.Get(), relative, "1e-6*max", writer);
    });
  };
  EXPECT_EQ(Json::parse(diff("0.5"))["verdict"], "same");
  EXPECT_THROW(static_cast<void>(diff("-1")), UsageError);
}

TEST_F(Entries, WhatIsThrown_IsTheFailureOfTheFile) {
  const Json entry = Json::parse(EntryOf("info", "a", [](AnswerWriter& writer) {
    writer.Facts().Member("bytes", 1);
    throw Failure(FailureCode::IoError, "the disk");
  }));
  EXPECT_EQ(entry["failure"]["code"], "io-error");
  EXPECT_EQ(entry["failure"]["message"], "the disk");
  EXPECT_FALSE(entry.contains("bytes"));
}

TEST_F(Entries, ANameThatMeansStandardInputElsewhere_IsThatOfAFile) {
  const NamedInput input("-");
  ASSERT_TRUE(input.Get().failure);
  EXPECT_EQ(input.Get().failure->Code(), FailureCode::NotFound);
  EXPECT_EQ(input.Get().path, "-");
}

}  // namespace
