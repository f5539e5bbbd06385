#pragma once

#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "BlockSurvey.h"
#include "FindingLog.h"
#include "Lbt/Lbf/LbFile.h"

namespace LbtTev::Check {

/// Reads the index. False where that cannot be done.
[[nodiscard]] bool CheckIndex(LbtLbf::LbFile& file, FindingLog& log);

/// Tells of a version text that is no number.
void CheckVersion(const std::string& version, FindingLog& log);

/// Tells what nothing reads: bytes of the index, streams of other names, bytes after the last
/// block.
void CheckUnused(const LbtLbf::LbFile& file, const std::vector<CheckedBlock>& blocks,
                 FindingLog& log);

/// The block that zlib has refused, where an exception tells of that.
[[nodiscard]] std::optional<LbtLbf::NumberedBlock> RefusedBlock(const std::exception& exception,
                                                                const LbtLbf::LbFile& file);

/// What an exception tells on reading from "file", in words that stand after a colon. Only for use
/// in its handler: a lack of memory tells nothing of the file, and is thrown on.
[[nodiscard]] std::string ReasonOf(const std::exception& exception, const LbtLbf::LbFile& file);

}  // namespace LbtTev::Check
