#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace LbtTev::View {

/// Texts and lines on pixels, by cairo, which must be there (PictureFault). What throws throws
/// "Write Error".
class Canvas {
 public:
  /// Draws on "pixels", 0xffRRGGBB row by row, which must outlive this.
  Canvas(std::span<std::uint32_t> pixels, std::size_t width, std::size_t height);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  struct Style {
    double size = 12;  ///< of letters, in pixels
    std::uint32_t colour = 0x202428;
    bool isBold = false;
  };

  /// Writes a line of text that begins at "x" and stands on "y". What does not fit into "room" is
  /// cut off.
  void Write(const std::string& text, double x, double y, double room, const Style& style);

  void FillBox(double x, double y, double width, double height, std::uint32_t colour);

  /// A ring with a light edge on both sides, seen on every colour.
  void DrawRing(double x, double y, double radius, std::uint32_t colour);

  /// The pixels as a file of PNG.
  [[nodiscard]] std::string Png();

 private:
  struct Handles;
  std::unique_ptr<Handles> handles_;
};

}  // namespace LbtTev::View
