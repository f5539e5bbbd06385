#include "Lbt/Tev/DataLoader.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/MemoryUsage.h"
#include "Lbt/Util/UnShuffle.h"

namespace LbtTev {

namespace {

constexpr std::size_t kElementSize = 4;

/// Type codes of stored elements; 0 fits any.
constexpr unsigned int kAnyType = 0;
template <class T>
constexpr unsigned int kTypeOf = std::is_same_v<T, float> ? 1 : 5;

/// Puts "stored" right: "width" planes of shuffled elements become items of "width"
/// components each.
void UnShuffleItems(std::span<const unsigned char> stored, std::size_t width, std::byte* items) {
  const std::size_t planeSize = stored.size() / kElementSize / width * kElementSize;
  for (std::size_t component = 0; component < width; ++component) {
    LbtUtil::UnShufflePlane(stored.subspan(component * planeSize, planeSize),
                            items + component * kElementSize, width);
  }
  const std::size_t done = planeSize * width;
  std::memcpy(items + done, stored.data() + done, stored.size() - done);
}

}  // namespace

DataLoader::DataLoader(LbtLbf::LbFile& file, std::string blockName, unsigned long position,
                       unsigned long byteSize, unsigned char width, bool shuffled,
                       unsigned int dataType)
    : file_(&file),
      blockName_(std::move(blockName)),
      position_(position),
      byteSize_(byteSize),
      width_(width),
      shuffled_(shuffled),
      dataType_(dataType) {}

template <class T>
void DataLoader::LoadTo(std::vector<T>& out) const {
  static_assert(sizeof(T) == kElementSize);
  if (dataType_ != kAnyType && dataType_ != kTypeOf<T>) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::BadCasting, "Bad Casting",
                    "include/Lbt/Tev/DataLoader");
  }
  file_->SetBlockPosition(blockName_, position_);
  const std::size_t count = byteSize_ / kElementSize;
  if (count == 0) {
    return;
  }
  // Bytes behind the last whole element are read, and so must be there.
  const auto stored = file_->GetBytes(blockName_, byteSize_);
  if (stored.empty()) {
    return;  // a closed file whose blocks in memory are used up
  }
  out.reserve(count);
  Lbt::Util::AskForLargePages(out.data(), count * kElementSize);
  out.resize(count);
  const auto elements = stored.first(count * kElementSize);
  std::byte* items = std::as_writable_bytes(std::span(out)).data();
  if (shuffled_ && width_ != 0) {
    UnShuffleItems(elements, width_, items);
  } else {
    std::memcpy(items, elements.data(), elements.size());
  }
}

template void DataLoader::LoadTo<float>(std::vector<float>& out) const;
template void DataLoader::LoadTo<unsigned int>(std::vector<unsigned int>& out) const;

}  // namespace LbtTev
