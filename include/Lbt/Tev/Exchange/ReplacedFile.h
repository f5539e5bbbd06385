#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include "Lbt/Util/OutputStream.h"

namespace LbtTev::Exchange {

/// What a link leads to, which is what is replaced, and has beside it what belongs to it; the path
/// itself where there is nothing yet.
[[nodiscard]] std::filesystem::path TargetOf(const std::string& path);

/// Throws "Write Error" with the system's reason for the last failure of a call: "cannot write: No
/// space left on device".
[[noreturn]] void RaiseWriteError(const std::string& what);

/// Holds SIGHUP, SIGINT and SIGTERM back as long as it lives, so that what is not complete goes
/// away before they end the program. Those that are ignored stay so.
class HeldSignals {
 public:
  HeldSignals();
  ~HeldSignals();
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

 private:
  sigset_t before_{};
};

/// Throws "Write Error" where a signal is held back.
void RequireNoSignal();

/// A file that is written beside the one that it is to replace, and takes its place as a whole; or
/// goes away where it is not complete. What throws throws "Write Error".
class ReplacedFile {
 public:
  /// "path" may be a link to a file, which stays. Opens nothing where it names something else than
  /// a file; throws then.
  explicit ReplacedFile(const std::string& path);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  /// Where it is while it is written.
  [[nodiscard]] const std::string& Path() const { return temporary_; }
  [[nodiscard]] std::ostream& Stream() { return *stream_; }

  /// Gives it the rights of the file that it replaces; until then its owner may write to it.
  /// Throws where not all has been written.
  void Finish();

  /// Takes the place, after Finish.
  void Commit();

 private:
  HeldSignals held_;
  std::string path_;
  std::string temporary_;
  bool isThere_ = false;                  ///< a file that is to be replaced
  std::filesystem::perms permissions_{};  ///< of that one
  std::unique_ptr<Lbt::Util::DescriptorStream> stream_;
};

/// A folder that is filled beside the one that it is to replace.
class ReplacedFolder {
 public:
  /// An existing folder is only replaced where it has nothing but files that are named as those of
  /// an export: "f_0.vtu" in "f", for the suffix ".vtu".
  ReplacedFolder(std::string path, std::string suffix);
  ~ReplacedFolder();
  ReplacedFolder(const ReplacedFolder&) = delete;
  ReplacedFolder& operator=(const ReplacedFolder&) = delete;

  [[nodiscard]] const std::string& Path() const { return temporary_; }
  void Commit();

 private:
  void RequireOwn() const;
  [[nodiscard]] bool IsOwnName(std::string_view name) const;
  [[nodiscard]] bool Swap();
  [[nodiscard]] bool SwapByTurns();

  HeldSignals held_;
  std::string path_;
  std::string suffix_;
  std::string temporary_;
};

/// Bytes on their way into a file, which are written in any order: a file without a name in the
/// folder of the one that they are for.
class Spool {
 public:
  explicit Spool(const std::string& path);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  void Write(std::uint64_t position, std::span<const std::byte> bytes);
  /// What was never written is zero.
  void Read(std::uint64_t position, std::span<std::byte> bytes) const;

 private:
  int descriptor_ = -1;
};

}  // namespace LbtTev::Exchange
