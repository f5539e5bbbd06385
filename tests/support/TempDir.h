#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace tevtest {

/// The bytes of a file; throws std::runtime_error when it cannot be read.
[[nodiscard]] std::string ReadFile(const std::filesystem::path& path);

/// Creates or truncates a file; throws std::runtime_error when it cannot be written whole.
void WriteFile(const std::filesystem::path& path, std::string_view bytes);

/// A scratch directory of its own, removed with everything in it at the end of its life.
///
/// It lies in the directory named by TEST_TMPDIR, else in the system's temporary one.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
  /// The path of "name" in the directory, whether it exists or not.
  [[nodiscard]] std::string operator/(std::string_view name) const;

  /// Writes "name" in the directory and returns its path.
  std::string Write(std::string_view name, std::string_view bytes) const;
  [[nodiscard]] std::string Read(std::string_view name) const;
  [[nodiscard]] bool Has(std::string_view name) const;
  /// The number of entries in the directory itself.
  [[nodiscard]] std::size_t EntryCount() const;

  /// Makes a directory below this one and returns its path.
  std::string MakeDirectory(std::string_view name) const;
  /// Lets every user enter and read, and write too if "writable": for programs that run as another.
  void OpenToAll(bool writable) const;

 private:
  std::filesystem::path path_;
};

}  // namespace tevtest
