// Inflates compressed blocks, from memory or piece by piece, with the results of `uncompress`.

#include "Lbt/Lbf/Inflation.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <new>
#include <optional>
#include <typeinfo>
#include <utility>

#include "Lbt/Util/Exception.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtLbf {

static_assert(kZlibBufferError == Z_BUF_ERROR);

namespace {

class ZStream {
 public:
  explicit ZStream(int windowBits) : initCode_(inflateInit2(&stream_, windowBits)) {}
  ~ZStream() { inflateEnd(&stream_); }
  ZStream(const ZStream&) = delete;
  ZStream& operator=(const ZStream&) = delete;

  [[nodiscard]] int InitCode() const { return initCode_; }
  [[nodiscard]] std::size_t InputLeft() const { return stream_.avail_in; }
  [[nodiscard]] bool WantsInput() const { return stream_.avail_in == 0; }
  [[nodiscard]] bool WantsRoom() const { return stream_.avail_out == 0; }
  [[nodiscard]] std::uint64_t Length() const { return stream_.total_out; }

  void SetInput(std::span<const unsigned char> bytes) {
    // zlib's interface lacks a const; it does not write there.
    stream_.next_in = const_cast<unsigned char*>(  // NOLINT(cppcoreguidelines-pro-type-const-cast)
        bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
  }
  void SetRoom(std::span<unsigned char> bytes) {
    stream_.next_out = bytes.data();
    stream_.avail_out = static_cast<uInt>(bytes.size());
  }

  [[nodiscard]] int Step() { return inflate(&stream_, Z_NO_FLUSH); }

 private:
  z_stream stream_{};
  int initCode_;
};

// Of zlib's window sizes, the largest; one below zero stands for bytes of deflate alone.
constexpr int kZlibStream = MAX_WBITS;
constexpr int kDeflatedBytes = -MAX_WBITS;

/// Output that is summed up while it is still in the cache.
constexpr std::size_t kMostAtOnce = std::size_t{128} * 1024;

/// What `uncompress` makes of the code that inflating ended with.
int ResultOf(int code, bool hasRoomLeft) {
  if (code == Z_STREAM_END) {
    return Z_OK;
  }
  if (code == Z_NEED_DICT || (code == Z_BUF_ERROR && hasRoomLeft)) {
    return Z_DATA_ERROR;
  }
  return code;
}

/// Whether a zlib stream begins as nearly all do: deflate, the largest window, no dictionary.
bool HasUsualStart(std::span<const unsigned char> compressed) {
  constexpr unsigned int kDeflateAndLargestWindow = 0x78;
  constexpr unsigned int kHasDictionary = 0x20;
  constexpr unsigned int kCheck = 31;
  const unsigned int first = compressed[0];
  const unsigned int second = compressed[1];
  return first == kDeflateAndLargestWindow && (second & kHasDictionary) == 0 &&
         (first * 256 + second) % kCheck == 0;
}

std::uint32_t FromBigEndian(std::span<const unsigned char, 4> bytes) {
  return std::uint32_t{bytes[0]} << 24U | std::uint32_t{bytes[1]} << 16U |
         std::uint32_t{bytes[2]} << 8U | bytes[3];
}

}  // namespace

std::uint32_t Adler32(std::uint32_t sum, std::span<const unsigned char> bytes) {
  // Sums at 16 places that do not wait for one another. In so many steps none exceeds 16 bits:
  // 255 * 22 * 23 / 2 is 64515.
  constexpr std::uint32_t kPlaces = 16;
  constexpr std::size_t kMostSteps = 22;
  constexpr std::uint32_t kBase = 65521;
  std::uint32_t ofBytes = sum & 0xFFFFU;
  std::uint32_t ofSums = sum >> 16U;
  while (bytes.size() >= kPlaces) {
    const std::size_t steps = std::min(bytes.size() / kPlaces, kMostSteps);
    std::array<std::uint16_t, kPlaces> plain{};
    std::array<std::uint16_t, kPlaces> repeated{};  // each byte as often as there are steps from it
    for (std::size_t step = 0; step < steps; ++step) {
      const auto row = bytes.subspan(step * kPlaces).first<kPlaces>();
      for (std::size_t place = 0; place < kPlaces; ++place) {
        plain[place] = static_cast<std::uint16_t>(plain[place] + row[place]);
        repeated[place] = static_cast<std::uint16_t>(repeated[place] + plain[place]);
      }
    }
    ofSums += static_cast<std::uint32_t>(steps * kPlaces) * ofBytes;
    for (std::uint32_t place = 0; place < kPlaces; ++place) {
      ofBytes += plain[place];
      ofSums += kPlaces * repeated[place] - place * plain[place];
    }
    ofBytes %= kBase;
    ofSums %= kBase;
    bytes = bytes.subspan(steps * kPlaces);
  }
  for (const unsigned char byte : bytes) {
    ofBytes = (ofBytes + byte) % kBase;
    ofSums = (ofSums + ofBytes) % kBase;
  }
  return ofSums << 16U | ofBytes;
}

std::optional<std::uint64_t> InflateSound(std::span<const unsigned char> compressed,
                                          std::span<unsigned char> contents) {
  constexpr std::size_t kStart = 2;
  constexpr std::size_t kCheckSum = 4;
  if (compressed.size() < kStart + kCheckSum || !HasUsualStart(compressed)) {
    return std::nullopt;
  }
  ZStream stream(kDeflatedBytes);
  stream.SetInput(compressed.subspan(kStart));
  std::uint32_t sum = 1;
  int code = stream.InitCode();
  while (code == Z_OK) {
    const auto piece =
        contents.subspan(stream.Length())
            .first(std::min<std::size_t>(kMostAtOnce, contents.size() - stream.Length()));
    const std::uint64_t before = stream.Length();
    stream.SetRoom(piece);
    code = stream.Step();
    sum = Adler32(sum, piece.first(stream.Length() - before));
  }
  if (code != Z_STREAM_END || stream.InputLeft() < kCheckSum) {
    return std::nullopt;
  }
  const auto storedSum = compressed.last(stream.InputLeft()).first<kCheckSum>();
  return FromBigEndian(storedSum) == sum ? std::optional(stream.Length()) : std::nullopt;
}

std::uint32_t LengthFromField(const unsigned char* field) {
  static_assert(kLengthFieldSize == sizeof(std::uint32_t));
  return Lbt::Util::FromLittleEndian<std::uint32_t>(field);
}

std::uint64_t RoomToInflate(std::uint32_t recorded, std::uint64_t compressed) {
  constexpr std::uint64_t kMostExpansion = 1032;
  constexpr std::uint64_t kSpare = 64;
  return std::min<std::uint64_t>(recorded, compressed * kMostExpansion + kSpare);
}

CompressedBlock TakeApart(Block& stored) {
  CompressedBlock block;
  block.recordedLength = LengthFromField(stored.Get(kLengthFieldSize).data());
  block.stream = stored.Get(stored.GetRemaining());
  return block;
}

Inflated Inflate(const CompressedSource& next, std::uint64_t room,
                 std::span<unsigned char> window) {
  // Where nothing may come out, zlib still gets a byte of room, and that it is used is damage.
  std::array<unsigned char, 1> unwanted{};
  const bool isNothingWanted = room == 0;
  if (isNothingWanted) {
    room = unwanted.size();
    window = unwanted;
  }
  const bool isFilledOnce = room <= window.size();
  ZStream stream(kZlibStream);
  int code = stream.InitCode();
  while (code == Z_OK) {
    if (stream.WantsInput()) {
      stream.SetInput(next());
    }
    if (stream.WantsRoom()) {
      const std::size_t most = isFilledOnce ? kMostAtOnce : window.size();
      const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(room, most));
      stream.SetRoom(window.first(piece));
      window = window.subspan(isFilledOnce ? piece : 0);
      room -= piece;
    }
    code = stream.Step();
  }
  const bool isCut = code == Z_BUF_ERROR && stream.WantsInput();
  const bool hasRoomLeft = room != 0 || !stream.WantsRoom();
  if (isNothingWanted) {
    return {ResultOf(code, hasRoomLeft || stream.Length() != 0), 0, isCut};
  }
  return {ResultOf(code, hasRoomLeft), stream.Length(), isCut};
}

