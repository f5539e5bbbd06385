#include "Lbt/Lbf/BlockCheck.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/LittleEndian.h"

namespace LbtLbf {

namespace {

constexpr std::uint32_t kLengthField = 4;
constexpr std::size_t kPiece = std::size_t{64} * 1024;

/// Reads bytes that the file has had a moment ago.
void ReadWhole(LbFile& file, std::uint64_t offset, std::span<unsigned char> bytes) {
  if (file.ReadStored(offset, bytes) < bytes.size()) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ReadError, "Unable to read from file",
                    "include/Lbt/Lbf/BlockCheck");
  }
}

/// A stretch of the file that is read piece by piece.
class StoredBytes {
 public:
  StoredBytes(LbFile& file, std::uint64_t offset, std::uint64_t size)
      : file_(&file), offset_(offset), left_(size) {}

  /// The next piece; empty at the end.
  [[nodiscard]] std::span<unsigned char> Next() {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left_, kPiece));
    const std::span<unsigned char> piece = std::span(piece_).first(wanted);
    ReadWhole(*file_, offset_, piece);
    offset_ += wanted;
    left_ -= wanted;
    return piece;
  }

 private:
  LbFile* file_;
  std::uint64_t offset_;
  std::uint64_t left_;
  std::array<unsigned char, kPiece> piece_{};
};

/// Inflates a stored zlib stream into nothing, with the results of `uncompress` for a buffer
/// of "room" bytes.
class Inflation {
 public:
  explicit Inflation(std::uint64_t room) : room_(room) {
    if (inflateInit(&stream_) != Z_OK) {
      throw std::bad_alloc();
    }
  }
  ~Inflation() { inflateEnd(&stream_); }
  Inflation(const Inflation&) = delete;
  Inflation& operator=(const Inflation&) = delete;

  [[nodiscard]] int Run(StoredBytes& stored) {
    for (;;) {
      if (stream_.avail_in == 0) {
        const std::span<unsigned char> piece = stored.Next();
        stream_.next_in = piece.data();
        stream_.avail_in = static_cast<uInt>(piece.size());
      }
      const std::uint64_t before = length_;
      const uInt inputBefore = stream_.avail_in;
      const int code = Step();
      if (code == Z_STREAM_END) {
        return Z_OK;
      }
      if (code == Z_MEM_ERROR) {
        throw std::bad_alloc();
      }
      if (code != Z_OK && code != Z_BUF_ERROR) {
        return code == Z_NEED_DICT ? Z_DATA_ERROR : code;
      }
      if (length_ == before && stream_.avail_in == inputBefore) {
        isCut_ = stream_.avail_in == 0;
        return length_ == room_ ? Z_BUF_ERROR : Z_DATA_ERROR;  // too much came out, or too little
      }
    }
  }

  /// Whether more input was wanted than there is.
  [[nodiscard]] bool IsCut() const { return isCut_; }
  [[nodiscard]] std::uint64_t Length() const { return length_; }

 private:
  int Step() {
    const auto room = static_cast<uInt>(std::min<std::uint64_t>(room_ - length_, kPiece));
    stream_.next_out = unwanted_.data();
    stream_.avail_out = room;
    const int code = inflate(&stream_, Z_NO_FLUSH);
    length_ += room - stream_.avail_out;
    return code;
  }

  std::uint64_t room_;
  std::uint64_t length_ = 0;
  bool isCut_ = false;
  z_stream stream_{};
  std::array<unsigned char, kPiece> unwanted_{};
};

void Inflate(LbFile& file, const IndexItem& item, BlockCheck& check) {
  StoredBytes stored(file, item.position + kLengthField, item.size - kLengthField);
  // `uncompress` has one byte of room where it should have none, and takes more for damage.
  const bool hasRoom = *check.recordedLength != 0;
  Inflation inflation(hasRoom ? *check.recordedLength : 1);
  check.zlibCode = inflation.Run(stored);
  if (!hasRoom && check.zlibCode == Z_BUF_ERROR) {
    check.zlibCode = Z_DATA_ERROR;
  }
  check.isCut = inflation.IsCut();
  check.length = hasRoom ? inflation.Length() : 0;
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
  std::array<unsigned char, kLengthField> field{};
  if (check.sizeInFile < kLengthField) {
    return check;
  }
  ReadWhole(file, item.position, field);
  check.recordedLength = Lbt::Util::FromLittleEndian<std::uint32_t>(field.data());
  if (check.sizeInFile == item.size) {
    Inflate(file, item, check);
  }
  return check;
}

}  // namespace LbtLbf
