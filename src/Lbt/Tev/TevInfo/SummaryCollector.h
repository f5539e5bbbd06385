#pragma once

#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/TitleAndCategory.h"
#include "Lbt/Tev/Vocabulary.h"
#include "Lbt/Util/AttributeValue.h"
#include "Lbt/Util/SharedAttributes.h"

namespace LbtTev::Report {

/// Gathers the summary as shapes and results are met: it keeps every text once, so that it does
/// not grow with the number of results.
class SummaryCollector {
 public:
  SummaryCollector() = default;
  ~SummaryCollector() = default;
  SummaryCollector(const SummaryCollector&) = delete;
  SummaryCollector& operator=(const SummaryCollector&) = delete;

  /// Takes shapes that lie under a group of that name.
  void List(std::string_view group, std::span<const std::string> shapes);

  /// Takes the attributes of one result, which its names are among.
  void Add(const LbtUtil::AttributeMap& attributes);

  /// Takes one result variable: its attributes and the parts of its name.
  void Add(const Geometry::VarStruct& variable, const VariableName& name);

  /// What has been met so far. To be asked once, at the end.
  [[nodiscard]] SummaryFacts TakeFacts();

 private:
  /// Distinct texts in ascending byte order. Ordered, since no choice of texts makes it slow.
  using Texts = std::set<std::string, std::less<>>;

  static void Insert(Texts& texts, std::string_view text);
  static void Insert(Texts& texts, const LbtUtil::AttributeValue& value);
  static void InsertInstance(Texts& texts, std::string_view name);
  void AddAll(const LbtUtil::AttributeMap& attributes, bool hasInstance);

  SummaryFacts facts_;                // what shapes tell
  LbtUtil::SharedAttributes former_;  // of the variable before
  bool formerHadInstance_ = false;
  Texts resultNames_;
  Texts instanceNames_;
  TitleAndCategory titleAndCategory_;
  Texts frequencies_;
  Texts times_;
};

}  // namespace LbtTev::Report