Inflated Inflate(std::span<const unsigned char> compressed, std::span<unsigned char> contents) {
  if (const auto length = InflateSound(compressed, contents)) {
    return {.code = Z_OK, .length = *length};
  }
  return Inflate([&compressed] { return std::exchange(compressed, {}); }, contents.size(),
                 contents);
}

void RaiseRefusal(int code, RefusalLine line) {
  if (line == RefusalLine::Written) {
    std::cerr << "Error " << code << " while uncompressing block " << std::endl;
  }
  if (code == Z_MEM_ERROR) {
    throw InflateMemoryError();
  }
  throw std::exception();
}

int ReplaceByContents(Block& block) {
  Block stored = std::move(block);
  stored.SetPosition(0);
  const CompressedBlock source = TakeApart(stored);

  Block::RefreshDefaultSize();
  Block contents;
  const Inflated inflated =
      Inflate(source.stream, contents.RoomFor(static_cast<std::uint32_t>(source.Room())));
  if (inflated.code == Z_OK) {
    contents.Append(static_cast<std::uint32_t>(inflated.length));
    contents.ShrinkTo(std::max<std::uint64_t>(inflated.length, Block::GetDefaultSize()));
    block = std::move(contents);
  }
  return inflated.code;
}

void BlockZlibUnCompressor::operator()(Block& block) {
  if (const int code = ReplaceByContents(block); code != Z_OK) {
    RaiseRefusal(code);
  }
}

bool IsRefusal(const std::exception& exception) {
  return typeid(exception) == typeid(std::exception) ||
         dynamic_cast<const InflateMemoryError*>(&exception) != nullptr;
}

bool IsLackOfMemory(const std::exception& exception) {
  using Lbt::Util::Exception;
  const auto* known = dynamic_cast<const Exception*>(&exception);
  return dynamic_cast<const std::bad_alloc*>(&exception) != nullptr ||
         dynamic_cast<const InflateMemoryError*>(&exception) != nullptr ||
         (known != nullptr && known->GetType() == Exception::ErrorType::MemoryAllocationError);
}

}  // namespace LbtLbf
