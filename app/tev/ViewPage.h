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
  LbtTev::Analysis::CellRules cells{};
  bool isExact = false;                    ///< values as they are, not as steps of their range
  std::optional<std::uint64_t> maxSize{};  ///< bytes of the page
  unsigned int jobs = 1;
  std::string output{};
};

/// Writes a page that shows a model, and replaces the file of that name when it is complete. Tells
/// "writer" what is damaged, which is left out. Throws an OutputFailure, and a UsageError where the
/// page cannot be as small as is asked for.
void WriteViewPage(const LbtTev::Analysis::Model& model, const Input& input, AnswerWriter& writer,
                   const ViewPageOptions& options);
