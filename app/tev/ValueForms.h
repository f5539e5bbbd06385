#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// Text on its way to a stream, in large pieces.
class Rows {
 public:
  explicit Rows(std::ostream& stream) : stream_(&stream) {}
  ~Rows() { Flush(); }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  Rows& Add(std::string_view text) {
    text_ += text;
    return *this;
  }

  template <class T>
  Rows& AddNumber(T number) {
    std::array<char, 64> text{};
    const auto written = std::to_chars(text.data(), text.data() + text.size(), number);
    text_.append(text.data(), written.ptr);
    return *this;
  }

  /// The id of a node or element, where there is one.
  Rows& AddId(const std::optional<std::int32_t>& id) { return id ? AddNumber(*id) : *this; }

  void EndRow() {
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    text_ += '\n';
    if (text_.size() > kPiece) {
      Flush();
    }
  }

 private:
  void Flush() {
    stream_->write(text_.data(), static_cast<std::streamsize>(text_.size()));
    text_.clear();
  }

  std::ostream* stream_;
  std::string text_;
};

/// A cell of CSV, quoted where it has to be.
[[nodiscard]] std::string Cell(const std::string& text);

/// Writes what a file of NumPy begins with, in format 1.0: "type" as in "<f4", "shape" as in "5,
/// 3". The numbers follow it as they are in memory.
void WriteNpyHeader(std::ostream& stream, std::string_view type, const std::string& shape);

/// Numbers as they are in memory, which is little-endian here as in the file.
template <class T>
void WriteRaw(std::ostream& stream, std::span<const T> numbers) {
  const auto bytes = std::as_bytes(numbers);
  const void* start = bytes.data();
  stream.write(static_cast<const char*>(start), static_cast<std::streamsize>(bytes.size()));
}
