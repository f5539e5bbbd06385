// The report record and its document, in both forms.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Util/Exception.h"
#include "support/Mask.h"

namespace {

constexpr const char* kNativeFrame =
    "<lbt:metadata xmlns:lbt=\"urn:lbt:tev:metadata\">\n</lbt:metadata>\n";
constexpr const char* kEkmFrame =
    "<ekmMetaData:meta-data xmlns:ekmMetaData=\"urn:ansys:ekm:meta-data\">\n"
    "</ekmMetaData:meta-data>\n";

TevInfo Formatted(TevInfo::Format format) {
  TevInfo info;
  info.setFormat(format);
  return info;
}

template <class Use>
void ExpectNotInitialized(Use use) {
  try {
    use();
    FAIL() << "nothing was thrown";
  } catch (const Lbt::Util::Exception& exception) {
    EXPECT_EQ(exception.GetType(), Lbt::Util::Exception::ErrorType::NotInitialized);
    EXPECT_EQ(tevtest::MaskException(exception.what()),
              tevtest::ExpectedException("Not Initialized", "Not Initialized",
                                         "include/Lbt/Tev/TevInfo/TevInfo"));
  }
}

/// Every use of the tags of a record that has none fails and adds nothing.
void ExpectUnusable(TevInfo info) {
  EXPECT_TRUE(info.tags.empty());
  ExpectNotInitialized([&] { static_cast<void>(info.header()); });
  ExpectNotInitialized([&] { static_cast<void>(info.getMetadataString()); });
  ExpectNotInitialized([&] { info.addMetadata("Key", "value"); });
  ExpectNotInitialized([&] { AddStreamMetaData(info, "Key", 1); });
  EXPECT_EQ(info.metadata, "");
}

TEST(TevInfo, New_IsEmpty) {
  const TevInfo info;
  EXPECT_EQ(info.metadata, "");
  EXPECT_TRUE(info.datasets.empty());
  ExpectUnusable(info);
}

TEST(TevInfo, Enumerations_HaveTheirFixedValues) {
  EXPECT_EQ(static_cast<int>(TevInfo::NativeMetaData), 0);
  EXPECT_EQ(static_cast<int>(TevInfo::ExtractData), 1);
  EXPECT_EQ(static_cast<int>(TevInfo::EkmMetaData), 2);
  using Tag = TevInfo::TagType;
  const std::vector<Tag> tags{Tag::NamespacePrefix, Tag::NamespaceUri,  Tag::RootElement,
                              Tag::EntryElement,    Tag::NameAttribute, Tag::ValueAttribute};
  for (std::size_t i = 0; i < tags.size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(tags[i]), i);
  }
  EXPECT_EQ(sizeof(TevInfo::Format), 4U);
}

TEST(SetFormat, NativeAndDataExtraction_HaveTheSameTags) {
  using Tag = TevInfo::TagType;
  const std::map<Tag, std::string> tags{
      {Tag::NamespacePrefix, "lbt"},  {Tag::NamespaceUri, "urn:lbt:tev:metadata"},
      {Tag::RootElement, "metadata"}, {Tag::EntryElement, "attribute"},
      {Tag::NameAttribute, "name"},   {Tag::ValueAttribute, "value"}};
  EXPECT_EQ(Formatted(TevInfo::NativeMetaData).tags, tags);
  EXPECT_EQ(Formatted(TevInfo::ExtractData).tags, tags);
  EXPECT_EQ(Formatted(TevInfo::ExtractData).format, TevInfo::ExtractData);
}

TEST(SetFormat, Ekm_HasItsOwnTags) {
  using Tag = TevInfo::TagType;
  const std::map<Tag, std::string> tags{
      {Tag::NamespacePrefix, "ekmMetaData"}, {Tag::NamespaceUri, "urn:ansys:ekm:meta-data"},
      {Tag::RootElement, "meta-data"},       {Tag::EntryElement, "data"},
      {Tag::NameAttribute, "name"},          {Tag::ValueAttribute, "value"}};
  EXPECT_EQ(Formatted(TevInfo::EkmMetaData).tags, tags);
}

