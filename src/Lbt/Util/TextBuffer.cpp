// Collects text and hands it on in large pieces.

#include "Lbt/Util/TextBuffer.h"

#include <utility>

namespace Lbt::Util {

TextBuffer::TextBuffer(std::ostream& stream)
    : stream_(&stream), room_(std::make_unique_for_overwrite<char[]>(kRoom)) {}

TextBuffer::~TextBuffer() {
  try {
    Flush();
  } catch (...) {
    return;
  }
}

TextBuffer& TextBuffer::Add(std::string_view text) {
  if (text.size() > kRoom - used_) {
    Flush();
  }
  if (text.size() > kRoom) {
    stream_->write(text.data(), static_cast<std::streamsize>(text.size()));
    return *this;
  }
  std::memcpy(room_.get() + used_, text.data(), text.size());
  used_ += text.size();
  return *this;
}

void TextBuffer::Flush() {
  // Handed on also where the stream throws, or the destructor would write it again.
  const auto size = static_cast<std::streamsize>(std::exchange(used_, 0));
  stream_->write(room_.get(), size);
}

}  // namespace Lbt::Util
