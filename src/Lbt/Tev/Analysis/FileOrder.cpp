// Loads numbers of variables in the order in which the file holds them.

#include "Lbt/Tev/Analysis/FileOrder.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "BlockOrder.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Tev/Analysis/Arrays.h"
#include "TwinBlocks.h"

namespace LbtTev::Analysis {

namespace {

/// "failure" with the place of the array that could not be loaded.
std::exception_ptr WithPlace(const std::exception_ptr& failure, const NumericArray& array,
                             const ModelStream& stream) {
  if (failure == nullptr || array.loader == nullptr) {
    return failure;
  }
  try {
    std::rethrow_exception(failure);
  } catch (const Lbt::Util::Exception& known) {
    const std::string message =
        std::string(known.GetLogMessage()) + ", " + stream.TextOfFailure(array.OwnPosition());
    try {
      Lbt::Log::Raise(known.GetType(), message.c_str(), "include/Lbt/Tev/Analysis/FileOrder");
    } catch (const Lbt::Util::Exception&) {
      return std::current_exception();
    }
  } catch (...) {
    return failure;
  }
}

/// The arrays of one model that groups wait for. Turns are those of the arrays of the model whose
/// order counts.
class LoadSide {
 public:
  static constexpr std::size_t kNoTurn = std::numeric_limits<std::size_t>::max();

  explicit LoadSide(const WantedOfModel& wanted)
      : tree_(wanted.tree),
        heavy_(wanted.tree->GetStreams().heavy),
        request_(*heavy_),
        blocks_(*heavy_, wanted.helpers) {
    groups_.reserve(wanted.groups.size());
    for (const WantedGroup& group : wanted.groups) {
      std::vector<Array*>& arrays = groups_.emplace_back();
      std::vector<Array*>& needed = neededFirst_.emplace_back();
      arrays.reserve(group.size());
      for (const WantedArray& wantedArray : group) {
        Array* array = Find(wantedArray);
        const bool isForOthers = wantedArray.turn == WantedArray::Turn::BeforeFirstForOthers;
        arrays.push_back(isForOthers ? nullptr : array);
        if (array != nullptr && wantedArray.turn != WantedArray::Turn::AnyTurn) {
          needed.push_back(array);
        }
      }
    }
  }

  /// Gives each array its turn: that of its place in the file, but that blocks that others need are
  /// visited before these.
  void TakeTurns() {
    FindBlocks();
    BlockOrder blocks(arrays_.empty() ? 0 : std::prev(arrays_.end())->second.block + 1);
    for (std::size_t group = 0; group < groups_.size(); ++group) {
      for (Array* needed : neededFirst_[group]) {
        if (const Array* first = groups_[group].front(); first != nullptr) {
          blocks.Require(first->block, needed->block);
          needed->isNeededFirst = true;
        }
      }
    }
    for (auto& [key, array] : arrays_) {
      order_.push_back({0, &key.first, &array});
    }
    const std::vector<std::size_t> ranks = blocks.Ranks();
    std::ranges::stable_sort(order_, {}, [&ranks](const Turn& turn) {
      return std::pair(ranks[turn.array->block], !turn.array->isNeededFirst);
    });
    for (std::size_t turn = 0; turn < order_.size(); ++turn) {
      order_[turn].turn = order_[turn].array->turn = turn;
    }
  }

  /// Gives each array the first turn at which something of "other" stands where it does in a
  /// group; else the one at which the group is there.
  void FollowTurnsOf(const LoadSide& other) {
    for (std::size_t group = 0; group < groups_.size(); ++group) {
      for (std::size_t role = 0; role < groups_[group].size(); ++role) {
        if (Array* array = groups_[group][role]; array != nullptr) {
          const Array* counterpart = other.groups_[group][role];
          const std::size_t turn = counterpart == nullptr ? other.TurnOf(group) : counterpart->turn;
          if (turn < array->turn) {
            array->turn = turn;
            array->counterpart = counterpart;
          }
        }
      }
    }
    for (auto& [key, array] : arrays_) {
      order_.push_back({array.turn, &key.first, &array});
    }
    std::ranges::stable_sort(order_, {}, &Turn::turn);  // those of one turn stay in file order
  }

  /// Where blocks would be returned to again and again, since the leader is stored in another
  /// order, what comes soon gets one turn, in which it is loaded in the order of the file.
  void GatherTurns() {
    if (!ReturnsToBlocks()) {
      return;
    }
    constexpr std::uint64_t kMostBytes = ModelStream::kBytesPerPass;
    std::uint64_t bytes = 0;
    std::size_t first = order_.front().turn;
    std::size_t passes = 1;
    for (Turn& turn : order_) {
      if (HasTwin(*turn.array)) {
        continue;  // it costs nothing once the leader has it
      }
      if (bytes != 0 && turn.key->byteSize > kMostBytes - bytes) {
        bytes = 0;
        first = turn.turn;
        ++passes;
      }
      bytes = std::min<std::uint64_t>(kMostBytes, bytes + turn.key->byteSize);
      turn.turn = first;
    }
    std::ranges::sort(order_, [](const Turn& left, const Turn& right) {
      return std::tie(left.turn, *left.key) < std::tie(right.turn, *right.key);
    });
    heavy_->AllowPasses(passes - 1);
  }

