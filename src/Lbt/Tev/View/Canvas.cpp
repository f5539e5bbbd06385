// Draws texts and writes PNG by cairo, which is loaded at the first use: it brings a dozen
// libraries along, and no other verb of the program that links this needs them.

#include "Canvas.h"

#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/View/Picture.h"

#ifdef TEVINFO_CAIRO_LIBRARY

#include <cairo.h>
#include <dlfcn.h>

#include <algorithm>
#include <new>
#include <numbers>
#include <string_view>

#include "Lbt/Util/Utf8.h"

namespace LbtTev::View {

namespace {

/// The functions of cairo that are used here, by the names that it has for them.
class Cairo {
 public:
  static const Cairo& Get() {
    static const Cairo library;
    return library;
  }

  std::string fault;

  decltype(&cairo_image_surface_create_for_data) makeSurface{};
  decltype(&cairo_surface_destroy) freeSurface{};
  decltype(&cairo_surface_flush) flush{};
  decltype(&cairo_surface_status) statusOfSurface{};
  decltype(&cairo_surface_write_to_png_stream) writePng{};
  decltype(&cairo_create) make{};
  decltype(&cairo_destroy) free{};
  decltype(&cairo_status) status{};
  decltype(&cairo_set_source_rgb) setColour{};
  decltype(&cairo_select_font_face) setFont{};
  decltype(&cairo_set_font_size) setSize{};
  decltype(&cairo_text_extents) measure{};
  decltype(&cairo_move_to) moveTo{};
  decltype(&cairo_show_text) showText{};
  decltype(&cairo_rectangle) addBox{};
  decltype(&cairo_arc) addArc{};
  decltype(&cairo_new_path) forgetPath{};
  decltype(&cairo_fill) fill{};
  decltype(&cairo_stroke) stroke{};
  decltype(&cairo_set_line_width) setLineWidth{};

 private:
  Cairo() : handle_(dlopen(TEVINFO_CAIRO_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
      // NOLINTNEXTLINE(concurrency-mt-unsafe): pictures are drawn by one thread
      const char* reason = dlerror();
      fault = std::string("cairo cannot be loaded: ") +
              (reason != nullptr ? reason : "not enough memory");
      return;
    }
    Find("cairo_image_surface_create_for_data", makeSurface);
    Find("cairo_surface_destroy", freeSurface);
    Find("cairo_surface_flush", flush);
    Find("cairo_surface_status", statusOfSurface);
    Find("cairo_surface_write_to_png_stream", writePng);
    Find("cairo_create", make);
    Find("cairo_destroy", free);
    Find("cairo_status", status);
    Find("cairo_set_source_rgb", setColour);
    Find("cairo_select_font_face", setFont);
    Find("cairo_set_font_size", setSize);
    Find("cairo_text_extents", measure);
    Find("cairo_move_to", moveTo);
    Find("cairo_show_text", showText);
    Find("cairo_rectangle", addBox);
    Find("cairo_arc", addArc);
    Find("cairo_new_path", forgetPath);
    Find("cairo_fill", fill);
    Find("cairo_stroke", stroke);
    Find("cairo_set_line_width", setLineWidth);
  }

  template <class Function>
  void Find(const char* name, Function& function) {
    // What dlsym returns is a function, as POSIX has it.
    function = reinterpret_cast<Function>(dlsym(handle_, name));  // NOLINT(*-reinterpret-cast)
    if (function == nullptr && fault.empty()) {
      fault = std::string("cairo lacks ") + name;
    }
  }

  void* handle_;
};

[[noreturn]] void RaiseFault(const char* text) {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::WriteError, text,
                  "include/Lbt/Tev/View/Picture");
}

/// One line of at most so many characters, without what controls a terminal. Names come from
/// anywhere and may be of any length.
std::string PlainLine(std::string_view text, std::size_t most) {
  std::string line;
  for (std::size_t count = 0; !text.empty() && count < most; ++count) {
    const auto [length, point] = Lbt::Util::FirstOfUtf8(text);
    const bool isControl = point < 0x20 || (point >= 0x7f && point < 0xa0);
    if (length == 0) {
      line += Lbt::Util::ValidUtf8(text.substr(0, 1));
    } else {
      line += isControl ? " " : text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return line;
}

std::size_t CharactersIn(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U; }));
}

}  // namespace

struct Canvas::Handles {
  cairo_surface_t* surface = nullptr;
  cairo_t* drawing = nullptr;

  void SetColour(std::uint32_t colour) const {
    constexpr double kMost = 255;
    Cairo::Get().setColour(drawing, static_cast<double>(colour >> 16 & 0xffU) / kMost,
                           static_cast<double>(colour >> 8 & 0xffU) / kMost,
                           static_cast<double>(colour & 0xffU) / kMost);
  }

  [[nodiscard]] double WidthOf(const std::string& text) const {
    cairo_text_extents_t extents{};
    Cairo::Get().measure(drawing, text.c_str(), &extents);
    return extents.x_advance;
  }

