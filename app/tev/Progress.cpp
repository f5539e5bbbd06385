#include "tev/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <string_view>

#include "tev/VisibleText.h"

namespace {

constexpr std::string_view kEraseLine = "\r\x1b[K";

std::size_t TerminalColumns() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return isKnown ? size.ws_col : kUsual;
}

}  // namespace

std::string ProgressText(std::size_t done, std::size_t files, const std::string& path,
                         std::size_t columns) {
  return FirstColumns(std::to_string(done) + " of " + std::to_string(files) +
                          " files done, at work on " + VisibleText(path),
                      columns);
}

Progress::Progress(std::size_t files)
    : files_(files), isWanted_(files > 1 && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { Clear(); }

void Progress::Show(std::size_t done, const std::string& path) {
  if (!isWanted_) {
    return;
  }
  // One column stays free, so that no terminal wraps. The cursor goes back to the start:
  // a line that a library writes by itself then stands at the margin.
  std::cerr << kEraseLine << ProgressText(done, files_, path, TerminalColumns() - 1) << '\r'
            << std::flush;
  isShown_ = true;
}

void Progress::Clear() {
  if (isShown_) {
    std::cerr << kEraseLine << std::flush;
    isShown_ = false;
  }
}
