// The record of a report and its document.

#include "Lbt/Tev/TevInfo/TevInfo.h"

#include <array>

#include "Lbt/Log/Raise.h"

namespace {

/// In the order of TevInfo::TagType.
using TagTexts = std::array<const char*, 6>;

constexpr TagTexts kNativeTags{"lbt",  kNativeNamespaceUri, "metadata", "attribute", "name",
                               "value"};
constexpr TagTexts kEkmTags{"ekmMetaData", kEkmNamespaceUri, "meta-data", "data", "name", "value"};

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

void TevInfo::setFormat(Format f) {
  format = f;
  if (f != NativeMetaData && f != ExtractData && f != EkmMetaData) {
    return;
  }
  const TagTexts& texts = f == EkmMetaData ? kEkmTags : kNativeTags;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    tags[static_cast<TagType>(i)] = texts[i];
  }
}

const std::string& TevInfo::tag(TagType type) const {
  const auto found = tags.find(type);
  if (found == tags.end()) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::NotInitialized, "Not Initialized",
                    "include/Lbt/Tev/TevInfo/TevInfo");
  }
  return found->second;
}

std::string TevInfo::header() const {
  const std::string& prefix = tag(TagType::NamespacePrefix);
  return "<" + prefix + ":" + tag(TagType::RootElement) + " xmlns:" + prefix + "=\"" +
         tag(TagType::NamespaceUri) + "\">\n";
}

std::string TevInfo::getMetadataString() const {
  return header() + metadata + "</" + tag(TagType::NamespacePrefix) + ":" +
         tag(TagType::RootElement) + ">\n";
}

void TevInfo::addEntry(std::string_view key, std::string_view value) {
  std::string line =
      "        <" + tag(TagType::EntryElement) + " " + tag(TagType::NameAttribute) + "=\"";
  line += key;
  line += "\" " + tag(TagType::ValueAttribute) + "=\"";
  line += value;
  line += "\"/>\n";
  metadata += line;
}

std::string getEkmCompatibleKey(const std::string& key) {
  std::string result;
  for (const char c : key) {
    if (result.empty()) {
      result += ToLower(c);
    } else if (!IsSpace(c)) {
      result += c;
    }
  }
  return result;
}
