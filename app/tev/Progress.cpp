// Draws the line that tells how far a run is.

#include "tev/Progress.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string_view>
#include <utility>

#include "tev/VisibleText.h"

namespace {

using namespace std::chrono_literals;

constexpr std::string_view kEraseLine = "\r\x1b[K";

std::size_t TerminalColumns() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return isKnown ? size.ws_col : kUsual;
}

/// A pipe's other end most often writes to the same terminal.
bool IsOutputAPipe() {
  struct stat status {};
  return fstat(STDOUT_FILENO, &status) == 0 && S_ISFIFO(status.st_mode);
}

bool IsWanted(Progress::Mode mode) {
  return mode == Progress::Mode::Always ||
         (mode == Progress::Mode::Auto && isatty(STDERR_FILENO) == 1 && !IsOutputAPipe());
}

}  // namespace

std::string ProgressText(std::size_t done, std::optional<std::size_t> all,
                         const std::string& path) {
  return std::to_string(done) + (all ? " of " + std::to_string(*all) : "") +
         (all.value_or(done) == 1 ? " file" : " files") + " done, at work on " + VisibleText(path);
}

Progress::Progress(Mode mode, Clock clock)
    : clock_(std::move(clock)), isWanted_(IsWanted(mode)), next_(clock_()) {
  if (mode == Mode::Auto) {
    next_ += 1s;
  }
}

Progress::~Progress() { Clear(); }

void Progress::Show(std::size_t done, std::optional<std::size_t> all, const std::string& path) {
  if (isWanted_) {
    files_ = ProgressText(done, all, path);
    blocks_.clear();
    isHeld_ = false;
    Draw();
  }
}

void Progress::ShowBlocks(std::size_t done, std::size_t all) {
  if (isWanted_ && !isHeld_) {
    blocks_ = " (" + std::to_string(done) + " of " + std::to_string(all) + " blocks)";
    Draw();
  }
}

void Progress::Draw() {
  const auto now = clock_();
  if (now < next_) {
    return;
  }
  next_ = now + 100ms;
  // One column stays free, so that no terminal wraps. The cursor goes back to the start: the last
  // line of a run that runs out of memory then stands at the margin.
  const std::size_t columns = TerminalColumns() - 1;
  const std::size_t rest = columns - std::min(columns, WidthOf(blocks_));
  std::cerr << kEraseLine << FirstColumns(files_, rest) << FirstColumns(blocks_, columns) << '\r'
            << std::flush;
  isShown_ = true;
}

void Progress::Clear() {
  if (isShown_) {
    std::cerr << kEraseLine << std::flush;
    isShown_ = false;
  }
}

void Progress::Hold() {
  Clear();
  isHeld_ = true;
}