  /// The beginning of a text that fits.
  [[nodiscard]] std::string Fitting(const std::string& text, double room) const {
    constexpr std::size_t kMost = 400;
    std::string line = PlainLine(text, kMost + 1);
    if (CharactersIn(line) <= kMost && WidthOf(line) <= room) {
      return line;
    }
    std::size_t fits = 0;
    for (std::size_t tooMany = CharactersIn(line) + 1; tooMany - fits > 1;) {
      const std::size_t middle = (fits + tooMany) / 2;
      (WidthOf(PlainLine(line, middle) + "\u2026") <= room ? fits : tooMany) = middle;
    }
    return fits == 0 ? "" : PlainLine(line, fits) + "\u2026";
  }
};

std::string PictureFault() { return Cairo::Get().fault; }

Canvas::Canvas(std::span<std::uint32_t> pixels, std::size_t width, std::size_t height)
    : handles_(std::make_unique<Handles>()) {
  const Cairo& cairo = Cairo::Get();
  if (!cairo.fault.empty()) {
    RaiseFault(cairo.fault.c_str());
  }
  // Rows have no gaps: each pixel is one number.
  auto* bytes = reinterpret_cast<unsigned char*>(pixels.data());  // NOLINT(*-reinterpret-cast)
  handles_->surface =
      cairo.makeSurface(bytes, CAIRO_FORMAT_RGB24, static_cast<int>(width),
                        static_cast<int>(height), static_cast<int>(width * sizeof(std::uint32_t)));
  handles_->drawing = cairo.make(handles_->surface);
}

Canvas::~Canvas() {
  Cairo::Get().free(handles_->drawing);
  Cairo::Get().freeSurface(handles_->surface);
}

void Canvas::Write(const std::string& text, double x, double y, double room, const Style& style) {
  const Cairo& cairo = Cairo::Get();
  cairo.setFont(handles_->drawing, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                style.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo.setSize(handles_->drawing, style.size);
  handles_->SetColour(style.colour);
  cairo.moveTo(handles_->drawing, x, y);
  cairo.showText(handles_->drawing, handles_->Fitting(text, room).c_str());
  cairo.forgetPath(handles_->drawing);
}

void Canvas::FillBox(double x, double y, double width, double height, std::uint32_t colour) {
  handles_->SetColour(colour);
  Cairo::Get().addBox(handles_->drawing, x, y, width, height);
  Cairo::Get().fill(handles_->drawing);
}

void Canvas::DrawRing(double x, double y, double radius, std::uint32_t colour) {
  const Cairo& cairo = Cairo::Get();
  struct Stroke {
    double width;
    std::uint32_t colour;
  };
  for (const auto& [width, strokeColour] :
       {Stroke{radius * 0.7, 0xffffff}, Stroke{radius * 0.35, colour}}) {
    handles_->SetColour(strokeColour);
    cairo.setLineWidth(handles_->drawing, width);
    cairo.addArc(handles_->drawing, x, y, radius, 0, 2 * std::numbers::pi);
    cairo.stroke(handles_->drawing);
  }
}

std::string Canvas::Png() {
  const Cairo& cairo = Cairo::Get();
  cairo.flush(handles_->surface);
  // What fails while a text is drawn is known to the drawing alone, which goes on without a word.
  if (cairo.status(handles_->drawing) != CAIRO_STATUS_SUCCESS ||
      cairo.statusOfSurface(handles_->surface) != CAIRO_STATUS_SUCCESS) {
    RaiseFault("cairo cannot draw the picture");
  }
  std::string png;
  const auto append = [](void* to, const unsigned char* bytes, unsigned int length) {
    try {
      // NOLINTNEXTLINE(*-reinterpret-cast): bytes are the characters of a string
      static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(bytes), length);
      return CAIRO_STATUS_SUCCESS;
    } catch (const std::bad_alloc&) {  // it must not pass through a library of C
      return CAIRO_STATUS_NO_MEMORY;
    }
  };
  if (cairo.writePng(handles_->surface, append, &png) != CAIRO_STATUS_SUCCESS) {
    RaiseFault("cairo cannot write the picture");
  }
  return png;
}

}  // namespace LbtTev::View

#else

namespace LbtTev::View {

struct Canvas::Handles {};

std::string PictureFault() { return "this program was built without cairo"; }

Canvas::Canvas(std::span<std::uint32_t> /*pixels*/, std::size_t /*width*/, std::size_t /*height*/) {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::WriteError, PictureFault().c_str(),
                  "include/Lbt/Tev/View/Picture");
}
Canvas::~Canvas() = default;
void Canvas::Write(const std::string& /*text*/, double /*x*/, double /*y*/, double /*room*/,
                   const Style& /*style*/) {}
void Canvas::FillBox(double /*x*/, double /*y*/, double /*width*/, double /*height*/,
                     std::uint32_t /*colour*/) {}
void Canvas::DrawRing(double /*x*/, double /*y*/, double /*radius*/, std::uint32_t /*colour*/) {}
std::string Canvas::Png() { return {}; }

}  // namespace LbtTev::View

#endif
