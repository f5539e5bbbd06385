#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tev/Catalogue.h"

/// A file beside a catalogue that one scan at a time can hold, and that has which file it is
/// reading: whatever ends the scan, the next one knows. To note a file takes no system call.
class ScanNote {
 public:
  /// A file that is being read.
  struct Entry {
    FileStamp stamp{};
    std::string path;
  };

  /// Throws a Failure where another scan holds it, or where it cannot be made.
  explicit ScanNote(const std::string& catalogue);
  ~ScanNote();
  ScanNote(const ScanNote&) = delete;
  ScanNote& operator=(const ScanNote&) = delete;

  /// What the last scan was reading when it ended.
  [[nodiscard]] std::optional<Entry> Left() const;

  void Begin(const FileStamp& stamp, std::string_view path);
  void End();

  /// Takes the file away, since there is nothing more to note.
  void Remove();

 private:
  static constexpr std::size_t kLongestPath = 8192;  // more than the system opens

  /// What the file holds. Its length is set last, and cleared first.
  struct Contents {
    std::size_t length;
    FileStamp stamp;
    std::array<char, kLongestPath> path;
  };

  [[nodiscard]] bool TryToHold();
  void Map();

  std::string path_;
  int descriptor_ = -1;
  Contents* contents_ = nullptr;
};
