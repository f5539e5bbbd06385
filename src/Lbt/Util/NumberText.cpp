// Numbers as the text that an output stream writes.

#include "Lbt/Util/NumberText.h"

#include <charconv>

#include "FloatDigits.h"

namespace Lbt::Util {

namespace {

constexpr int kSignificantDigits = 6;

std::size_t Length(const std::to_chars_result& result, const char* first) {
  return static_cast<std::size_t>(result.ptr - first);
}

}  // namespace

NumberText::NumberText(float value) : size_(WriteFloat(value, text_.data())) {
  if (size_ == 0) {
    *this = NumberText(static_cast<double>(value));
  }
}

NumberText::NumberText(double value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value,
                                 std::chars_format::general, kSignificantDigits),
                   text_.data())) {}

NumberText::NumberText(std::uint64_t value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value), text_.data())) {}

NumberText::NumberText(std::int64_t value)
    : size_(Length(std::to_chars(text_.data(), text_.data() + kRoom, value), text_.data())) {}

}  // namespace Lbt::Util
