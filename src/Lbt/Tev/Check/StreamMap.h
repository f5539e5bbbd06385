#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "BlockSurvey.h"
#include "Lbt/Tev/Check/Finding.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

/// Where the blocks of one stream lie, by the lengths that they are recorded with: a seek
/// counts blocks with those as long as it has not read them. Where such a length cannot be read,
/// nothing is known of what lies after the start of its block.
class StreamMap {
 public:
  /// Keeps pointers to the blocks of that stream among "blocks", and its name.
  StreamMap(const std::vector<CheckedBlock>& blocks, const std::string& stream);

  [[nodiscard]] const std::string& Stream() const { return stream_; }
  [[nodiscard]] bool IsEmpty() const { return spans_.empty(); }

  /// Whether every block is known to hold what it is recorded with.
  [[nodiscard]] bool IsExact() const;

  /// Whether it is known where in the file a position of the stream is.
  [[nodiscard]] bool Knows(std::uint64_t position) const {
    return areLengthsKnown_ || position <= length_;
  }

  /// Length of the stream, as far as it is known.
  [[nodiscard]] std::uint64_t Length() const { return length_; }

  /// Where a block of the stream starts in it, by its number among all blocks.
  [[nodiscard]] std::uint64_t StartOf(std::uint64_t number) const;

  /// The block that a position of the stream lies in, the last one for any beyond; null where
  /// there is none or where it is unknown.
  [[nodiscard]] const CheckedBlock* BlockAt(std::uint64_t position) const;

  /// Tells in "finding" which block a position lies in, and where in the file it is; the stream
  /// alone where that is unknown.
  void Place(std::uint64_t position, Finding& finding) const;

  /// Bytes between a position and the end of its block, which no value goes beyond.
  [[nodiscard]] std::uint64_t BytesAt(std::uint64_t position) const;

 private:
  struct Span {
    std::uint64_t start;
    const CheckedBlock* block;
  };

  [[nodiscard]] const Span* SpanAt(std::uint64_t position) const;

  std::string stream_;
  std::vector<Span> spans_;  // up to the first block of unknown length
  std::uint64_t length_ = 0;
  bool areLengthsKnown_ = true;
};

/// Where the blocks of a model's streams lie.
struct ModelMap {
  explicit ModelMap(const std::vector<CheckedBlock>& blocks, const LbtTev::StreamNames& names = {})
      : global(blocks, names.global),
        tree(blocks, names.tree),
        light(blocks, names.light),
        heavy(blocks, names.heavy),
        attributes(blocks, names.attributes),
        resources(blocks, names.resources) {}

  /// The map of a stream; that of the light data for one that is no stream of models.
  [[nodiscard]] const StreamMap& Of(std::string_view stream) const;

  StreamMap global;
  StreamMap tree;
  StreamMap light;
  StreamMap heavy;
  StreamMap attributes;
  StreamMap resources;
};

}  // namespace LbtTev::Check
