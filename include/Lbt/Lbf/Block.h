#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "Lbt/Lbf/StoredFile.h"

namespace LbtLbf {

/// The in-memory image of one stored block: a growing byte buffer with a fill
/// level and a cursor. Everything that is decoded from a file passes through Get,
/// the one place where bounds are checked.
///
/// Invariant while there is a buffer: position <= size <= capacity. The capacity is a number: the
/// buffer takes no more memory than is held, until somebody asks for Room(). A released block has
/// no buffer but remembers its size and capacity.
class Block {
 public:
  Block() = default;
  ~Block() = default;
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  Block(Block&& other) noexcept { Swap(other); }
  Block& operator=(Block&& other) noexcept;

  /// Appends "length" bytes of "file", from "position" on, at the cursor, which stays
  /// where it is. Nothing happens for a length of 0. Throws "Read Error" where the file
  /// does not hold them all, and "Memory Allocation Error".
  void Read(const StoredFile& file, std::uint64_t position, std::uint32_t length);

  /// The same from where a stream stands, which moves over them.
  void Read(std::FILE* stream, const unsigned int& length) {
    Read(StoredFile(stream), static_cast<std::uint64_t>(ftello(stream)), length);
  }

  /// Copies "length" bytes from the cursor to "destination" and moves the cursor
  /// over them. Throws "Out of Bounds", with nothing changed, where fewer are left.
  void Get(void* const& destination, const unsigned int& length);

  /// The same without a copy: the bytes stay in the block and are valid as long as
  /// its buffer is.
  [[nodiscard]] std::span<const unsigned char> Get(std::uint32_t length) {
    if (length == 0) {
      return {};
    }
    if (buffer_ == nullptr || length > GetRemaining()) {
      RaiseTooShort();
    }
    const std::span<const unsigned char> bytes(buffer_.get() + position_, length);
    position_ += length;
    return bytes;
  }

  /// The same as characters.
  [[nodiscard]] std::string_view GetText(std::uint32_t length) {
    const std::span<const unsigned char> bytes = Get(length);
    const void* characters = bytes.data();
    return {static_cast<const char*>(characters), bytes.size()};
  }

  /// The bytes from the cursor to the end as characters, with the cursor left where it is; none
  /// of a released block.
  [[nodiscard]] std::string_view Peek() const {
    if (!HasBuffer()) {
      return {};
    }
    const void* start = buffer_.get() + position_;
    return {static_cast<const char*>(start), GetRemaining()};
  }

  /// Moves the cursor; to the size is allowed. Throws "Out of Bounds" beyond it.
  void SetPosition(const unsigned long& position);

  /// Names the first block of a stream that has bytes left, and which block of it this one is.
  /// Whoever holds this block and goes back in it makes it the first one again.
  void SetPlace(std::size_t& firstOpen, std::size_t place) {
    firstOpen_ = &firstOpen;
    place_ = place;
  }

  /// Makes the buffer larger by "extra" bytes. Throws "Memory Allocation Error" with
  /// the block unchanged.
  void AllocateAdditionalMemory(const unsigned long& extra);

  /// Makes room for "length" bytes at "position": where they would fill the buffer
  /// or more, it grows by "length" or by the default block size, whichever is
  /// larger. That an exact fit grows, too, is intended.
  void CheckFreeSpaceAndAllocateMemory(unsigned int& position, const unsigned int& length);

  /// Makes room for "length" bytes at the cursor by that rule; those bytes, to be written to.
  [[nodiscard]] std::span<unsigned char> RoomFor(std::uint32_t length);

  /// The bytes from the cursor to the capacity, to be written to. Throws "Memory Allocation Error".
  [[nodiscard]] std::span<unsigned char> Room();

  /// Takes "length" bytes that were written to Room() for the block's: moves the
  /// cursor over them and raises the size.
  void Append(std::uint32_t length);

  /// Lowers the capacity to "capacity", and gives memory beyond the block's bytes back.
  void ShrinkTo(std::uint64_t capacity);

  /// Frees the buffer and leaves the cursor at the size, as after reading it all.
  void Release();

  /// The same, but the bytes live on in what is returned.
  [[nodiscard]] Block ReleaseContents();

  /// Takes the bytes of "contents" as if they had just been read into an empty block.
  void Adopt(Block contents);

  /// Leaves an empty block as loading "length" bytes and releasing them would.
  void Pass(std::uint32_t length);

  [[nodiscard]] std::uint64_t GetCapacity() const { return capacity_; }
  [[nodiscard]] std::uint32_t GetSize() const { return size_; }
  [[nodiscard]] std::uint32_t GetPosition() const { return position_; }
  [[nodiscard]] std::uint32_t GetRemaining() const { return size_ - position_; }
  [[nodiscard]] bool HasBuffer() const { return buffer_ != nullptr; }
  [[nodiscard]] bool IsConsumed() const { return position_ == size_; }

  /// The byte count that an environment variable sets, read as `strtoul` reads it:
  /// text that is no number counts as 0. None where the variable is unset or its
  /// value is not within 0 to 4294967294.
  [[nodiscard]] static std::optional<std::uint32_t> SizeFromEnvironment(const char* variable);

  /// The growth step of all blocks, in bytes: 10 MiB, or what the environment
  /// variable PRAMO_DEFAULT_TEV_BLOCK_SIZE last said.
  [[nodiscard]] static std::uint32_t GetDefaultSize();
  /// Looks at PRAMO_DEFAULT_TEV_BLOCK_SIZE; values out of 0 to 4294967294 do not count.
  static void RefreshDefaultSize();

 private:
  /// Buffers grow with realloc, which may do it in place.
  struct Free {
    void operator()(unsigned char* buffer) const {
      std::free(buffer);  // NOLINT(cppcoreguidelines-no-malloc)
    }
  };

  [[noreturn]] static void RaiseTooShort();
  [[nodiscard]] std::uint64_t CapacityWith(std::uint64_t extra) const;
  void Swap(Block& other) noexcept;
  void Allocate(std::uint64_t bytes);
  void Reserve(std::uint64_t bytes);
  void NoteOpen() {
    if (firstOpen_ != nullptr && position_ != size_) {
      *firstOpen_ = std::min(*firstOpen_, place_);
    }
  }

  std::unique_ptr<unsigned char, Free> buffer_;
  std::uint64_t capacity_ = 0;
  std::uint64_t allocated_ = 0;  // bytes of the buffer
  std::uint32_t size_ = 0;
  std::uint32_t position_ = 0;
  std::size_t* firstOpen_ = nullptr;  // these two stay where the contents are moved
  std::size_t place_ = 0;
};

}  // namespace LbtLbf
