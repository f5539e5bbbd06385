#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace LbtTev::View {

/// A page that needs no other file: blocks of numbers, deflated, and the script that shows them.
class Page {
 public:
  /// What a block is called that has been added; equal bytes are one block.
  using Block = std::size_t;

  [[nodiscard]] Block Add(std::span<const unsigned char> bytes);

  /// Floats as planes of their bytes, which deflates better.
  [[nodiscard]] Block AddFloats(std::span<const float> numbers);

  /// Whole numbers as planes of their differences, each to the one before.
  [[nodiscard]] Block AddWholes(std::span<const std::int32_t> numbers);

  /// The same of numbers of 16 bits; of their differences to as many other ones where "before" has
  /// any.
  [[nodiscard]] Block AddSteps(std::span<const std::uint16_t> numbers,
                               std::span<const std::uint16_t> before = {});

  /// What the page shows beside its blocks.
  struct Contents {
    std::string title{};
    std::string model{};  ///< JSON that the script reads
    std::string
        picture{};  ///< a PNG for browsers that show nothing in three dimensions; may be empty
  };

  /// How many bytes the page has with these blocks.
  [[nodiscard]] std::uint64_t Size(const Contents& contents, const std::set<Block>& blocks) const;

  /// Writes the page with these blocks.
  void Write(const Contents& contents, const std::set<Block>& blocks, std::ostream& out) const;

 private:
  std::vector<const std::string*> packed_;             // the keys below
  std::map<std::string, Block, std::less<>> blockOf_;  // by what they are packed to
};

}  // namespace LbtTev::View
