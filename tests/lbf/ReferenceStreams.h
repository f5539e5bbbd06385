#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tevtest {

/// What a file holds for one entry, as far as reading it matters.
struct ReferenceEntry {
  std::string name{};
  std::size_t recordedLength = 0;       ///< its length by the file's own word
  std::string recordedLengthFailure{};  ///< how finding that out fails; empty: it does not
  std::string contents{};               ///< what loading it gives
  std::string loadFailure{};            ///< how loading it fails; empty: it does not
  bool needsFileForLength = false;      ///< compressed: the length stands in the block
};

/// The failure that an operation of the model ends by, as FailureOf writes it.
struct ReferenceFailure {
  std::string text;
};

/// The rules of named streams in their plainest form: every operation walks the stream's blocks
/// from the first one on, and nothing is remembered but the blocks themselves.
class ReferenceStreams {
 public:
  struct Block {
    std::size_t size = 0;
    std::size_t position = 0;
    bool loaded = false;
    std::optional<std::size_t> knownLength{};  ///< by the last load, else by its record
  };

  explicit ReferenceStreams(std::vector<ReferenceEntry> entries);

  /// The entry that the next read is served from.
  std::size_t Choose(const std::string& name);
  [[nodiscard]] std::size_t ChooseInMemory(const std::string& name) const;
  std::string Read(const std::string& name, std::size_t length);
  std::string ReadInMemory(const std::string& name, std::size_t length);
  void Seek(const std::string& name, std::uint64_t offset, bool isFileOpen);
  void Load(std::size_t entry, bool isFileOpen = true);
  std::size_t Create(const std::string& name);
  void SetPosition(std::size_t entry, std::size_t position) { blocks_[entry].position = position; }

  [[nodiscard]] const std::vector<Block>& Blocks() const { return blocks_; }

 private:
  [[nodiscard]] std::vector<std::size_t> EntriesOf(const std::string& name) const;
  [[nodiscard]] std::size_t LengthOf(std::size_t entry, bool isFileOpen);
  [[nodiscard]] bool IsEmptyForCertain(std::size_t entry) const;
  std::string Take(std::size_t entry, std::size_t length);
  void Pass(std::size_t entry, std::size_t length);

  std::vector<ReferenceEntry> entries_;
  std::vector<Block> blocks_;
};

}  // namespace tevtest
