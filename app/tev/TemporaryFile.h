#pragma once

#include <cstddef>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

/// A file without a name, which goes away with its owner. It lies in the folder that TMPDIR names,
/// else in /tmp, and is made when something is written to it.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// Appends. Throws a Failure where the file cannot be made or written.
  void Write(std::string_view bytes);

  /// Becomes a copy of all that can be read from "descriptor"; of a file, from its start. Throws as
  /// above, and where reading fails.
  void BecomeCopyOf(int descriptor);

  /// Writes all of it to "stream". Throws a Failure where reading fails.
  void CopyTo(std::ostream& stream) const;

  /// Leaves nothing in it.
  void Clear();

  /// A path that this process can open it by.
  [[nodiscard]] std::string Path() const;

 private:
  void Make();

  int descriptor_ = -1;
};

/// Keeps what is written until it is wanted: little of it in memory, much in a temporary file.
class HeldText : public std::streambuf {
 public:
  /// Writes all that is held to "stream".
  void CopyTo(std::ostream& stream) const;

  void Clear();

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* text, std::streamsize count) override;

 private:
  std::string memory_;  ///< what comes after what is in the file
  TemporaryFile file_;
};
