#pragma once

#include <optional>
#include <string>

#include "Lbt/Util/FileAccess.h"

/// A file that is written without a name and takes the place of another one when it is whole: of
/// runs that write one file at the same time, one leaves its own, and a run that fails leaves the
/// file that was there.
class WholeFile {
 public:
  /// None where "path" cannot be replaced so that nobody notices but by what is in it: a link or
  /// what is no regular file, a file of several names, of somebody else or that may not be written,
  /// "spared", a folder that takes no new file. Such a path can still be opened.
  [[nodiscard]] static std::optional<WholeFile> ForReplacing(
      const std::string& path, std::optional<Lbt::Util::FileIdentity> spared);

  ~WholeFile();
  WholeFile(WholeFile&& other) noexcept;
  WholeFile& operator=(WholeFile&& other) noexcept;
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  /// To be written to; it stays the file's own.
  [[nodiscard]] int Descriptor() const { return descriptor_; }

  /// Puts the file in its place: by its name, or where the system does not let it have one, by its
  /// text. Whether it is there.
  [[nodiscard]] bool PutInPlace();

 private:
  WholeFile(std::string path, std::optional<Lbt::Util::FileIdentity> spared, int descriptor);

  [[nodiscard]] bool TakeName() const;
  [[nodiscard]] bool CopyText() const;

  std::string path_;
  std::optional<Lbt::Util::FileIdentity> spared_;
  int descriptor_;  // -1 after a move
};