  /// The turn at which all of a group is there, after the last one for a group of nothing.
  [[nodiscard]] std::size_t TurnOf(std::size_t group) const {
    std::optional<std::size_t> last;
    for (const Array* array : groups_[group]) {
      if (array != nullptr) {
        last = std::max(last.value_or(0), array->turn);
      }
    }
    return last.value_or(order_.size());
  }

  void Start() {
    const auto isLeftOut = [this](std::size_t entry) {
      const auto twin = twinOf_.find(entry);
      return twin != twinOf_.end() && twins_->HaveSameBytes(twin->second, entry);
    };
    blocks_.Plan(Positions(), twins_ == nullptr ? std::function<bool(std::size_t)>() : isLeftOut);
  }

  /// What is stored alike in "leader" is taken from there: of two runs much is the same. "twins"
  /// compares their blocks.
  void ShareWith(LoadSide& leader, TwinBlocks& twins) {
    leader_ = &leader;
    twins_ = &twins;
    for (const Turn& turn : order_) {
      if (const auto twin = TwinOf(*turn.array)) {
        twinOf_.insert(*twin);
      }
    }
  }

  /// Loads the arrays whose turn it is.
  void LoadUpTo(std::size_t turn) {
    for (; next_ < order_.size() && order_[next_].turn <= turn; ++next_) {
      Load(*order_[next_].array);
    }
  }

  /// Hands a group out, and lets go what no other one waits for.
  [[nodiscard]] LoadedGroup Take(std::size_t group) {
    LoadedGroup loaded;
    loaded.reserve(groups_[group].size());
    for (Array* array : groups_[group]) {
      loaded.push_back(array == nullptr ? LoadedArray() : array->loaded);
      if (array != nullptr && --array->users == 0) {
        array->loaded = {};
      }
    }
    return loaded;
  }

  [[nodiscard]] std::size_t GroupCount() const { return groups_.size(); }

 private:
  struct Array {
    const NumericArray* source = nullptr;
    bool isOfWholes = false;
    std::size_t users = 0;  // groups that have not been handed out
    std::size_t turn = kNoTurn;
    std::size_t block = 0;  // in the order of the file
    bool isNeededFirst = false;
    bool mayStayStored = true;
    const Array* counterpart = nullptr;  // of the other model, with the same turn
    LoadedArray loaded{};
  };

  struct Turn {
    std::size_t turn = 0;
    const ArrayKey* key = nullptr;
    Array* array = nullptr;
  };

  Array* Find(const WantedArray& wanted) {
    if (wanted.variable == nullptr) {
      return nullptr;
    }
    Array& array = arrays_[{ArrayKey(wanted.variable->array), wanted.isOfWholes}];
    array.source = &wanted.variable->array;
    array.isOfWholes = wanted.isOfWholes;
    array.mayStayStored = array.mayStayStored && wanted.mayStayStored;
    array.users += wanted.turn == WantedArray::Turn::BeforeFirstForOthers ? 0U : 1U;
    return &array;
  }

  /// Numbers the blocks that the arrays lie in; what lies in none has one of its own.
  void FindBlocks() {
    std::size_t block = 0;
    std::optional<std::size_t> entry;
    for (auto& [key, array] : arrays_) {
      const auto place =
          array.source->loader == nullptr ? std::nullopt : blocks_.Locate(key.first.position);
      const bool isSame = place && place->entry == entry;
      array.block = isSame ? block : ++block;
      entry = place ? std::optional(place->entry) : std::nullopt;
    }
  }

  [[nodiscard]] std::vector<unsigned long> Positions() const {
    std::vector<unsigned long> positions;
    for (const Turn& turn : order_) {
      if (turn.array->source->loader != nullptr) {
        positions.push_back(turn.key->position);
      }
    }
    return positions;
  }

  /// Whether the order visits a block that it has left before.
  [[nodiscard]] bool ReturnsToBlocks() {
    std::set<std::size_t> visited;
    std::optional<std::size_t> current;
    for (const Turn& turn : order_) {
      const auto place =
          turn.array->source->loader == nullptr ? std::nullopt : blocks_.Locate(turn.key->position);
      if (place && place->entry != current) {
        if (!visited.insert(place->entry).second) {
          return true;
        }
        current = place->entry;
      }
    }
    return false;
  }

