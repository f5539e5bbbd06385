#pragma once

#include <string_view>

#include "Lbt/Lbf/LbFile.h"

namespace LbtTev::Check {

/// What an open file without the signature looks like, in words that end a sentence ("a gzip
/// file"); empty where nobody knows. Throws "Read Error".
[[nodiscard]] std::string_view LookOf(LbtLbf::LbFile& file);

}  // namespace LbtTev::Check
