#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <ostream>
#include <string_view>

#include "Lbt/Util/NumberText.h"

namespace Lbt::Util {

/// Collects text for a stream and hands it on in large pieces: writing numbers costs
/// their digits, not a call into the stream for each.
class TextBuffer {
 public:
  /// Writes to "stream", which must outlive the buffer.
  explicit TextBuffer(std::ostream& stream);

  /// Hands on what is left. Never throws: a stream that is set to throw shows a failure
  /// in its state alone, so call Flush() before where that matters.
  ~TextBuffer();
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  TextBuffer& Add(std::string_view text);

  /// Appends a number: int, unsigned int or float.
  template <class Number>
  TextBuffer& AddNumber(Number value) {
    return Add(NumberText(value).View());
  }

  /// Appends a blank indent of four columns and a number, right-aligned in a field of
  /// "width" columns, which is at most kWidest.
  template <class Number>
  TextBuffer& AddColumn(Number value, std::size_t width) {
    const NumberText text(value);
    char* column = RoomForColumn();
    std::memset(column, ' ', kIndent + kWidest);
    const std::size_t size = text.View().size();
    const std::size_t used = kIndent + (size < width ? width - size : 0);
    std::memcpy(column + used, text.View().data(), NumberText::kRoom);
    used_ += used + size;
    return *this;
  }

  /// Hands on all that is collected. Throws where the stream is set to throw.
  void Flush();

 private:
  static constexpr std::size_t kIndent = 4;
  static constexpr std::size_t kWidest = 12;
  static constexpr std::size_t kColumnRoom = kIndent + kWidest + NumberText::kRoom;
  static constexpr std::size_t kRoom = std::size_t{256} * 1024;

  [[nodiscard]] char* RoomForColumn() {
    if (kRoom - used_ < kColumnRoom) {
      Flush();
    }
    return room_.get() + used_;
  }

  std::ostream* stream_;
  std::unique_ptr<char[]> room_;
  std::size_t used_ = 0;
};

}  // namespace Lbt::Util
