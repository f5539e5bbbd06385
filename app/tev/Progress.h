#pragma once

#include <cstddef>
#include <string>

/// The line on standard error that tells how far a run over several files is. Does
/// nothing for a single file, and where standard error is no terminal.
class Progress {
 public:
  explicit Progress(std::size_t files);
  /// Clears the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows that "done" files are done and that "path" is at work.
  void Show(std::size_t done, const std::string& path);

  /// Takes the line away, before anything else is written.
  void Clear();

 private:
  std::size_t files_;
  bool isWanted_;
  bool isShown_ = false;
};

/// What the line says, cut to "columns".
[[nodiscard]] std::string ProgressText(std::size_t done, std::size_t files, const std::string& path,
                                       std::size_t columns);
