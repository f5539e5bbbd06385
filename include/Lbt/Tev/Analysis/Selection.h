#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"

namespace LbtTev::Analysis {

/// Whether the whole of "text" fits a shell glob: "*" stands for any characters, "?" for one,
/// "[a-z]" for one of those, "[!a-z]" for one of the others. Characters are those of UTF-8.
[[nodiscard]] bool FitsGlob(std::string_view text, std::string_view glob);

/// What of a model is asked for, as patterns; no pattern means all.
///
/// A name that matches exactly wins over the same text read as a glob. A number matches a
/// part's id, too, and the empty step the fields and meshes without one.
struct Selection {
  std::vector<std::string> parts{};
  std::vector<std::string> results{};
  std::vector<std::string> steps{};
};

/// The steps that were asked for; all where there is no pattern.
class SelectedSteps {
 public:
  /// Throws as the functions below.
  SelectedSteps(const Model& model, std::span<const std::string> patterns);

  [[nodiscard]] bool Has(std::optional<std::size_t> step) const;

  /// Of the steps at which a part has a variable of its own those that were asked for; where it
  /// has one without a step, all that were chosen, since it is the one of every other step then.
  /// "own" is sorted, and what is returned is, too.
  [[nodiscard]] std::vector<std::optional<std::size_t>> At(
      std::span<const std::optional<std::size_t>> own) const;

 private:
  bool isAll_ = false;
  std::vector<std::optional<std::size_t>> chosen_;  // sorted; none is what has no step
};

/// Indices of the parts that fit any of the patterns, in ascending order.
///
/// This and the functions below throw "Element Not Found" for a pattern that fits nothing,
/// with a text that names what there is and what comes nearest.
[[nodiscard]] std::vector<std::size_t> SelectParts(const Model& model,
                                                   std::span<const std::string> patterns);

/// Names of the results that fit any of the patterns, in byte order. Of the names in
/// "further", which are no results, each may be asked for exactly as it is.
[[nodiscard]] std::vector<std::string_view> SelectResults(
    const Model& model, std::span<const std::string> patterns,
    std::span<const std::string_view> further = {});

/// A field and the index of its part.
struct FieldOfPart {
  std::size_t part = 0;
  const Field* field = nullptr;
};

/// Counts what rows about parts repeat of a model as one request: a field of a geometry that
/// another part has shown already, and names with what they have beyond 1,024 bytes. Any number of
/// shapes may name one geometry.
class RepeatedRows {
 public:
  explicit RepeatedRows(const Model& model);

  /// To be called for each row before it takes memory, with how many lines it may have and what
  /// they name beside the part. Throws "Out of Bounds" ("The model refers to its data too often").
  void Add(std::size_t part, std::string_view name, std::size_t lines = 1);

  /// The same for a row that shows again what its part has shown.
  void AddAgain(std::size_t part, std::string_view name);

 private:
  void Charge(const Part& row, std::string_view name, std::size_t lines, bool isRepeated);

  const Model* model_;
  ModelStream* light_;
  ModelStream::Request request_;
  std::vector<std::optional<std::size_t>> firstPartOf_;  // by content
};

/// The mesh of a part at a step.
struct MeshOfPart {
  std::size_t part = 0;
  std::optional<std::size_t> step;
  MeshVariables mesh;
};

/// The meshes of these parts that have a variable of that role, at the steps that SelectedSteps::At
/// tells. Throws what RepeatedRows does.
[[nodiscard]] std::vector<MeshOfPart> MeshesOfParts(const Model& model,
                                                    std::span<const std::size_t> parts,
                                                    const SelectedSteps& steps, MeshRole role);

/// The fields of these parts for which "has" is true, part by part as they are stored. Throws what
/// RepeatedRows does.
[[nodiscard]] std::vector<FieldOfPart> FieldsOfParts(const Model& model,
                                                     std::span<const std::size_t> parts,
                                                     const std::function<bool(const Field&)>& has);

/// All fields that a selection asks for, as above.
[[nodiscard]] std::vector<FieldOfPart> SelectFields(const Model& model, const Selection& selection);

/// The one of "names" that takes the fewest changes of characters to be "name", one that begins
/// with it above all others; empty where all would be quite another name. The case of letters is no
/// change.
[[nodiscard]] std::string_view NearestName(std::string_view name,
                                           std::span<const std::string_view> names);

/// What to tell of a pattern that fits none of "names", which are of a "kind": what there is, ten
/// at most, and what comes nearest.
[[nodiscard]] std::string NoMatchText(const char* kind, std::string_view pattern,
                                      std::span<const std::string_view> names);

}  // namespace LbtTev::Analysis
