#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Lbt/Tev/ModifierInfo.h"
#include "Lbt/Tev/TevInfo/PartsAndResults.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"
#include "Lbt/Util/SharedAttributes.h"
#include "Lbt/Util/TextHash.h"

/// What a model holds, in sum.
struct SummaryFacts {
  std::optional<std::string> title;
  std::string category;  ///< the analysis, as the model says or as its results show
  std::size_t numberOfCutSections = 0;
  std::size_t numberOfIsoSurfaces = 0;
  std::size_t numberOfIsoVolumes = 0;
  std::size_t numberOfFlowLines = 0;
  /// Names of parts in tree order, as often as they occur; none where no shape lies
  /// under a group "Geometry".
  std::optional<std::vector<std::string>> parts;
  // Distinct texts in ascending byte order.
  std::vector<std::string> results;
  std::vector<std::string> instances;
  std::vector<std::string> timeSteps;
  std::vector<std::string> frequencies;
};

/// Gathers the summary as results are met: it keeps every text once, so that it does
/// not grow with the number of results.
class SummaryCollector {
 public:
  SummaryCollector() = default;
  ~SummaryCollector() = default;
  SummaryCollector(const SummaryCollector&) = delete;
  SummaryCollector& operator=(const SummaryCollector&) = delete;

  /// Takes the attributes of one result.
  void Add(const LbtUtil::AttributeMap& attributes);

  /// Takes one result variable: its attributes with the parts of its name added.
  void Add(const LbtTev::Geometry::VarStruct& variable, const VariableName& name);

  /// What has been met so far, with the names of parts from "groups".
  [[nodiscard]] SummaryFacts Facts(const GroupListing& groups) const;

 private:
  /// Distinct texts, some of which come again and again.
  struct Texts {
    std::unordered_set<std::string, Lbt::Util::TextHash, std::equal_to<>> all;
    std::array<const std::string*, 4> recent{};  ///< elements do not move
    std::size_t nextRecent = 0;
  };

  static void Insert(Texts& texts, std::string_view text);
  static void Insert(Texts& texts, const LbtUtil::AttributeValue& value);
  static void InsertInstance(Texts& texts, std::string_view name);
  void AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance);
  [[nodiscard]] std::string Category() const;

  LbtUtil::SharedAttributes last_;  // of the variable before
  bool lastHadInstance_ = false;
  Texts resultNames_;
  Texts instanceNames_;
  Texts titles_;
  Texts categories_;
  Texts frequencies_;
  Texts times_;
  bool hasMode_ = false;
  bool hasLoadCase_ = false;
};

/// Works the facts out from what GatherPartsAndResults has found.
[[nodiscard]] SummaryFacts GatherSummaryFacts(const GroupListing& groups,
                                              const ResultAttributeList& results);

/// Copies the attributes of the root, where it is a group. A failure becomes a line
/// "Exception: " with its text on standard error.
void extractRootNodeAttributes(LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes);

/// Gathers parts and results, and with the format ExtractData the data sets. A failure
/// becomes a line as above; what was gathered before it stays.
void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            ResultAttributeList& results);

/// The same with a collector in place of the list, for a report that needs only the sum.
void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, GroupListing& groups,
                            SummaryCollector& results);

/// Adds an entry for every text of a modifier record that is not empty, its key
/// followed by "suffix".
void WriteModifierInfo(TevInfo& info, const LbtTev::ModifierInfo& modifier,
                       const std::string& suffix);

/// Adds the summary entries.
void addSummary(TevInfo& info, const SummaryFacts& facts);

/// The same from the lists that extractPartsAndResults fills.
void addMiscAttributes(TevInfo& info, const GroupListing& groups,
                       const ResultAttributeList& results);

/// "names" joined with ", ".
[[nodiscard]] std::string GetNameListAsString(const std::vector<std::string>& names);
