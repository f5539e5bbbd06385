#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Lbt/Tev/Analysis/Cells.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "tev/Answers.h"
#include "tev/Inputs.h"

/// What is asked of a page.
struct ViewPageOptions {
  bool isExact = false;                    ///< values as they are, not as steps of their range
  std::optional<std::uint64_t> maxSize{};  ///< bytes of the page
  unsigned int jobs = 1;
};

/// A page that shows a model. Tells "writer" what is damaged, which is left out. Throws a
/// UsageError where the page cannot be as small as is asked for.
[[nodiscard]] std::string PageOf(const LbtTev::Analysis::Model& model, const Input& input,
                                 AnswerWriter& writer, const LbtTev::Analysis::CellRules& cells,
                                 const ViewPageOptions& options);
