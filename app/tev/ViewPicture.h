#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/View/Picture.h"
#include "tev/Answers.h"
#include "tev/Inputs.h"

/// What numbers the colours of a picture span: those of all steps, if nothing else is asked for.
struct ColourRange {
  bool isOfStep = false;
  std::optional<std::pair<double, double>> typed{};
};

/// What is asked of a picture.
struct PictureOptions {
  LbtTev::Analysis::Selection selection{};
  std::string component{};  ///< "magnitude" or a number from 1 on; empty for the usual one
  ColourRange range{};
  LbtTev::View::PictureStyle style{};
  unsigned int jobs = 1;
};

/// A picture of a model, as a PNG. Tells "writer" what is damaged, which is left out. Throws a
/// UsageError where what is asked for is not one result at one step, and a Failure where no mesh
/// can be read.
[[nodiscard]] std::string PictureOf(const LbtTev::Analysis::Model& model, const Input& input,
                                    AnswerWriter& writer, const LbtTev::Analysis::CellRules& cells,
                                    const PictureOptions& options);

/// The picture of a page, of what it shows at first, from what is loaded for the page.
class PictureOfPage {
 public:
  PictureOfPage(const LbtTev::Analysis::Model& model, const LbtTev::Analysis::CellRules& cells);
  ~PictureOfPage() = default;
  PictureOfPage(const PictureOfPage&) = delete;  // its numbers are those of its shot
  PictureOfPage& operator=(const PictureOfPage&) = delete;

  [[nodiscard]] const LbtTev::View::Shot& GetShot() const { return shot_; }

  /// To be told of every mesh, and then of every field.
  void Take(const LbtTev::Analysis::MeshOfPart& mesh, const LbtTev::View::PartSkin& skin);
  void Take(const LbtTev::Analysis::FieldOfPart& field,
            const LbtTev::Analysis::FloatTuples& tuples);

  /// A PNG, once. Empty where there is nothing to draw, or no way to.
  [[nodiscard]] std::string Draw(const Input& input,
                                 std::span<const LbtTev::View::FieldWithStatistics> fields);

 private:
  const LbtTev::Analysis::Model* model_;
  LbtTev::View::Shot shot_;
  LbtTev::View::ShownNumbers numbers_;
  std::map<std::size_t, LbtTev::Analysis::MeshVariables> wanted_;
  std::map<std::size_t, LbtTev::View::ShownPart> parts_;
};
