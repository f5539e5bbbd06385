#pragma once

#include <string>
#include <string_view>

namespace tevtest {

/// Whether the line number of an exception or a log record is to be compared.
enum class LineNumber { Masked, Kept };

/// Replaces the number of "Peak Memory Usage: N Mb" lines by "#".
[[nodiscard]] std::string MaskPeakMemory(std::string_view text);

/// Replaces the time of "       Time : ..." lines by "#", if it has the form of a calendar time
/// such as "Mon Mar  4 09:12:44 2024", and, unless it is to be kept, the number of
/// "       Line : N " lines.
[[nodiscard]] std::string MaskException(std::string_view text,
                                        LineNumber line = LineNumber::Masked);

/// Replaces the line number of every log line, "Base : N @ message", by "#".
[[nodiscard]] std::string MaskLog(std::string_view text);

/// The text of an exception as MaskException leaves it. "line" is "#" or the number expected.
[[nodiscard]] std::string ExpectedException(std::string_view typeName, std::string_view description,
                                            std::string_view file, std::string_view line = "#");

/// What a program that ends by that exception writes on standard error, masked alike.
[[nodiscard]] std::string ExpectedFailure(std::string_view typeName, std::string_view description,
                                          std::string_view file, std::string_view line = "#");

}  // namespace tevtest
