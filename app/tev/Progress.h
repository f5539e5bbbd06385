#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// The line on standard error that tells how far a run is: after its first second, and then every
/// tenth of one at most. Each Show and ShowBlock may draw it; nothing is drawn in between.
class Progress {
 public:
  enum class Mode : std::uint8_t {
    Auto,    ///< where standard error is a terminal and standard output is no pipe
    Always,  ///< anywhere, and from the start on
    Never,
  };
  using Clock = std::function<std::chrono::steady_clock::time_point()>;

  explicit Progress(Mode mode, Clock clock = std::chrono::steady_clock::now);
  /// Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// "done" files of "all", where that is known, are done and "path" is at work.
  void Show(std::size_t done, std::optional<std::size_t> all, const std::string& path);

  /// Of the file that is at work, "done" blocks of "all" have been read.
  void ShowBlocks(std::size_t done, std::size_t all);

  /// Takes the line away, before anything else is written.
  void Clear();

  /// The same until the next Show, while more is to be written.
  void Hold();

 private:
  void Draw();

  Clock clock_;
  bool isWanted_;
  std::chrono::steady_clock::time_point next_;  ///< when it may be drawn again
  bool isShown_ = false;
  bool isHeld_ = false;
  std::string files_;
  std::string blocks_;
};

/// What the line says of the files.
[[nodiscard]] std::string ProgressText(std::size_t done, std::optional<std::size_t> all,
                                       const std::string& path);