TEST(SetFormat, ValueThatIsNoFormat_IsStoredWithoutTags) {
  for (const int value : {-1, 3, 100, std::numeric_limits<int>::min()}) {
    SCOPED_TRACE(value);
    const TevInfo info = Formatted(static_cast<TevInfo::Format>(value));
    EXPECT_EQ(static_cast<int>(info.format), value);
    ExpectUnusable(info);
  }
}

TEST(SetFormat, ValueThatIsNoFormat_LeavesFormerTags) {
  for (const int value : {-1, 3}) {
    TevInfo info = Formatted(TevInfo::EkmMetaData);
    info.setFormat(static_cast<TevInfo::Format>(value));
    EXPECT_EQ(static_cast<int>(info.format), value);
    AddStreamMetaData(info, "Some Key", "v");  // no EKM key any more
    EXPECT_EQ(info.metadata, "        <data name=\"Some Key\" value=\"v\"/>\n");
  }
}

TEST(SetFormat, Twice_LeavesTheLaterTags) {
  TevInfo info = Formatted(TevInfo::NativeMetaData);
  info.setFormat(TevInfo::EkmMetaData);
  EXPECT_EQ(info.getMetadataString(), kEkmFrame);
  info.setFormat(TevInfo::ExtractData);
  EXPECT_EQ(info.getMetadataString(), kNativeFrame);
  EXPECT_EQ(info.tags.size(), 6U);
}

TEST(GetMetadataString, WithoutEntries_IsHeaderAndClosingLine) {
  EXPECT_EQ(Formatted(TevInfo::NativeMetaData).getMetadataString(), kNativeFrame);
  EXPECT_EQ(Formatted(TevInfo::ExtractData).getMetadataString(), kNativeFrame);
  EXPECT_EQ(Formatted(TevInfo::EkmMetaData).getMetadataString(), kEkmFrame);
}

TEST(Header, IsTheFirstLineOfTheDocument) {
  EXPECT_EQ(Formatted(TevInfo::NativeMetaData).header(),
            "<lbt:metadata xmlns:lbt=\"urn:lbt:tev:metadata\">\n");
  EXPECT_EQ(Formatted(TevInfo::EkmMetaData).header(),
            "<ekmMetaData:meta-data xmlns:ekmMetaData=\"urn:ansys:ekm:meta-data\">\n");
}

TEST(GetMetadataString, Again_HasTheEntriesAddedSince) {
  TevInfo info = Formatted(TevInfo::NativeMetaData);
  info.addMetadata("b", "1");
  const std::string first = info.getMetadataString();
  EXPECT_EQ(info.getMetadataString(), first);
  info.addMetadata("a", "2");
  EXPECT_EQ(info.getMetadataString(),
            "<lbt:metadata xmlns:lbt=\"urn:lbt:tev:metadata\">\n"
            "        <attribute name=\"b\" value=\"1\"/>\n"
            "        <attribute name=\"a\" value=\"2\"/>\n"
            "</lbt:metadata>\n");
}

/// The value of the one entry that "value" gives.
template <class T>
std::string Written(const T& value) {
  TevInfo info = Formatted(TevInfo::NativeMetaData);
  info.addMetadata("k", value);
  const std::string before = "        <attribute name=\"k\" value=\"";
  EXPECT_TRUE(info.metadata.starts_with(before));
  EXPECT_TRUE(info.metadata.ends_with("\"/>\n"));
  return info.metadata.substr(before.size(), info.metadata.size() - before.size() - 4);
}

