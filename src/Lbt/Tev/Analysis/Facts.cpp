// Gathers what a model tells of itself apart from meshes and results.

#include "Lbt/Tev/Analysis/Facts.h"

#include <array>
#include <chrono>
#include <ctime>
#include <set>
#include <type_traits>

#include "Lbt/Tev/Node.h"
#include "Lbt/Tev/RootFacts.h"

namespace LbtTev::Analysis {

namespace {

/// How programs write dates, and how much of it ISO 8601 then has.
struct DateForm {
  const char* stored;
  const char* iso;
};

constexpr std::array<DateForm, 6> kDateForms{{
    {"%a %b %d %H:%M:%S %Y", "%Y-%m-%dT%H:%M:%S"},
    {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%dT%H:%M:%SZ"},
    {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%S"},
    {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S"},
    {"%Y-%m-%d %H:%M", "%Y-%m-%dT%H:%M"},
    {"%Y-%m-%d", "%Y-%m-%d"},
}};

/// Whether there is such a day, in a year of four digits: one of fewer is short for another.
bool IsDay(const std::tm& time) {
  constexpr int kFirstYear = 1900;
  constexpr int kFirstOfFourDigits = 1000;
  const int year = time.tm_year + kFirstYear;
  const std::chrono::year_month_day day(
      std::chrono::year(year), std::chrono::month(static_cast<unsigned int>(time.tm_mon + 1)),
      std::chrono::day(static_cast<unsigned int>(time.tm_mday)));
  return year >= kFirstOfFourDigits && day.ok();
}

std::optional<std::string> IsoDateIn(const DateForm& form, const std::string& text) {
  std::tm time{};
  const char* end = strptime(text.c_str(), form.stored, &time);
  const bool isWhole =
      end != nullptr && std::string_view(end).find_first_not_of(" \n\r\t") == std::string::npos;
  if (!isWhole || !IsDay(time)) {
    return std::nullopt;
  }
  std::array<char, 64> iso{};
  const std::size_t length = std::strftime(iso.data(), iso.size(), form.iso, &time);
  return std::string(iso.data(), length);
}

std::string_view RoleOf(std::size_t place, std::size_t count) {
  if (place + 1 == count) {
    return "latest translation";
  }
  return place == 0 ? "original modification" : "";
}

}  // namespace

std::optional<std::string> IsoDate(const std::string& text) {
  for (const DateForm& form : kDateForms) {
    if (std::optional<std::string> date = IsoDateIn(form, text)) {
      return date;
    }
  }
  return std::nullopt;
}

std::vector<Program> ProgramsOf(const Tree& tree) {
  std::vector<Program> programs;
  for (const ModifierInfo& record : tree.modifierInfos) {
    programs.push_back(
        {RoleOf(programs.size(), tree.modifierInfos.size()), &record, IsoDate(record.date)});
  }
  return programs;
}

Units UnitsOf(const Tree& tree) {
  const LbtUtil::AttributeMap& attributes = RootAttributesOf(tree);
  Units units;
  if (const auto length = attributes.find(std::string(kLengthUnit)); length != attributes.end()) {
    units.length = length->second.GetAttributeString();
  }
  if (const auto scale = attributes.find(std::string(kUnitScale)); scale != attributes.end()) {
    units.scale = NumberOf(scale->second);
  }
  return units;
}

std::optional<double> NumberOf(const LbtUtil::AttributeValue& value) {
  return value.Visit([](const auto& number) -> std::optional<double> {
    if constexpr (std::is_arithmetic_v<std::decay_t<decltype(number)>>) {
      return static_cast<double>(number);
    } else {
      return std::nullopt;
    }
  });
}

std::vector<const NodeSets::NodeSet*> NodeSetsOf(const Tree& tree) {
  ModelStream& heavy = *tree.GetStreams().heavy;
  const ModelStream::Request request(heavy);
  std::vector<const NodeSets::NodeSet*> found;
  std::set<const NodeSets::NodeSet*> firstOfLists;
  for (const auto& [id, entry] : tree.GetNodes()) {
    const auto* sets = NodeCast<NodeSets>(entry.data);
    if (sets == nullptr || sets->sets.empty()) {
      continue;
    }
    const bool isRepeated = !firstOfLists.insert(&sets->sets[0]).second;
    for (const NodeSets::NodeSet& set : sets->sets) {
      if (isRepeated) {
        heavy.Charge(sizeof(set) + set.name.size());
      }
      found.push_back(&set);
    }
  }
  return found;
}

}  // namespace LbtTev::Analysis
