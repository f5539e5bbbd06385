// Which file may include which, by the layers that they stand in.

#include "IncludeRules.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace layout {

namespace {

struct Place {
  std::string_view prefix;
  Layer layer;
};

// Longer prefixes first: the rooms stand inside the folder of the tev layer.
constexpr std::array kHeaderPlaces{
    Place{"Lbt/Tev/TevInfo/", Layer::Report},
    Place{"Lbt/Tev/Check/", Layer::Check},
    Place{"Lbt/Tev/Analysis/", Layer::Analysis},
    Place{"Lbt/Tev/Exchange/", Layer::Exchange},
    Place{"Lbt/Tev/View/", Layer::View},
    Place{"Lbt/Tev/", Layer::Tev},
    Place{"Lbt/Adt/", Layer::Adt},
    Place{"Lbt/Lbf/", Layer::Lbf},
    Place{"Lbt/Log/", Layer::Log},
    Place{"Lbt/Util/", Layer::Util},
    Place{"TevInfo/", Layer::App},
    Place{"tev/", Layer::App},
};

constexpr std::array kTestPlaces{
    Place{"util/", Layer::Util},         Place{"log/", Layer::Log},
    Place{"lbf/", Layer::Lbf},           Place{"adt/", Layer::Adt},
    Place{"tev/", Layer::Tev},           Place{"report/", Layer::Report},
    Place{"check/", Layer::Check},       Place{"analysis/", Layer::Analysis},
    Place{"exchange/", Layer::Exchange}, Place{"view/", Layer::View},
    Place{"app/", Layer::App},           Place{"run/", Layer::None},
    Place{"layout/", Layer::None},       Place{"support/", Layer::None},
    Place{"sweep/", Layer::App},         Place{"install/", Layer::Library},
    Place{"fuzz/", Layer::None},
};

// Fuzzers and benchmarks stand on the library, as a program does, but never on a program. The
// module for Python tells what the program does, and stands on its parts. What packs the page for
// the view stands on nothing.
constexpr std::array kFolders{
    Place{"app/", Layer::App},      Place{"python/", Layer::App}, Place{"bench/", Layer::Library},
    Place{"fuzz/", Layer::Library}, Place{"view/", Layer::None},
};

/// The layer of the first place that the text begins with.
template <class Places>
std::optional<Layer> Find(const Places& places, std::string_view text) {
  const auto found = std::find_if(places.begin(), places.end(), [text](const Place& place) {
    return text.starts_with(place.prefix);
  });
  return found == places.end() ? std::nullopt : std::optional(found->layer);
}

std::optional<std::string_view> After(std::string_view prefix, std::string_view text) {
  return text.starts_with(prefix) ? std::optional(text.substr(prefix.size())) : std::nullopt;
}

void SkipBlanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// What a line includes, without its quotes or brackets.
std::optional<std::string_view> IncludedBy(std::string_view line) {
  for (const std::string_view part : {"#", "include"}) {
    SkipBlanks(line);
    if (!line.starts_with(part)) {
      return std::nullopt;
    }
    line.remove_prefix(part.size());
  }
  SkipBlanks(line);
  if (line.empty() || (line.front() != '"' && line.front() != '<')) {
    return std::nullopt;
  }
  const char end = line.front() == '<' ? '>' : '"';
  return line.substr(1, line.find(end, 1) - 1);
}

bool IsTest(std::string_view path) { return path.starts_with("tests/"); }

bool LeavesItsRoot(std::string_view included) {
  return included.starts_with('/') || included.starts_with("../") ||
         included.find("/../") != std::string_view::npos;
}

bool IsFramework(std::string_view included) {
  return included.starts_with("gtest/") || included.starts_with("gmock/");
}

/// Fuzzers and benchmarks make their models with the helpers of the tests.
bool MayUseHelpers(std::string_view path) {
  return IsTest(path) || path.starts_with("bench/") || path.starts_with("fuzz/");
}

bool IsForTests(std::string_view path, std::string_view included) {
  return (IsFramework(included) && !IsTest(path)) ||
         (included.starts_with("support/") && !MayUseHelpers(path));
}

bool IsRoom(Layer layer) { return layer >= Layer::Report && layer <= Layer::View; }

/// Whether a file of one layer may include headers of another one.
bool Sees(Layer layer, Layer other) {
  const bool isBelow =
      (layer == Layer::Exchange || layer == Layer::View) && other == Layer::Analysis;
  return other == layer || isBelow || (other < layer && !(IsRoom(layer) && IsRoom(other)));
}

/// What is wrong with an include; empty where it is allowed.
std::string FaultOf(std::string_view path, Layer layer, std::string_view included) {
  const std::string quoted = "\"" + std::string(included) + "\"";
  if (LeavesItsRoot(included)) {
    return quoted + " goes around the include roots";
  }
  if (IsForTests(path, included)) {
    return quoted + " is for tests only";
  }
  const std::optional<Layer> other = Find(kHeaderPlaces, included);
  if (!other && included.starts_with("Lbt/")) {
    return quoted + " is in no layer";
  }
  if (other && !Sees(layer, *other)) {
    return "layer " + std::string(NameOf(layer)) + " includes " + quoted + " of layer " +
           std::string(NameOf(*other));
  }
  return {};
}

}  // namespace

std::string_view NameOf(Layer layer) {
  constexpr std::array<std::string_view, 13> kNames{
      "none",  "util",     "log",      "lbf",  "adt",     "tev", "report",
      "check", "analysis", "exchange", "view", "library", "app"};
  return kNames.at(static_cast<std::size_t>(layer));
}

std::optional<Layer> LayerOfFile(std::string_view path) {
  if (const auto layer = Find(kFolders, path)) {
    return layer;
  }
  if (const auto test = After("tests/", path)) {
    return Find(kTestPlaces, *test);
  }
  for (const std::string_view root : {"include/", "src/"}) {
    if (const auto file = After(root, path); file && file->starts_with("Lbt/")) {
      return Find(kHeaderPlaces, *file);
    }
  }
  return std::nullopt;
}

std::string Describe(const Violation& violation) {
  return violation.path + ":" + std::to_string(violation.line) + ": " + violation.what;
}

std::vector<Violation> CheckIncludes(std::string_view path, std::string_view text) {
  const std::optional<Layer> layer = LayerOfFile(path);
  if (!layer) {
    return {{std::string(path), 0, "is in no layer"}};
  }
  std::vector<Violation> violations;
  for (std::size_t line = 1; !text.empty(); ++line) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    if (const auto included = IncludedBy(text.substr(0, length))) {
      if (std::string fault = FaultOf(path, *layer, *included); !fault.empty()) {
        violations.push_back({std::string(path), line, std::move(fault)});
      }
    }
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return violations;
}

std::vector<std::string> SourcesBelow(const std::filesystem::path& root,
                                      const std::string& folder) {
  std::vector<std::string> paths;
  if (!std::filesystem::exists(root / folder)) {
    return paths;
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
    const std::filesystem::path extension = entry.path().extension();
    if (entry.is_regular_file() && (extension == ".h" || extension == ".cpp")) {
      paths.push_back(entry.path().lexically_relative(root).generic_string());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string TextOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace layout
