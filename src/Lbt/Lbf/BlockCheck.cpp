// Checks a stored block to its end without keeping anything of it.

#include "Lbt/Lbf/BlockCheck.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>
#include <vector>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"

namespace LbtLbf {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

/// Reads bytes that the file has had a moment ago.
void ReadWhole(LbFile& file, std::uint64_t offset, std::span<unsigned char> bytes) {
  if (file.ReadStored(offset, bytes) < bytes.size()) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ReadError, "Unable to read from file",
                    "include/Lbt/Lbf/BlockCheck");
  }
}

/// Inflates a block into nothing, reading it piece by piece.
void InflateStored(LbFile& file, const IndexItem& item, BlockCheck& check) {
  std::uint64_t offset = item.position + kLengthFieldSize;
  std::uint64_t left = item.size - kLengthFieldSize;
  std::vector<unsigned char> stored(kPiece);
  std::vector<unsigned char> unwanted(kPiece);
  const auto next = [&]() -> std::span<const unsigned char> {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, kPiece));
    const std::span<unsigned char> piece = std::span(stored).first(wanted);
    ReadWhole(file, offset, piece);
    offset += wanted;
    left -= wanted;
    return piece;
  };
  const Inflated inflated = Inflate(next, *check.recordedLength, unwanted);
  if (inflated.code == Z_MEM_ERROR) {
    throw std::bad_alloc();
  }
  check.zlibCode = inflated.code;
  check.length = inflated.length;
  check.isCut = inflated.isCut;
}

}  // namespace

BlockCheck CheckBlock(LbFile& file, const IndexItem& item) {
  const std::uint64_t fileSize = file.GetSize().value_or(0);
  BlockCheck check;
  check.sizeInFile =
      item.position < fileSize ? std::min<std::uint64_t>(item.size, fileSize - item.position) : 0;
  if (!item.IsCompressed()) {
    check.recordedLength = item.size;
    check.length = check.sizeInFile;
    return check;
  }
  std::array<unsigned char, kLengthFieldSize> field{};
  if (check.sizeInFile < field.size()) {
    return check;
  }
  ReadWhole(file, item.position, field);
  check.recordedLength = LengthFromField(field.data());
  if (check.sizeInFile == item.size) {
    InflateStored(file, item, check);
  }
  return check;
}

}  // namespace LbtLbf
