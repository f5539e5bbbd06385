#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/BlocksAhead.h"
#include "Lbt/Tev/Analysis/FloatTuples.h"
#include "Lbt/Tev/Geometry.h"
#include "Lbt/Tev/Tree.h"

namespace LbtTev::Analysis {

/// A variable whose numbers are wanted.
struct WantedArray {
  /// Whether the first array of its group, which is of no use without it, is to be loaded after it,
  /// so as not to wait in memory; and whether another group alone has it handed out.
  enum class Turn : std::uint8_t { AnyTurn, BeforeFirst, BeforeFirstForOthers };

  const Geometry::VarStruct* variable = nullptr;  ///< null: there is none
  bool isOfWholes = false;                        ///< faces and their lengths; else floats
  Turn turn = Turn::AnyTurn;
  bool mayStayStored = false;  ///< whether floats need not be put in order
};

/// Ids, which are looked at one by one; those that a field's tuples have come before the field.
[[nodiscard]] inline WantedArray WantedIds(
    const Geometry::VarStruct* variable, WantedArray::Turn turn = WantedArray::Turn::BeforeFirst) {
  return {.variable = variable,
          .turn = turn,
          .mayStayStored = variable != nullptr && variable->array.GetWidth() == 1};
}

/// What is wanted together: numbers of a field with its ids, or a mesh.
using WantedGroup = std::vector<WantedArray>;

/// The numbers of one variable. Variables with equal arrays share them.
struct LoadedArray {
  std::shared_ptr<const std::vector<float>> floats{};
  std::shared_ptr<const std::vector<unsigned int>> wholes{};
  std::shared_ptr<const StoredFloats> stored{};  ///< in place of "floats", where they may be
  std::exception_ptr failure{};                  ///< why there are no numbers; else null

  [[nodiscard]] FloatTuples Tuples(std::size_t width) const {
    return stored != nullptr ? FloatTuples(*stored, width) : FloatTuples(Floats(), width);
  }

  /// None where there is no variable.
  [[nodiscard]] std::span<const float> Floats() const {
    return floats == nullptr ? std::span<const float>() : *floats;
  }
  [[nodiscard]] std::span<const unsigned int> Wholes() const {
    return wholes == nullptr ? std::span<const unsigned int>() : *wholes;
  }
};

/// In the order of the WantedGroup.
using LoadedGroup = std::vector<LoadedArray>;

/// The failure of the first array that has one; else null.
[[nodiscard]] std::exception_ptr FailureOf(const LoadedGroup& group);

/// A model's groups, and who inflates its blocks.
struct WantedOfModel {
  const Tree* tree = nullptr;
  std::span<const WantedGroup> groups;
  Helpers helpers{};
};

/// Loads what is wanted in the order of the file, but for blocks with what is to come first; each
/// array once. Hands out each group, by its place in the list, as soon as all of it is there;
/// arrays are kept no longer than some group waits for them. What is decoded counts as one request
/// of the heavy data.
///
/// Damage is told with the groups that it is about, as an exception with a text of its own,
/// and loading goes on. Throws on a lack of memory, and what "take" throws.
void LoadInFileOrder(const WantedOfModel& wanted,
                     const std::function<void(std::size_t place, const LoadedGroup& loaded)>& take);

/// The same for two models with as many groups each, of which those at the same place belong
/// together: in the order of A, and in B what stands at the same place of a group with it. What
/// both store in the same bytes is inflated once. Where B is stored in another order, so much of it
/// is loaded before its turn as ModelStream::kBytesPerPass allows: a block is inflated once for
/// that.
void LoadInFileOrder(const WantedOfModel& a, const WantedOfModel& b,
                     const std::function<void(std::size_t place, const LoadedGroup& ofA,
                                              const LoadedGroup& ofB)>& take);

/// Hands on in order what comes in any: each place from 0 on comes once.
template <class T>
class InOrder {
 public:
  explicit InOrder(std::function<void(std::size_t place, T& value)> take)
      : take_(std::move(take)) {}

  void Add(std::size_t place, T value) {
    early_.emplace(place, std::move(value));
    for (auto turn = early_.find(next_); turn != early_.end(); turn = early_.find(++next_)) {
      take_(next_, turn->second);
      early_.erase(turn);
    }
  }

 private:
  std::function<void(std::size_t place, T& value)> take_;
  std::map<std::size_t, T> early_;
  std::size_t next_ = 0;
};

}  // namespace LbtTev::Analysis
