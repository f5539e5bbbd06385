#pragma once

#include <string>

#include "Lbt/Tev/Check/Finding.h"

namespace LbtTev::Check {

/// Checks a model file: inflates every block, reads every record and loads every variable, and
/// tests what reading a model takes without a word. Of a stream that is read from front to
/// back, nothing is read after its first failure; all other checks go on. No findings: sound.
///
/// Takes time in proportion to what the blocks hold, and memory for the tree and one variable,
/// however much is wrong. Throws where the file cannot be opened.
void CheckModel(const std::string& path, const FindingSink& sink);

}  // namespace LbtTev::Check