  void Load(Array& array) {
    if (TakeFromCounterpart(array)) {
      return;
    }
    LoadedArray& loaded = array.loaded;
    const std::exception_ptr failure = FailureOfLoad(*tree_, [&] {
      if (array.mayStayStored) {
        loaded.stored = FindStored(*array.source, blocks_);
      }
      if (loaded.stored != nullptr) {
        return;
      }
      if (array.isOfWholes) {
        loaded.wholes = std::make_shared<const std::vector<unsigned int>>(
            LoadArray<unsigned int>(*array.source, blocks_));
      } else {
        loaded.floats =
            std::make_shared<const std::vector<float>>(LoadArray<float>(*array.source, blocks_));
      }
    });
    loaded.failure = WithPlace(failure, *array.source, *heavy_);
    blocks_.DropUsedUp();
  }

  /// The block of an array, and the one of the leader in which its counterpart lies at the same
  /// place and in the same form.
  [[nodiscard]] std::optional<std::pair<std::size_t, std::size_t>> TwinOf(const Array& array) {
    const NumericArray* other = array.counterpart == nullptr ? nullptr : array.counterpart->source;
    if (other == nullptr || other->loader == nullptr || array.source->loader == nullptr) {
      return std::nullopt;
    }
    ArrayKey key(*array.source);
    ArrayKey keyOfOther(*other);
    const auto place = blocks_.Locate(std::exchange(key.position, 0));
    const auto placeOfOther = leader_->blocks_.Locate(std::exchange(keyOfOther.position, 0));
    const bool isAlike = place && placeOfOther && key == keyOfOther &&
                         place->offset == placeOfOther->offset &&
                         array.isOfWholes == array.counterpart->isOfWholes &&
                         array.mayStayStored == array.counterpart->mayStayStored;
    return isAlike ? std::optional(std::pair(place->entry, placeOfOther->entry)) : std::nullopt;
  }

  /// Whether the leader has the same, stored in the same bytes.
  [[nodiscard]] bool HasTwin(const Array& array) {
    const auto twin = twins_ == nullptr ? std::nullopt : TwinOf(array);
    return twin && twins_->HaveSameBytes(twin->second, twin->first);
  }

  [[nodiscard]] bool TakeFromCounterpart(Array& array) {
    const bool isThere =
        array.counterpart != nullptr && array.counterpart->loaded.failure == nullptr;
    if (!isThere || !HasTwin(array)) {
      return false;
    }
    array.loaded = array.counterpart->loaded;
    return true;
  }

  const Tree* tree_;
  std::shared_ptr<ModelStream> heavy_;
  ModelStream::Request request_;
  std::map<std::pair<ArrayKey, bool>, Array> arrays_;  // in the order of the file
  std::vector<std::vector<Array*>> groups_;
  std::vector<std::vector<Array*>> neededFirst_;  // by the first array of the group
  std::vector<Turn> order_;
  std::size_t next_ = 0;  // in "order_"
  BlocksAhead blocks_;
  LoadSide* leader_ = nullptr;
  TwinBlocks* twins_ = nullptr;
  std::map<std::size_t, std::size_t> twinOf_;  // of blocks, by their entries
};

/// Calls "load" with each turn of "leader", and "take" with the groups that are there then.
template <class Load, class Take>
void ForTurns(const LoadSide& leader, const Load& load, const Take& take) {
  std::vector<std::pair<std::size_t, std::size_t>> groups;  // with their turns
  std::size_t next = 0;
  for (std::size_t group = 0; group < leader.GroupCount(); ++group) {
    groups.emplace_back(leader.TurnOf(group), group);
  }
  std::ranges::sort(groups);
  for (const auto& [turn, group] : groups) {
    for (; next <= turn; ++next) {
      load(next);
    }
    take(group);
  }
}

}  // namespace

std::exception_ptr FailureOf(const LoadedGroup& group) {
  const auto failed = std::ranges::find_if(
      group, [](const LoadedArray& array) { return array.failure != nullptr; });
  return failed == group.end() ? nullptr : failed->failure;
}

void LoadInFileOrder(
    const WantedOfModel& wanted,
    const std::function<void(std::size_t place, const LoadedGroup& loaded)>& take) {
  LoadSide side(wanted);
  side.TakeTurns();
  side.Start();
  ForTurns(
      side, [&](std::size_t turn) { side.LoadUpTo(turn); },
      [&](std::size_t group) { take(group, side.Take(group)); });
}

void LoadInFileOrder(const WantedOfModel& a, const WantedOfModel& b,
                     const std::function<void(std::size_t place, const LoadedGroup& ofA,
                                              const LoadedGroup& ofB)>& take) {
  LoadSide sideA(a);
  LoadSide sideB(b);
  sideA.TakeTurns();
  sideB.FollowTurnsOf(sideA);
  TwinBlocks twins(a.tree->GetStreams().heavy->GetFile(), b.tree->GetStreams().heavy->GetFile());
  sideB.ShareWith(sideA, twins);
  sideB.GatherTurns();
  sideA.Start();
  sideB.Start();
  ForTurns(
      sideA,
      [&](std::size_t turn) {
        sideA.LoadUpTo(turn);
        sideB.LoadUpTo(turn);
      },
      [&](std::size_t group) { take(group, sideA.Take(group), sideB.Take(group)); });
}

}  // namespace LbtTev::Analysis
