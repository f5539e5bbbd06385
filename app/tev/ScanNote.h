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

  /// Throws a Failure where another scan holds it, where it cannot be made, and where a file of its
  /// name is none.
  explicit ScanNote(const std::string& catalogue);
  /// Takes the file away where there is nothing noted.
  ~ScanNote();
  ScanNote(const ScanNote&) = delete;
  ScanNote& operator=(const ScanNote&) = delete;

  /// What the last scan was reading when it ended.
  [[nodiscard]] std::optional<Entry> Left() const;

  /// A path that is longer than any that most systems open is not noted.
  void Begin(const FileStamp& stamp, std::string_view path);
  void End();

 private:
  static constexpr std::size_t kLongestPath = 8192;
  static constexpr std::array<char, 8> kMagic{'t', 'e', 'v', 's', 'c', 'a', 'n', '1'};

  /// What the file holds. Its length is set last, and cleared first.
  struct Contents {
    std::array<char, 8> magic{};
    std::size_t length = 0;
    FileStamp stamp{};
    std::array<char, kLongestPath> path{};
  };

  [[nodiscard]] bool TryToHold();
  void Map();

  std::string path_;
  int descriptor_ = -1;
  Contents* contents_ = nullptr;
};
