#pragma once

#include <string>
#include <string_view>

namespace LbtTev::Exchange {

/// "text" as it may stand in XML, also in attributes and in comments, as UTF-8: with entities, and
/// U+FFFD for what XML or UTF-8 cannot hold.
[[nodiscard]] std::string XmlText(std::string_view text);

/// A number in the shortest text that reads back as it.
[[nodiscard]] std::string NumberIn(double number);

}  // namespace LbtTev::Exchange
