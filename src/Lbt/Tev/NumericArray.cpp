// Fetches the numbers of variables from the file.

#include "Lbt/Tev/NumericArray.h"

#include <boost/make_shared.hpp>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

#include "Lbt/Log/Raise.h"
#include "Lbt/Util/MemoryUsage.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev {

namespace {

using LbtUtil::kElementSize;

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

/// Gives "out" the size that was claimed, as far as "block" allows: the claim of an absurd number
/// takes no memory.
template <class T>
void Resize(std::vector<T>& out, std::size_t count, const LbtLbf::Block& block) {
  const std::size_t size = LbtLbf::Detail::KeptLength(count, 0, block.GetSize());
  out.reserve(size);
  Lbt::Util::AskForLargePages(out.data(), size * kElementSize);
  out.resize(size);
}

}  // namespace

DataLoader::DataLoader(std::shared_ptr<ModelStream> stream, unsigned long position,
                       unsigned long byteSize, unsigned char width, bool shuffled,
                       unsigned int dataType)
    : stream_(std::move(stream)),
      position_(position),
      byteSize_(byteSize),
      width_(width),
      shuffled_(shuffled),
      dataType_(dataType) {}

template <class T>
void DataLoader::RequireType() const {
  static_assert(sizeof(T) == kElementSize);
  if (dataType_ != kAnyType && dataType_ != kTypeOf<T>) {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::BadCasting, "Bad Casting",
                    "include/Lbt/Tev/DataLoader");
  }
}

template <class T>
void DataLoader::LoadTo(std::vector<T>& out) const {
  RequireType<T>();
  const ModelStream::Request request(*stream_);
  stream_->Seek(position_);
  const std::size_t count = byteSize_ / kElementSize;
  if (count == 0) {
    return;
  }
  const LbtLbf::Block* block = stream_->FindBlock();
  if (block == nullptr) {
    return;  // a closed file whose blocks in memory are used up
  }
  Resize(out, count, *block);
  // Bytes after the last whole element are read, and so must be there.
  Decode(stream_->GetBytes(byteSize_).first(count * kElementSize), out);
}

template <class T>
void DataLoader::LoadFrom(LbtLbf::Block& block, std::vector<T>& out) const {
  RequireType<T>();
  const std::size_t count = byteSize_ / kElementSize;
  Resize(out, count, block);
  Decode(StoredIn(block), out);
}

std::span<const unsigned char> DataLoader::StoredIn(LbtLbf::Block& block) const {
  stream_->Charge(byteSize_);
  return block.Get(static_cast<std::uint32_t>(byteSize_))
      .first(byteSize_ / kElementSize * kElementSize);
}

template <class T>
void DataLoader::Decode(std::span<const unsigned char> stored, std::vector<T>& out) const {
  std::byte* items = std::as_writable_bytes(std::span(out)).data();
  if (shuffled_ && width_ != 0) {
    UnShuffleItems(stored, width_, items);
  } else {
    std::memcpy(items, stored.data(), stored.size());
  }
}

DataLoader DataLoader::At(unsigned long position) const {
  DataLoader other(*this);
  other.position_ = position;
  return other;
}

unsigned long NumericArray::OwnPosition() const {
  return ownPosition == kNoPosition ? loader->GetPosition() : ownPosition;
}

template void DataLoader::LoadTo<float>(std::vector<float>& out) const;
template void DataLoader::LoadTo<unsigned int>(std::vector<unsigned int>& out) const;
template void DataLoader::LoadFrom<float>(LbtLbf::Block& block, std::vector<float>& out) const;
template void DataLoader::LoadFrom<unsigned int>(LbtLbf::Block& block,
                                                 std::vector<unsigned int>& out) const;

void NumericArray::CreateDataLoader(std::shared_ptr<ModelStream> stream, unsigned long position,
                                    bool shuffled) {
  if (loader == nullptr) {
    loader = boost::make_shared<DataLoader>(std::move(stream), position, byteSize, width, shuffled,
                                            dataType);
  }
}

void NumericArray::CreateDataLoader(LbtLbf::LbFile& file, const std::string& blockName,
                                    unsigned long position, bool shuffled) {
  CreateDataLoader(std::make_shared<ModelStream>(file, blockName), position, shuffled);
}

}  // namespace LbtTev
