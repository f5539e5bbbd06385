#pragma once

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "Lbt/Lbf/Block.h"
#include "Lbt/Lbf/Index.h"
#include "support/ContainerWriter.h"
#include "support/TempDir.h"

namespace tevtest {

inline constexpr std::string_view kBlockHeader = "include/Lbt/Lbf/Block";
inline constexpr std::string_view kIndexHeader = "include/Lbt/Lbf/Index";
inline constexpr std::string_view kLbFileHeader = "include/Lbt/Lbf/LbFile";

/// What a plain std::exception is, for FailureOf.
inline constexpr std::string_view kPlainException = "std::exception";

/// How "action" failed: the whole text of the project's exception with time and line masked,
/// kPlainException for an exception of no type of its own, or nothing where it returned.
template <class Action>
[[nodiscard]] std::string FailureOf(Action action);

// The texts that FailureOf gives for the failures of this layer.
[[nodiscard]] std::string NotEnoughBytes();
[[nodiscard]] std::string InvalidPosition();
[[nodiscard]] std::string UnableToRead(std::string_view header = kBlockHeader);
[[nodiscard]] std::string NoMemory();
[[nodiscard]] std::string NotFound();

/// The lines logged since the last call, line numbers masked: every record ("TakeLog"), or those of
/// level 2000 only ("TakeErrorLog"). The first call of either starts the recording.
[[nodiscard]] std::string TakeLog();
[[nodiscard]] std::string TakeErrorLog();

/// Sets environment variables of the container layer, and takes that back at the end, the
/// process-wide block size that they set included.
class SizeVariables {
 public:
  static constexpr const char* kDefaultSize = "PRAMO_DEFAULT_TEV_BLOCK_SIZE";
  static constexpr const char* kMaxSize = "PRAMO_MAX_TEV_BLOCK_SIZE";

  SizeVariables();
  ~SizeVariables();
  SizeVariables(const SizeVariables&) = delete;
  SizeVariables& operator=(const SizeVariables&) = delete;

  static void Set(const char* variable, std::string_view value);
  static void Unset(const char* variable);

 private:
  static void Restore();
};

/// A file of given bytes, open for reading.
class OpenBytes {
 public:
  explicit OpenBytes(std::string_view bytes);
  explicit OpenBytes(const Container& container) : OpenBytes(container.bytes) {}

  [[nodiscard]] std::FILE* Stream() const { return stream_.get(); }
  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  struct Close {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  TempDir directory_;
  std::string path_;
  std::unique_ptr<std::FILE, Close> stream_;
};

/// A block that holds "bytes", with the cursor at its start.
[[nodiscard]] LbtLbf::Block BlockOf(std::string_view bytes);

/// A container file and the index that was read from it.
class OpenContainer {
 public:
  explicit OpenContainer(const Container& container);
  explicit OpenContainer(const ContainerWriter& writer) : OpenContainer(writer.Build()) {}

  [[nodiscard]] LbtLbf::Index& Index() { return index_; }
  [[nodiscard]] std::FILE* Stream() const { return file_.Stream(); }

  /// The next "length" bytes of a stream. Throws what the read throws.
  [[nodiscard]] std::string Read(std::string_view name, std::size_t length);
  /// Reads of several lengths, one after the other; all their bytes.
  std::string ReadEach(std::string_view name, std::initializer_list<std::size_t> lengths);
  void Seek(std::string_view name, unsigned long offset);

  [[nodiscard]] const LbtLbf::Block& Block(std::size_t entry) const;
  [[nodiscard]] bool IsLoaded(std::size_t entry) const;

 private:
  OpenBytes file_;
  LbtLbf::Index index_;
};

// Implementation of the template.

/// Turns the exception that is being handled into the text that FailureOf gives.
[[nodiscard]] std::string DescribeFailure();

template <class Action>
std::string FailureOf(Action action) {
  try {
    action();
  } catch (...) {
    return DescribeFailure();
  }
  return {};
}

}  // namespace tevtest
