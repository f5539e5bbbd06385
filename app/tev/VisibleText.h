#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
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

/// "1 node", "2 nodes".
[[nodiscard]] std::string Counted(std::uint64_t count, const std::string& what);

/// A count that a model tells of, "1 node", or "- nodes" where it is unknown.
[[nodiscard]] std::string CountedOrDash(const std::optional<double>& count,
                                        const std::string& what);

/// The number of a double, or of a float, in the shortest text that reads back as it; "nan", "inf"
/// and "-inf" else.
[[nodiscard]] std::string ExactText(double number);
[[nodiscard]] std::string ExactText(float number);

/// The same, but whole numbers without an exponent.
[[nodiscard]] std::string NumberText(double number);

/// A number, or "-" where there is none.
[[nodiscard]] std::string NumberOrDash(const std::optional<double>& number);

/// How many nodes an element has, on average: "4", "4.25".
[[nodiscard]] std::string MeanText(double mean);

/// The same with what it is a mean of: "4.25 nodes", "1 node".
[[nodiscard]] std::string MeanNodesText(double mean);

/// How many columns of a terminal a printable character takes: two for the wide ones of
/// East Asian scripts and pictographs, none for marks that stand on the character before
/// them and for invisible ones, one for every other.
[[nodiscard]] std::size_t ColumnsOf(std::uint32_t point);
