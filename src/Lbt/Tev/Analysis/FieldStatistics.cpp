// Works out the statistics of many fields in one pass through the file.
#include "Lbt/Tev/Analysis/FieldStatistics.h"

#include <bit>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/FileOrder.h"

namespace LbtTev::Analysis {

namespace {

/// Parts that share numbers and nodes have the same statistics; they come one after another.
class SharedStatistics {
 public:
  const Statistics& Of(const LoadedNumbers& numbers, std::size_t width) {
    if (numbers.values != values_ || numbers.used != used_ || numbers.ids != ids_) {
      statistics_ = StatisticsOf(*numbers.values, width, *numbers.used,
                                 numbers.ids == nullptr ? std::span<const float>() : *numbers.ids);
      values_ = numbers.values;
      used_ = numbers.used;
      ids_ = numbers.ids;
    }
    return statistics_;
  }

  /// Lets the numbers go, once nobody else has them.
  void Forget() {
    values_.reset();
    used_.reset();
    ids_.reset();
  }

 private:
  std::shared_ptr<const std::vector<float>> values_;
  std::shared_ptr<const UsedNodes> used_;
  std::shared_ptr<const std::vector<float>> ids_;
  Statistics statistics_;
};

/// Lengths come as the bits of floats, as all numbers do here.
std::shared_ptr<const ElementCounts> CountsOf(std::span<const float> lengths) {
  auto counts = std::make_shared<ElementCounts>();
  for (const float bits : lengths) {
    const auto length = std::bit_cast<unsigned int>(bits);
    ++counts->byNodes[length];
    counts->nodes += length;
  }
  return counts;
}

/// Why the lengths of a part cannot be right; null where they can.
std::exception_ptr FaultOf(const Model& model, std::size_t part, const ElementCounts& counts) {
  const Geometry::VarStruct* faces = model.Parts()[part].mesh.faces;
  return FailureOfLoad(model.GetTree(), [&] {
    CheckLengths(counts.nodes, faces == nullptr ? 0 : faces->array.GetNumElements());
  });
}

}  // namespace

void GatherStatistics(const Model& model, std::span<const FieldOfPart> fields,
                      const std::function<void(const FieldOfPart&, const FieldStatistics&)>& take,
                      const Loading& loading) {
  std::vector<WantedNumbers> wanted;
  wanted.reserve(fields.size());
  for (const FieldOfPart& field : fields) {
    wanted.push_back(WantedFor(model, field));
  }
  std::map<std::size_t, FieldStatistics> early;  // what comes before its turn
  std::size_t next = 0;
  SharedStatistics shared;
  LoadInFileOrder(
      model.GetTree(), wanted,
      [&](const LoadedNumbers& numbers) {
        FieldStatistics& result = early[numbers.place];
        result.failure = numbers.failure;
        if (result.failure == nullptr) {
          result.statistics = shared.Of(numbers, fields[numbers.place].field->components);
        }
        if (numbers.isLast) {
          shared.Forget();
        }
        for (auto turn = early.find(next); turn != early.end(); turn = early.find(++next)) {
          take(fields[next], turn->second);
          early.erase(turn);
        }
      },
      loading);
}

void CountElements(const Model& model,
                   const std::function<void(std::size_t, std::shared_ptr<const ElementCounts>,
                                            std::exception_ptr)>& take,
                   const Loading& loading) {
  std::vector<std::size_t> parts;
  std::vector<WantedNumbers> wanted;
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    if (const auto* lengths = model.Parts()[i].mesh.lengths) {
      parts.push_back(i);
      wanted.push_back({.variable = lengths, .count = TuplesOf(lengths->array)});
    }
  }
  std::shared_ptr<const std::vector<float>> last;
  std::shared_ptr<const ElementCounts> counts;
  LoadInFileOrder(
      model.GetTree(), wanted,
      [&](const LoadedNumbers& numbers) {
        const std::size_t part = parts[numbers.place];
        if (numbers.failure == nullptr && numbers.values != last) {
          last = numbers.values;
          counts = CountsOf(*last);
        }
        const std::exception_ptr failure =
            numbers.failure != nullptr ? numbers.failure : FaultOf(model, part, *counts);
        take(part, failure == nullptr ? counts : nullptr, failure);
      },
      loading);
}

}  // namespace LbtTev::Analysis
