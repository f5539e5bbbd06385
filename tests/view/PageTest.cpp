// Pages as files, and which steps they show.

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Lbt/Tev/View/Page.h"
#include "Lbt/Tev/View/PageContents.h"

namespace LbtTev::View {
namespace {

std::string Written(const Page& page, const Page::Contents& contents,
                    const std::set<Page::Block>& blocks) {
  std::ostringstream out;
  page.Write(contents, blocks, out);
  return out.str();
}

/// The bytes of a block of a page, by a way of its own.
std::vector<unsigned char> BytesOfBlock(const std::string& page, const std::string& name) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string head = "id=\"block-" + name + "\">";
  const std::size_t begin = page.find(head) + head.size();
  std::vector<unsigned char> packed;
  std::uint32_t bits = 0;
  int count = 0;
  for (std::size_t i = begin; page[i] != '<' && page[i] != '='; ++i) {
    bits = (bits << 6U) | static_cast<std::uint32_t>(digits.find(page[i]));
    count += 6;
    if (count >= 8) {
      count -= 8;
      packed.push_back(
          static_cast<unsigned char>((bits >> static_cast<unsigned int>(count)) & 255U));
    }
  }
  std::vector<unsigned char> bytes(10000);
  uLongf size = bytes.size();
  EXPECT_EQ(uncompress(bytes.data(), &size, packed.data(), packed.size()), Z_OK);
  bytes.resize(size);
  return bytes;
}

TEST(Page, Numbers_AreKeptAsPlanesOfTheirBytes) {
  Page page;
  // 1.0 is 0x3f800000, -2.5 is 0xc0200000.
  const auto floats = page.AddFloats(std::vector<float>{1.0F, -2.5F});
  // Differences: 5, then -7.
  const auto wholes = page.AddWholes(std::vector<std::int32_t>{5, -2});
  const auto steps = page.AddSteps(std::vector<std::uint16_t>{0x0304, 0x0102});
  const std::string text = Written(page, {}, {floats, wholes, steps});
  using Bytes = std::vector<unsigned char>;
  EXPECT_EQ(BytesOfBlock(text, std::to_string(floats)),
            (Bytes{0, 0, 0, 0, 0x80, 0x20, 0x3F, 0xC0}));
  EXPECT_EQ(BytesOfBlock(text, std::to_string(wholes)),
            (Bytes{5, 0xF9, 0, 0xFF, 0, 0xFF, 0, 0xFF}));
  EXPECT_EQ(BytesOfBlock(text, std::to_string(steps)), (Bytes{4, 0xFE, 3, 0xFD}));
}

TEST(Page, StepsAfterOthers_AreTheDifferences) {
  Page page;
  const auto block =
      page.AddSteps(std::vector<std::uint16_t>{0x0304, 0}, std::vector<std::uint16_t>{0x0103, 1});
  EXPECT_EQ(BytesOfBlock(Written(page, {}, {block}), std::to_string(block)),
            (std::vector<unsigned char>{1, 0xFF, 2, 0xFF}));
}

TEST(Page, EqualBytes_AreOneBlock) {
  Page page;
  const std::vector<float> numbers{1, 2, 3};
  const auto first = page.AddFloats(numbers);
  EXPECT_NE(page.AddFloats(std::vector<float>{1, 2, 4}), first);
  EXPECT_EQ(page.AddFloats(numbers), first);
}

TEST(Page, BlocksThatAreNotAskedFor_AreLeftOut) {
  Page page;
  const auto first = page.AddFloats(std::vector<float>{1});
  const auto second = page.AddFloats(std::vector<float>{2});
  const std::string text = Written(page, {}, {second});
  EXPECT_EQ(text.find("\"block-" + std::to_string(first) + '"'), std::string::npos);
  EXPECT_NE(text.find("\"block-" + std::to_string(second) + '"'), std::string::npos);
}

TEST(Page, Model_IsABlock) {
  const std::string model = R"({"file": "</script>"})";
  const std::vector<unsigned char> bytes =
      BytesOfBlock(Written(Page(), {.model = model}, {}), "model");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), model);
}

TEST(Page, Title_IsText) {
  const std::string text = Written(Page(), {.title = "<b>&@BLOCKS@"}, {});
  EXPECT_NE(text.find("<title>&lt;b&gt;&amp;@BLOCKS@</title>"), std::string::npos);
  EXPECT_NE(text.find("<h1 id=\"title\">&lt;b&gt;&amp;@BLOCKS@</h1>"), std::string::npos);
  EXPECT_EQ(text.find("<b>"), std::string::npos);
}

TEST(Page, Size_IsThatOfTheFile) {
  Page page;
  const auto first = page.AddFloats(std::vector<float>{1});
  const auto second = page.AddFloats(std::vector<float>(1000, 2));
  for (const auto& blocks : {std::set<Page::Block>{}, {first}, {first, second}}) {
    for (const Page::Contents& contents :
         {Page::Contents{}, Page::Contents{.title = "A <b>", .model = "{}", .picture = "png!"}}) {
      EXPECT_EQ(page.Size(contents, blocks), Written(page, contents, blocks).size());
    }
  }
}

TEST(EvenSteps, Choice_HasTheLastAndIsEven) {
  using Steps = std::set<std::size_t>;
  EXPECT_EQ(EvenSteps(0, 0), Steps{});
  EXPECT_EQ(EvenSteps(21, 0), Steps{});
  EXPECT_EQ(EvenSteps(21, 1), Steps{20});
  EXPECT_EQ(EvenSteps(21, 3), (Steps{0, 10, 20}));
  EXPECT_EQ(EvenSteps(5, 2), (Steps{0, 4}));
  EXPECT_EQ(EvenSteps(3, 9), (Steps{0, 1, 2}));
}

}  // namespace
}  // namespace LbtTev::View
