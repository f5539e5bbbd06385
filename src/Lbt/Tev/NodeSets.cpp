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

std::string NameOf(const StoredSets& stored, std::size_t set, ModelStream& heavy) {
  const unsigned int start = At(stored.nameOffsets, set);
  const unsigned int length = At(stored.nameOffsets, set + 1) - start;
  std::string name = stored.allNames.substr(start, length);
  heavy.Charge(name.size());
  return name;
}

/// An offset that decreases gives no members.
std::vector<std::pair<unsigned int, unsigned int>> MembersOf(const StoredSets& stored,
                                                             std::size_t set, ModelStream& heavy) {
  std::vector<std::pair<unsigned int, unsigned int>> members;
  const unsigned int start = At(stored.memberOffsets, set);
  const unsigned int end = At(stored.memberOffsets, set + 1);
  if (start < end) {
    // An end beyond the values fails at the first one that is missing.
    const std::size_t values = std::min(stored.firstValues.size(), stored.secondValues.size());
    const std::size_t count =
        std::min<std::size_t>(end, values) - std::min<std::size_t>(start, values);
    heavy.Charge(count * sizeof(members[0]));
    members.reserve(count);
  }
  for (std::size_t k = start; k < end; ++k) {
    members.emplace_back(At(stored.firstValues, k), At(stored.secondValues, k));
  }
  return members;
}

}  // namespace

void NodeSets::LoadDataBlocks(LbtLbf::LbFile& file, std::string_view heavyDataBlockName) {
  ModelStream heavy(file, std::string(heavyDataBlockName));
  LoadSets(heavy);
}

void NodeSets::LoadSets(ModelStream& heavy) {
  const ModelStream::Request request(heavy);
  heavy.Seek(heavyDataPosition);
  StoredSets stored;
  heavy.Get(stored.nameOffsets, stored.allNames, stored.memberOffsets, stored.firstValues,
            stored.secondValues);
  std::vector<NodeSet> read;
  read.reserve(std::min<std::size_t>(setCount, stored.nameOffsets.size()));
  for (unsigned int i = 0; i < setCount; ++i) {
    heavy.ChargeMemory(sizeof(NodeSet));
    std::string setName = NameOf(stored, i, heavy);
    read.push_back({std::move(setName), MembersOf(stored, i, heavy)});
  }
  sets = std::move(read);
}

}  // namespace LbtTev
