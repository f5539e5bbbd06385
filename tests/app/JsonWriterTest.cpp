// JSON that is written piece by piece.

#include <gtest/gtest.h>

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
