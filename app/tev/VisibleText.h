#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// "text" as it may go to a terminal: every control character, every mark that changes the
/// direction of text and every byte that is no part of valid UTF-8 is written out, as "\x1b".
/// Models come from anywhere, and a name must not move the cursor or retitle the window.
[[nodiscard]] std::string VisibleText(std::string_view text);

/// The text of JSON with "\u0085" for the characters that VisibleText writes out and JSON allows.
[[nodiscard]] std::string EscapedForJson(std::string_view json);

/// Whether "text" stands in JSON as it is.
[[nodiscard]] bool IsPlainInJson(std::string_view text);

/// "text" between double quotes, made visible.
[[nodiscard]] std::string QuotedText(std::string_view text);

/// "text" without the line feeds at its end, those within replaced by blanks.
[[nodiscard]] std::string OneLine(std::string_view text);

/// How many columns of a terminal valid UTF-8 takes.
[[nodiscard]] std::size_t WidthOf(std::string_view text);

/// What of valid UTF-8 fits into "columns". Marks stay with their character.
[[nodiscard]] std::string FirstColumns(std::string_view text, std::size_t columns);
