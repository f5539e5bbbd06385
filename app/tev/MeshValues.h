#pragma once

#include <optional>
#include <string>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "tev/Answers.h"
#include "tev/Inputs.h"

/// Writes the faces of the parts and steps that are asked for: as CSV through "writer", a face a
/// row, or those of one mesh as two files of NumPy beside "npyOutput". Throws a UsageError where
/// nothing fits, or more than npy can hold.
void AnswerMesh(const LbtTev::Analysis::Model& model, const LbtTev::Analysis::Selection& selection,
                const Input& input, AnswerWriter& writer,
                const std::optional<std::string>& npyOutput);
