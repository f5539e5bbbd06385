#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Tev/BlockVersionedIo.h"
#include "Lbt/Tev/RootFacts.h"
#include "Lbt/Tev/TevInfo/TevDataset.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

/// The name of the solver format that a model file's name indicates, by its extension;
/// "Unknown Format" where it indicates none. The file is not opened.
[[nodiscard]] std::string GetModelFileFormat(const std::string& path);

/// The same for a results file: there ".dat" is a Fluent solution, not a Nastran deck.
[[nodiscard]] std::string GetResultsFileFormat(const std::string& path);

namespace LbtTev::Report {

/// Thrown where a shape's first child exists and is no geometry: a broken invariant
/// of the model, not a failure of its reading. No std::exception, so that no handler of
/// failures takes it for one; a program that does not catch it ends.
struct GeometryAssertion {
  /// What does not hold.
  static constexpr const char* kExpression = "0 != pTevGeometry";
};

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

/// All that a report tells of a model, before it is written in one form or another.
struct ModelFacts {
  std::string version;                     ///< of the container
  std::optional<std::uint64_t> fileBytes;  ///< none where the file is closed
  std::string fileSize;                    ///< with its unit, as text
  std::vector<LbtTev::ModifierInfo> modifiers;
  LbtUtil::AttributeMap rootAttributes;
  NativeFile modelFile;
  NativeFile resultsFile;
  std::optional<LbtUtil::AttributeValue> numberOfNodes;
  std::optional<LbtUtil::AttributeValue> numberOfElements;
  SummaryFacts summary;
  std::vector<TevDataset> datasets;  ///< the numbers of all variables, where they are wanted
  /// What ended the gathering before its end, in the order in which it happened: each a
  /// std::exception. The facts that were gathered until then stand.
  std::vector<std::exception_ptr> failures;
  /// Whether memory ran out or the system refused a read: the model may well be sound.
  bool isMachineAtFault = false;
};

/// Whether facts are gathered with the numbers of all variables, which a dump needs.
enum class Numbers { Left, Wanted };

/// Gathers the facts of a loaded model. A failure on the way becomes one of the facts:
/// "Element Not Found" for a shape without a first child, "Out of Bounds" where the data
/// sets repeat names too often, and what loading numbers throws. Throws GeometryAssertion.
[[nodiscard]] ModelFacts GatherModelFacts(const LbtTev::Tree& tree,
                                          Numbers numbers = Numbers::Left);

}  // namespace LbtTev::Report
