#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Tev/Check/Finding.h"
#include "StreamMap.h"

namespace LbtTev::Check {

/// Opens a container. What is wrong with its header goes to "sink", and the result is
/// false then. Throws where the file cannot be opened.
[[nodiscard]] bool CheckHeader(LbtLbf::LbFile& file, const std::string& path, bool& wideOffsets,
                               const FindingSink& sink);

/// Reads the index. False where that cannot be done.
[[nodiscard]] bool CheckIndex(LbtLbf::LbFile& file, const FindingSink& sink);

/// Checks all blocks, each by itself.
[[nodiscard]] std::vector<CheckedBlock> CheckBlocks(LbtLbf::LbFile& file, const FindingSink& sink);

/// The block that zlib has refused, where an exception tells of that.
[[nodiscard]] std::optional<LbtLbf::NumberedBlock> RefusedBlock(const std::exception& exception,
                                                                const LbtLbf::LbFile& file);

/// What an exception tells on reading from "file", in words that stand after a colon. Only for use
/// in its handler: a lack of memory that is none for a block tells nothing of the file, and is
/// thrown on.
[[nodiscard]] std::string ReasonOf(const std::exception& exception, const LbtLbf::LbFile& file);

}  // namespace LbtTev::Check
