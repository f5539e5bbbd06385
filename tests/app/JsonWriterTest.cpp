// JSON that is written piece by piece.

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "tev/Json.h"

namespace {

class JsonWriterTest : public ::testing::Test {
 protected:
  /// Closes all that is open.
  [[nodiscard]] std::string Closed() {
    while (json.Depth() > 0) {
      json.Close();
    }
    return text.str();
  }

  std::ostringstream text;
  JsonWriter json{text};
};

TEST_F(JsonWriterTest, ValueInPieces_HasTheFormOfAWholeOne) {
  json.OpenObject();
  json.Member("text", "a \"b\"\n\xff");
  json.Key("list");
  json.OpenList();
  json.Value(1);
  json.OpenObject();
  json.Member("none", nullptr);
  json.Close();
  json.OpenList();
  json.Close();
  json.Value(Json{{"whole", {1, 2}}});
  json.Close();
  json.Key("empty");
  json.OpenObject();
  json.Close();
  json.Member("last", true);
  EXPECT_EQ(Closed(),
            "{\n"
            "  \"text\": \"a \\\"b\\\"\\n\xef\xbf\xbd\",\n"
            "  \"list\": [\n"
            "    1,\n"
            "    {\n"
            "      \"none\": null\n"
            "    },\n"
            "    [],\n"
            "    {\n"
            "      \"whole\": [\n"
            "        1,\n"
            "        2\n"
            "      ]\n"
            "    }\n"
            "  ],\n"
            "  \"empty\": {},\n"
            "  \"last\": true\n"
            "}");
}

TEST(JsonText, ZeroBelowZero_KeepsItsSignWhenItIsRead) {
  for (const Json& zero : {Json(-0.0), Json(static_cast<double>(-0.0F))}) {
    EXPECT_EQ(JsonText(zero), "-0.0");
  }
  EXPECT_TRUE(std::signbit(Json::parse(JsonText(-0.0)).get<double>()));
  EXPECT_EQ(JsonText(0.0), "0");
}

TEST(ValidText, BytesThatAreNoUtf8_AreReplaced) {
  const std::string bad = "\xef\xbf\xbd";
  EXPECT_EQ(ValidText("\xff"), bad);
  EXPECT_EQ(ValidText("a\xe2\x82z\xc3"), "a" + bad + "z" + bad);
  EXPECT_EQ(ValidText("\xc0\x80 \xed\xa0\x80").find_first_of("\xc0\xed"), std::string::npos);
}

TEST(ValidText, AllOtherText_StaysAsItIs) {
  for (const std::string& text :
       {std::string(), std::string("q\" \\ \n\r\t\x1b"), std::string("a\0b", 3),
        std::string("K\xc3\xbchl \xc2\x85 \xe2\x80\xae \xf0\x9f\x94\xa7")}) {
    EXPECT_EQ(ValidText(text), text);
  }
}

TEST_F(JsonWriterTest, OneLine_HasABlankAfterEachCommaAndColon) {
  {
    JsonWriter line(text, JsonLayout::OneLine);
    line.OpenObject();
    line.Member("a", Json{1, {{"b", "\n"}}});
    line.Member("c", nullptr);
  }
  EXPECT_EQ(text.str(), R"({"a": [1, {"b": "\n"}], "c": null})");
}

TEST_F(JsonWriterTest, MembersOfAnObjectAround_GoOnAfterItsFirst) {
  json.OpenObject();
  json.Member("first", 1);
  {
    JsonWriter members(text, JsonLayout::Indented, 1);
    members.Member("second", 2);
    members.Key("list");
    members.OpenList();
    members.Value(3);
  }
  EXPECT_EQ(Closed(), "{\n  \"first\": 1,\n  \"second\": 2,\n  \"list\": [\n    3\n  ]\n}");
}

TEST_F(JsonWriterTest, ValueThatBreaksOffAfterAKey_IsClosedAsNull) {
  json.OpenObject();
  json.Key("list");
  json.OpenList();
  json.OpenObject();
  json.Member("a", 1);
  json.Key("b");
  EXPECT_EQ(Json::parse(Closed()), Json::parse(R"({"list": [{"a": 1, "b": null}]})"));
}

TEST_F(JsonWriterTest, ValueThatBreaksOffBeforeItsFirstPart_IsClosedAsAnEmptyOne) {
  json.OpenObject();
  json.Key("list");
  json.OpenList();
  EXPECT_EQ(Closed(), "{\n  \"list\": []\n}");
}

}  // namespace