TEST(AddMetadata, Numbers_AreDecimalWithoutSeparators) {
  EXPECT_EQ(Written(0), "0");
  EXPECT_EQ(Written(-1234567), "-1234567");
  EXPECT_EQ(Written(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(Written(std::numeric_limits<int>::max()), "2147483647");
  EXPECT_EQ(Written(0U), "0");
  EXPECT_EQ(Written(std::numeric_limits<unsigned int>::max()), "4294967295");
}

TEST(AddMetadata, Texts_AreWrittenUnescaped) {
  const std::string text = "a \"b\" & <c>\n\t'd' \x1e \xc3\xbc";
  EXPECT_EQ(Written(text), text);
  EXPECT_EQ(Written("a \"b\" & <c>"), "a \"b\" & <c>");
  EXPECT_EQ(Written(""), "");
  EXPECT_EQ(Written(std::string()), "");
}

TEST(AddMetadata, Key_IsUsedUnchangedInEveryFormat) {
  TevInfo info = Formatted(TevInfo::EkmMetaData);
  info.addMetadata(" Some \"Key\" & <More>", 3);
  EXPECT_EQ(info.metadata, "        <data name=\" Some \"Key\" & <More>\" value=\"3\"/>\n");
}

TEST(AddStreamMetaData, NativeAndDataExtraction_KeepTheKey) {
  for (const auto format : {TevInfo::NativeMetaData, TevInfo::ExtractData}) {
    TevInfo info = Formatted(format);
    AddStreamMetaData(info, "Number of Parts", 3U);
    EXPECT_EQ(info.metadata, "        <attribute name=\"Number of Parts\" value=\"3\"/>\n");
  }
}

TEST(AddStreamMetaData, Ekm_ConvertsTheKeyAndNothingElse) {
  TevInfo info = Formatted(TevInfo::EkmMetaData);
  AddStreamMetaData(info, "Number of Parts", 3U);
  AddStreamMetaData(info, "Time Steps", std::string("A B"));
  AddStreamMetaData(info, "", "No Key");
  AddStreamMetaData(info, "Shift", -2);
  EXPECT_EQ(info.metadata,
            "        <data name=\"numberofParts\" value=\"3\"/>\n"
            "        <data name=\"timeSteps\" value=\"A B\"/>\n"
            "        <data name=\"\" value=\"No Key\"/>\n"
            "        <data name=\"shift\" value=\"-2\"/>\n");
}

TEST(GetEkmCompatibleKey, FirstCharacter_IsLowered) {
  EXPECT_EQ(getEkmCompatibleKey("T"), "t");
  EXPECT_EQ(getEkmCompatibleKey("t"), "t");
  EXPECT_EQ(getEkmCompatibleKey("7"), "7");
  EXPECT_EQ(getEkmCompatibleKey("ABC"), "aBC");
}

TEST(GetEkmCompatibleKey, LaterWhiteSpace_IsDropped) {
  EXPECT_EQ(getEkmCompatibleKey("Number of Parts"), "numberofParts");
  EXPECT_EQ(getEkmCompatibleKey("Time Steps"), "timeSteps");
  EXPECT_EQ(getEkmCompatibleKey("Node Ids"), "nodeIds");
  EXPECT_EQ(getEkmCompatibleKey("A \t\n\v\f\rB "), "aB");
  EXPECT_EQ(getEkmCompatibleKey("Application name (Latest Translation)"),
            "applicationname(LatestTranslation)");
}

TEST(GetEkmCompatibleKey, FirstWhiteSpace_IsKept) {
  EXPECT_EQ(getEkmCompatibleKey(" Time"), " Time");
  EXPECT_EQ(getEkmCompatibleKey("  Time Step"), " TimeStep");
  EXPECT_EQ(getEkmCompatibleKey("\tA"), "\tA");
  EXPECT_EQ(getEkmCompatibleKey(" "), " ");
}

TEST(GetEkmCompatibleKey, EmptyKey_StaysEmpty) { EXPECT_EQ(getEkmCompatibleKey(""), ""); }

TEST(GetEkmCompatibleKey, OtherBytes_StayAsTheyAre) {
  EXPECT_EQ(getEkmCompatibleKey("\xc3\x84 \xc2\xa0 B"),
            "\xc3\x84\xc2\xa0"
            "B");
  EXPECT_EQ(getEkmCompatibleKey("[X]_y-Z"), "[X]_y-Z");
}

}  // namespace
