// Finds what patterns ask for, with globs, and says what there is where they fit nothing.

#include "Lbt/Tev/Analysis/Selection.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <map>
#include <numeric>
#include <set>

#include "Lbt/Log/Raise.h"

namespace LbtTev::Analysis {

namespace {

using Names = std::span<const std::string_view>;
using Lbt::Util::Exception;

// --- Globs

/// The first character of a text that is not empty: a byte and what continues it.
std::string_view FirstCharacter(std::string_view text) {
  constexpr unsigned char kMark = 0xC0;
  constexpr unsigned char kContinuation = 0x80;
  constexpr std::size_t kMost = 4;
  std::size_t length = 1;
  while (length < std::min(text.size(), kMost) &&
         (static_cast<unsigned char>(text[length]) & kMark) == kContinuation) {
    ++length;
  }
  return text.substr(0, length);
}

/// Takes the first character off.
std::string_view TakeCharacter(std::string_view& text) {
  const std::string_view taken = FirstCharacter(text);
  text.remove_prefix(taken.size());
  return taken;
}

/// Where the set that "glob" begins with ends, after its bracket; 0 where it has no end. A
/// bracket that comes first is one of the set.
std::size_t LengthOfSet(std::string_view glob) {
  const bool isNegated = glob.size() > 1 && (glob[1] == '!' || glob[1] == '^');
  const std::size_t end = glob.find(']', isNegated ? 3 : 2);
  return end == std::string_view::npos ? 0 : end + 1;
}

/// Whether a set, from bracket to bracket, has the character. In UTF-8 bytes are in the order
/// of characters.
bool SetHas(std::string_view set, std::string_view character) {
  set = set.substr(1, set.size() - 2);
  const bool isNegated = set.starts_with('!') || set.starts_with('^');
  set.remove_prefix(isNegated ? 1 : 0);
  bool has = false;
  while (!set.empty()) {
    const std::string_view first = TakeCharacter(set);
    std::string_view last = first;
    if (set.size() > 1 && set.front() == '-') {
      set.remove_prefix(1);
      last = TakeCharacter(set);
    }
    has = has || (first <= character && character <= last);
  }
  return has != isNegated;
}

/// Takes one character off both where it fits.
bool TakeFitting(std::string_view& text, std::string_view& glob) {
  const std::size_t setLength = glob.front() == '[' ? LengthOfSet(glob) : 0;
  const std::string_view expected =
      setLength != 0 ? glob.substr(0, setLength) : FirstCharacter(glob);
  const std::string_view character = FirstCharacter(text);
  const bool fits =
      setLength != 0 ? SetHas(expected, character) : expected == "?" || expected == character;
  if (fits) {
    text.remove_prefix(character.size());
    glob.remove_prefix(expected.size());
  }
  return fits;
}

// --- Names

/// As much of a name as a message quotes.
std::string Quoted(std::string_view name) {
  constexpr std::size_t kMost = 200;
  return '"' + std::string(name.substr(0, kMost)) + '"';
}

std::string Listed(const char* kind, Names names) {
  constexpr std::size_t kMost = 10;
  if (names.empty()) {
    return std::string("the model has no ") + kind;
  }
  std::string text = "there are ";
  for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i) {
    text += (i == 0 ? "" : ", ") + Quoted(names[i]);
  }
  return names.size() <= kMost ? text
                               : text + " and " + std::to_string(names.size() - kMost) + " more";
}

[[noreturn]] void RaiseNoMatch(const char* kind, std::string_view pattern, Names names) {
  Lbt::Log::Raise(Exception::ErrorType::ElementNotFound, NoMatchText(kind, pattern, names).c_str(),
                  "include/Lbt/Tev/Analysis/Selection");
}

/// Indices of the names that a pattern asks for: those that it is, else those that it fits.
std::vector<std::size_t> FindIn(Names names, std::string_view pattern) {
  std::vector<std::size_t> exact;
  std::vector<std::size_t> fitting;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == pattern) {
      exact.push_back(i);
    } else if (exact.empty() && FitsGlob(names[i], pattern)) {
      fitting.push_back(i);
    }
  }
  return exact.empty() ? fitting : exact;
}

bool IsId(std::string_view pattern, unsigned int id) {
  unsigned int number = 0;
  const char* end = pattern.data() + pattern.size();
  const auto read = std::from_chars(pattern.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && number == id;
}

std::vector<std::size_t> FindParts(const Model& model, Names names, const std::string& pattern) {
  std::vector<std::size_t> found = FindIn(names, pattern);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (IsId(pattern, model.Parts()[i].id)) {
      found.push_back(i);
    }
  }
  return found;
}

