// Loads arrays of numbers, says why one cannot be loaded, and tells which nodes faces use.

#include "Lbt/Tev/Analysis/Arrays.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Log/Raise.h"

namespace LbtTev::Analysis {

namespace {

[[noreturn]] void RaiseDamage(const char* message) {
  Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ModelError, message,
                  "include/Lbt/Tev/Analysis/Arrays");
}

void RequirePoints(std::size_t wanted, std::size_t points) {
  if (wanted > points) {
    RaiseDamage(points == 0 ? "A face names a node, and the mesh has no coordinates"
                            : "A face names a node that the mesh has not");
  }
}

/// The exception that is being handled; in place of what zlib leaves one that names the block.
std::exception_ptr CurrentFailure(const ModelStream& stream) {
  const auto refused = stream.RefusedBlock();
  try {
    throw;
  } catch (const Lbt::Util::Exception&) {
    return std::current_exception();
  } catch (const std::exception&) {
    if (!refused) {
      return std::current_exception();
    }
  }
  const std::string message = RefusalText(*refused);
  try {
    Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::ReadError, message.c_str(),
                    "include/Lbt/Tev/Analysis/Arrays");
  } catch (const Lbt::Util::Exception&) {
    return std::current_exception();
  }
}

}  // namespace

ArrayKey::ArrayKey(const NumericArray& array) : byteSize(array.byteSize), width(array.width) {
  if (array.loader != nullptr) {
    position = array.OwnPosition();
    byteSize = array.loader->GetByteSize();
    isShuffled = array.loader->IsShuffled();
  } else if (array.storedBytes != nullptr) {
    // Only told apart, never followed.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    held = reinterpret_cast<std::uintptr_t>(array.storedBytes.get());
  } else {
    byteSize = 0;
  }
}

template <class T>
std::vector<T> LoadArray(const NumericArray& array, BlocksAhead& ahead) {
  std::vector<T> values;
  if (array.loader != nullptr) {
    const DataLoader loader = array.OwnLoader();
    LbtLbf::Block* block =
        loader.GetByteSize() < sizeof(T) ? nullptr : ahead.Find(loader.GetPosition());
    if (block != nullptr && block->GetRemaining() >= loader.GetByteSize()) {
      loader.LoadFrom(*block, values);
    } else {
      loader.LoadTo(values);
    }
  } else if (array.storedBytes != nullptr) {
    array.CopyStoredTo(values);
  }
  if (values.size() < array.GetNumElements()) {
    RaiseDamage("The numbers of the variable are missing");
  }
  return values;
}

std::shared_ptr<const StoredFloats> FindStored(const NumericArray& array, BlocksAhead& ahead) {
  constexpr std::uint64_t kMostPerByte = 2;  // the whole block stays in memory
  if (array.loader == nullptr || !array.loader->IsShuffled() || array.GetWidth() == 0 ||
      array.GetNumElements() == 0) {
    return nullptr;
  }
  const DataLoader loader = array.OwnLoader();
  if (ahead.LengthAt(loader.GetPosition()) / kMostPerByte > loader.GetByteSize()) {
    return nullptr;
  }
  LbtLbf::Block* block = ahead.Find(loader.GetPosition());
  if (block == nullptr || block->GetRemaining() < loader.GetByteSize()) {
    return nullptr;
  }
  return std::make_shared<const StoredFloats>(StoredFloats{ahead.Hold(), loader.StoredIn(*block)});
}

template std::vector<float> LoadArray<float>(const NumericArray& array, BlocksAhead& ahead);
template std::vector<unsigned int> LoadArray<unsigned int>(const NumericArray& array,
                                                           BlocksAhead& ahead);

std::exception_ptr FailureOfLoad(const Tree& tree, const std::function<void()>& load) {
  try {
    load();
  } catch (const std::exception& exception) {
    if (LbtLbf::IsLackOfMemory(exception)) {
      throw;
    }
    ModelStream& heavy = *tree.GetStreams().heavy;
    std::exception_ptr failure = CurrentFailure(heavy);
    heavy.GiveUp(failure);  // a block that zlib has refused is not tried again
    return failure;
  }
  return nullptr;
}

void CheckLengths(std::size_t sum, std::size_t nodes) {
  if (sum != nodes) {
    RaiseDamage("The lengths of the faces do not make up the list of their nodes");
  }
}

FaceExtent ExtentOf(std::span<const unsigned int> faces, std::span<const unsigned int> lengths) {
  FaceExtent extent{.listed = faces.size()};
  for (const unsigned int length : lengths) {
    extent.sum += length;
    extent.longest = length <= faces.size() ? std::max(extent.longest, length) : extent.longest;
  }
  unsigned int highest = 0;
  for (const unsigned int node : faces) {  // std::max_element is not made wide instructions of
    highest = std::max(highest, node);
  }
  extent.points = faces.empty() ? 0 : highest + std::size_t{1};
  return extent;
}

void CheckFaces(const FaceExtent& faces, std::size_t points) {
  CheckLengths(faces.sum, faces.listed);
  RequirePoints(faces.points, points);
}

UsedNodes::UsedNodes(std::size_t points) : count_(points) {
  if (points != 0) {
    ranges_.emplace_back(0, points);
  }
}

UsedNodes::UsedNodes(std::span<const unsigned int> faces, std::span<const unsigned int> lengths,
                     std::size_t points) {
  const FaceExtent extent = ExtentOf(faces, lengths);
  CheckFaces(extent, points);
  // A flag for each node that can be meant, unless the file only claims that many.
  constexpr std::size_t kFlagsPerFace = 256;
  if (extent.points / kFlagsPerFace <= faces.size()) {
    std::vector<bool> isUsed(extent.points);
    for (const unsigned int node : faces) {
      isUsed[node] = true;
    }
    for (auto node = isUsed.begin(); node != isUsed.end(); ++node) {
      node = std::find(node, isUsed.end(), true);
      if (node == isUsed.end()) {
        break;
      }
      Add(static_cast<std::size_t>(node - isUsed.begin()));
    }
    return;
  }
  std::vector<unsigned int> sorted(faces.begin(), faces.end());
  std::ranges::sort(sorted);
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  for (const unsigned int node : sorted) {
    Add(node);
  }
}

void UsedNodes::RequireWithin(std::size_t points) const {
  if (!ranges_.empty()) {
    RequirePoints(ranges_.back().second, points);
  }
}

void UsedNodes::Add(std::size_t node) {
  ++count_;
  if (!ranges_.empty() && ranges_.back().second == node) {
    ++ranges_.back().second;
  } else {
    ranges_.emplace_back(node, node + 1);
  }
}

}  // namespace LbtTev::Analysis
