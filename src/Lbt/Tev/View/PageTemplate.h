#pragma once

#include <string>

namespace LbtTev::View {

/// The page without a model, with marks for what it lacks: @TITLE@ twice, @PICTURE@ and @BLOCKS@,
/// in this order. Its source is made from the files of view/ when it is built.
[[nodiscard]] std::string PageTemplate();

}  // namespace LbtTev::View
