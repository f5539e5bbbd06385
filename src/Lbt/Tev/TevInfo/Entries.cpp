// The entries of a report: their keys, their order and when each is written.

#include "Lbt/Tev/TevInfo/Entries.h"

#include <array>
#include <iterator>
#include <optional>
#include <utility>

namespace LbtTev::Report {

namespace {

using LbtTev::ModifierInfo;
using LbtUtil::AttributeValue;
using Text = std::optional<std::string>;

/// An entry of a report: its key, and its text, which is none where it is left out.
template <class Facts>
struct Entry {
  const char* key;
  Text (*textOf)(const Facts& facts);
};

Text TextOf(std::size_t count) { return std::to_string(static_cast<unsigned int>(count)); }

Text TextOf(const std::optional<AttributeValue>& value) {
  return value ? Text(value->GetAttributeString()) : std::nullopt;
}

Text CountOfAny(const std::vector<std::string>& texts) {
  return texts.empty() ? std::nullopt : TextOf(texts.size());
}

Text Joined(const std::vector<std::string>& texts) {
  std::string joined = GetNameListAsString(texts);
  return joined.empty() ? std::nullopt : Text(std::move(joined));
}

struct ModifierEntry {
  const char* key;
  std::string ModifierInfo::*text;
};

constexpr auto kModifierEntries = std::to_array<ModifierEntry>({
    {"Application name", &ModifierInfo::applicationName},
    {"Application version", &ModifierInfo::applicationVersion},
    {"Tev version", &ModifierInfo::tevVersion},
    {"User name", &ModifierInfo::userName},
    {"Date", &ModifierInfo::date},
    {"Comment", &ModifierInfo::comment},
});

constexpr auto kFileEntries = std::to_array<Entry<ModelFacts>>({
    {"Model File", [](const ModelFacts& facts) { return facts.modelFile.path; }},
    {"Model File Type", [](const ModelFacts& facts) { return facts.modelFile.type; }},
    {"Native Model File Size", [](const ModelFacts& facts) { return facts.modelFile.size; }},
    {"Results File", [](const ModelFacts& facts) { return facts.resultsFile.path; }},
    {"Results File Type", [](const ModelFacts& facts) { return facts.resultsFile.type; }},
    {"Native Results File Size", [](const ModelFacts& facts) { return facts.resultsFile.size; }},
    {"Number of Nodes", [](const ModelFacts& facts) { return TextOf(facts.numberOfNodes); }},
    {"Number of Elements", [](const ModelFacts& facts) { return TextOf(facts.numberOfElements); }},
    {"Tev File Size", [](const ModelFacts& facts) { return Text(facts.fileSize); }},
});

constexpr auto kSummaryEntries = std::to_array<Entry<SummaryFacts>>({
    {"Title", [](const SummaryFacts& facts) { return facts.title; }},
    {"Category", [](const SummaryFacts& facts) { return Text(facts.category); }},
    {"Number of Parts",
     [](const SummaryFacts& facts) { return TextOf(facts.parts ? facts.parts->size() : 0); }},
    {"Number of Cut-sections",
     [](const SummaryFacts& facts) { return TextOf(facts.numberOfCutSections); }},
    {"Number of Iso-surfaces",
     [](const SummaryFacts& facts) { return TextOf(facts.numberOfIsoSurfaces); }},
    {"Number of Iso-volumes",
     [](const SummaryFacts& facts) { return TextOf(facts.numberOfIsoVolumes); }},
    {"Number of Flow-lines",
     [](const SummaryFacts& facts) { return TextOf(facts.numberOfFlowLines); }},
    {"Number of Results", [](const SummaryFacts& facts) { return CountOfAny(facts.results); }},
    {"Number of Instances", [](const SummaryFacts& facts) { return CountOfAny(facts.instances); }},
    {"Parts",
     [](const SummaryFacts& facts) {
       return facts.parts ? Text(GetNameListAsString(*facts.parts)) : std::nullopt;
     }},
    {"Results", [](const SummaryFacts& facts) { return Joined(facts.results); }},
    {"Instances", [](const SummaryFacts& facts) { return Joined(facts.instances); }},
    {"Time Steps", [](const SummaryFacts& facts) { return Joined(facts.timeSteps); }},
    {"Frequencies", [](const SummaryFacts& facts) { return Joined(facts.frequencies); }},
});

template <class Entries, class Facts>
void Add(TevInfo& info, const Entries& entries, const Facts& facts) {
  for (const auto& entry : entries) {
    if (const Text text = entry.textOf(facts)) {
      AddStreamMetaData(info, entry.key, *text);
    }
  }
}

/// Who wrote the model and who last did. The entries stop at the first record between
/// the two, so that of three records only the first is written; readers count on it.
void AddModifiers(TevInfo& info, const std::vector<ModifierInfo>& modifiers) {
  std::vector<std::string> suffixes(modifiers.size());
  if (!suffixes.empty()) {
    suffixes.back() = " (Latest Translation)";
  }
  if (suffixes.size() >= 2) {
    suffixes.front() = " (Original Modification)";
  }
  for (std::size_t i = 0; i < modifiers.size() && !suffixes[i].empty(); ++i) {
    WriteModifierInfo(info, modifiers[i], suffixes[i]);
  }
}

}  // namespace

void AddEntries(TevInfo& info, ModelFacts facts) {
  AddModifiers(info, facts.modifiers);
  Add(info, kFileEntries, facts);
  AddSummary(info, facts.summary);
  info.datasets.insert(info.datasets.end(), std::make_move_iterator(facts.datasets.begin()),
                       std::make_move_iterator(facts.datasets.end()));
}

void AddSummary(TevInfo& info, const SummaryFacts& facts) { Add(info, kSummaryEntries, facts); }

}  // namespace LbtTev::Report

void WriteModifierInfo(TevInfo& info, const LbtTev::ModifierInfo& modifier,
                       const std::string& suffix) {
  for (const auto& entry : LbtTev::Report::kModifierEntries) {
    if (const std::string& text = modifier.*entry.text; !text.empty()) {
      AddStreamMetaData(info, entry.key + suffix, text);
    }
  }
}

std::string GetNameListAsString(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names) {
    if (&name != &names.front()) {
      joined += ", ";
    }
    joined += name;
  }
  return joined;
}