template <class List, class NameOf>
std::vector<std::string_view> NamesOf(const List& list, const NameOf& nameOf) {
  std::vector<std::string_view> names;
  names.reserve(list.size());
  for (const auto& element : list) {
    names.push_back(element.*nameOf);
  }
  return names;
}

/// "text" with small letters only, as far as they are ASCII.
std::string Folded(std::string_view text) {
  std::string folded(text);
  for (char& character : folded) {
    character =
        'A' <= character && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
  }
  return folded;
}

std::size_t Distance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < right.size(); ++j) {
      const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

bool FitsGlob(std::string_view text, std::string_view glob) {
  // The last star takes ever more, which is enough: what an earlier one takes can stay.
  std::optional<std::string_view> afterStar;
  std::string_view textAtStar;
  while (!text.empty()) {
    if (glob.starts_with('*')) {
      glob.remove_prefix(1);
      afterStar = glob;
      textAtStar = text;
    } else if (glob.empty() || !TakeFitting(text, glob)) {
      if (!afterStar) {
        return false;
      }
      static_cast<void>(TakeCharacter(textAtStar));
      text = textAtStar;
      glob = *afterStar;
    }
  }
  return glob.find_first_not_of('*') == std::string_view::npos;
}

std::string_view NearestName(std::string_view name, Names names) {
  // Enough of both to tell, and little enough to be quick whatever a model has.
  constexpr std::size_t kMostNames = 1000;
  constexpr std::size_t kMostCharacters = 64;
  const std::string start = Folded(name.substr(0, kMostCharacters));
  const std::size_t tooMany = std::max<std::size_t>(start.size() / 2, 1) + 1;
  std::string_view nearest;
  std::pair<bool, std::size_t> least{true, tooMany};
  for (const std::string_view candidate : names.first(std::min(names.size(), kMostNames))) {
    const std::string folded = Folded(candidate.substr(0, kMostCharacters));
    const bool isOther = start.empty() || !folded.starts_with(start);
    const std::pair found{isOther, Distance(start, folded)};
    if (found < least) {
      least = found;
      nearest = candidate;
    }
  }
  return nearest;
}

std::string NoMatchText(const char* kind, std::string_view pattern, Names names) {
  const std::string_view nearest = NearestName(pattern, names);
  return std::string("No ") + kind + " fits " + Quoted(pattern) +
         (nearest.empty() ? "" : ", did you mean " + Quoted(nearest) + '?') +
         (nearest.empty() ? ": " : " ") + Listed(kind, names);
}

SelectedSteps::SelectedSteps(const Model& model, std::span<const std::string> patterns)
    : isAll_(patterns.empty()) {
  const std::vector<std::string_view> names = NamesOf(model.Steps(), &Step::text);
  std::set<std::optional<std::size_t>> chosen;
  for (const std::string& pattern : patterns) {
    if (pattern.empty() && (model.HasFieldWithoutStep() || model.HasMeshWithoutStep())) {
      chosen.insert(std::nullopt);
      continue;
    }
    const std::vector<std::size_t> found =
        pattern.empty() ? std::vector<std::size_t>() : FindIn(names, pattern);
    if (found.empty()) {
      RaiseNoMatch("step", pattern, names);
    }
    chosen.insert(found.begin(), found.end());
  }
  chosen_.assign(chosen.begin(), chosen.end());
}

bool SelectedSteps::Has(std::optional<std::size_t> step) const {
  return isAll_ || std::ranges::binary_search(chosen_, step);
}

std::vector<std::optional<std::size_t>> SelectedSteps::At(
    std::span<const std::optional<std::size_t>> own) const {
  if (!isAll_ && !own.empty() && !own.front()) {
    return chosen_;
  }
  std::vector<std::optional<std::size_t>> steps;
  std::ranges::copy_if(own, std::back_inserter(steps), [&](const auto& step) { return Has(step); });
  return steps;
}

std::vector<std::size_t> SelectParts(const Model& model, std::span<const std::string> patterns) {
  const std::vector<std::string_view> names = NamesOf(model.Parts(), &Part::name);
  std::set<std::size_t> selected;
  for (const std::string& pattern : patterns) {
    const std::vector<std::size_t> found = FindParts(model, names, pattern);
    if (found.empty()) {
      RaiseNoMatch("part", pattern, names);
    }
    selected.insert(found.begin(), found.end());
  }
  for (std::size_t i = 0; i < names.size() && patterns.empty(); ++i) {
    selected.insert(selected.end(), i);
  }
  return {selected.begin(), selected.end()};
}

std::vector<std::string_view> SelectResults(const Model& model,
                                            std::span<const std::string> patterns, Names further) {
  std::vector<std::string_view> names = NamesOf(model.Results(), &Result::name);
  std::set<std::string_view> selected;
  for (const std::string& pattern : patterns) {
    const auto named = std::ranges::find(further, pattern);
    const std::vector<std::size_t> found = FindIn(names, pattern);
    if (found.empty() && named == further.end()) {
      RaiseNoMatch("result", pattern, names);
    }
    for (const std::size_t name : found) {
      selected.insert(names[name]);
    }
    if (named != further.end()) {
      selected.insert(*named);
    }
  }
  if (patterns.empty()) {
    return names;
  }
  return {selected.begin(), selected.end()};
}

RepeatedRows::RepeatedRows(const Model& model)
    : model_(&model), light_(&model.GetTree().GetStreams().light), request_(*light_) {}

void RepeatedRows::Add(std::size_t part, std::string_view name, std::size_t lines) {
  const Part& row = model_->Parts()[part];
  firstPartOf_.resize(std::max(firstPartOf_.size(), row.content + 1));
  std::optional<std::size_t>& first = firstPartOf_[row.content];
  first = first.value_or(part);
  Charge(row, name, lines, first != part);
}

void RepeatedRows::AddAgain(std::size_t part, std::string_view name) {
  Charge(model_->Parts()[part], name, 1, true);
}

void RepeatedRows::Charge(const Part& row, std::string_view name, std::size_t lines,
                          bool isRepeated) {
  light_->Charge((isRepeated ? sizeof(Geometry::VarStruct) + name.size() : 0) +
                 lines * (BeyondOrdinary(name.size()) + BeyondOrdinary(row.name.size())));
}

std::vector<MeshOfPart> MeshesOfParts(const Model& model, std::span<const std::size_t> parts,
                                      const SelectedSteps& steps, MeshRole role) {
  RepeatedRows rows(model);
  std::vector<MeshOfPart> meshes;
  for (const std::size_t part : parts) {
    const Part& row = model.Parts()[part];
    const auto own = model.StepsWith(row, std::array{role});
    for (const auto& step : steps.At(own)) {
      const std::string_view text = step ? std::string_view(model.Steps()[*step].text) : "";
      if (std::ranges::binary_search(own, step)) {
        rows.Add(part, text);
      } else {
        rows.AddAgain(part, text);
      }
      meshes.push_back({part, step, model.MeshAt(row, step)});
    }
  }
  return meshes;
}

std::vector<FieldOfPart> FieldsOfParts(const Model& model, std::span<const std::size_t> parts,
                                       const std::function<bool(const Field&)>& has) {
  RepeatedRows rows(model);
  std::map<std::size_t, std::vector<const Field*>> fieldsOf;  // by content
  std::vector<FieldOfPart> fields;
  for (const std::size_t part : parts) {
    const auto [found, isNew] = fieldsOf.try_emplace(model.Parts()[part].content);
    if (isNew) {
      for (const Field& field : model.FieldsOf(model.Parts()[part])) {
        if (has(field)) {
          found->second.push_back(&field);
        }
      }
    }
    for (const Field* field : found->second) {
      rows.Add(part, field->variable->name, 1 + field->components);  // and the magnitude
      fields.push_back({part, field});
    }
  }
  return fields;
}

std::vector<FieldOfPart> SelectFields(const Model& model, const Selection& selection) {
  const std::vector<std::size_t> parts = SelectParts(model, selection.parts);
  const std::vector<std::string_view> results = SelectResults(model, selection.results);
  const SelectedSteps steps(model, selection.steps);
  if (!selection.steps.empty() && steps.Has(std::nullopt) && !model.HasFieldWithoutStep()) {
    RaiseNoMatch("step", "", NamesOf(model.Steps(), &Step::text));  // meshes are no fields
  }
  return FieldsOfParts(model, parts, [&](const Field& field) {
    return steps.Has(field.step) && std::ranges::binary_search(results, field.result);
  });
}

}  // namespace LbtTev::Analysis
