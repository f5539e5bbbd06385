// Reads node sets.

#include "Lbt/Tev/NodeSets.h"

#include <algorithm>

#include "Lbt/Lbf/CopyFromBlock.h"

namespace LbtTev {

namespace {

using NumberList = LbtLbf::StoredList<unsigned int>;

/// The five lists as they are stored.
struct StoredSets {
  NumberList nameOffsets;
  std::string allNames;
  NumberList memberOffsets;
  NumberList firstValues;
  NumberList secondValues;
};

constexpr const char* kFile = "include/Lbt/Tev/NodeSets";

unsigned int At(const NumberList& list, std::size_t index) { return ElementOf(list, index, kFile); }

/// Keeps what is gathered linear in what is stored: offsets that overlap can claim
/// the same elements over and over.
class Allowance {
 public:
  explicit Allowance(std::size_t most) : left_(most) {}

  void Take(std::size_t amount) {
    if (amount > left_) {
      Lbt::Log::Raise(Lbt::Util::Exception::ErrorType::OutOfBounds, "Not enough bytes in the block",
                      kFile);
    }
    left_ -= amount;
  }

 private:
  std::size_t left_;
};

/// Names may repeat one another, as an offset that decreases takes the rest of them all.
/// This many bytes more than are stored is little for memory and much for names.
constexpr std::size_t kRepeatedNames = std::size_t{1024} * 1024;

std::string NameOf(const StoredSets& stored, std::size_t set, Allowance& allowance) {
  const unsigned int start = At(stored.nameOffsets, set);
  const unsigned int length = At(stored.nameOffsets, set + 1) - start;
  std::string name = stored.allNames.substr(start, length);
  allowance.Take(name.size());
  return name;
}

/// An offset that decreases gives no members.
std::vector<std::pair<unsigned int, unsigned int>> MembersOf(const StoredSets& stored,
                                                             std::size_t set,
                                                             Allowance& allowance) {
  std::vector<std::pair<unsigned int, unsigned int>> members;
  const unsigned int start = At(stored.memberOffsets, set);
  const unsigned int end = At(stored.memberOffsets, set + 1);
  for (std::size_t k = start; k < end; ++k) {
    allowance.Take(1);
    members.emplace_back(At(stored.firstValues, k), At(stored.secondValues, k));
  }
  return members;
}

}  // namespace

void NodeSets::LoadDataBlocks(LbtLbf::LbFile& file, std::string_view heavyDataBlockName) {
  ModelStream heavy(file, std::string(heavyDataBlockName));
  Load(heavy);
}

void NodeSets::Load(ModelStream& heavy) {
  heavy.Seek(heavyDataPosition);
  StoredSets stored;
  heavy.Get(stored.nameOffsets, stored.allNames, stored.memberOffsets, stored.firstValues,
            stored.secondValues);
  Allowance names(stored.allNames.size() + kRepeatedNames);
  Allowance members(std::min(stored.firstValues.size(), stored.secondValues.size()));
  sets.clear();
  sets.reserve(std::min<std::size_t>(setCount, stored.nameOffsets.size()));
  for (unsigned int i = 0; i < setCount; ++i) {
    std::string setName = NameOf(stored, i, names);
    sets.push_back({std::move(setName), MembersOf(stored, i, members)});
  }
}

}  // namespace LbtTev
