#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

/// What of two models is compared, and what belongs together.
namespace LbtTev::Analysis {

/// What of a model is compared.
struct Chosen {
  std::vector<std::size_t> parts{};  ///< in ascending order
  std::set<std::string_view> results{};
  std::vector<bool> steps{};
  bool withoutStep = false;

  [[nodiscard]] bool Has(const Field& field) const {
    return results.contains(field.result) && HasStep(field.step);
  }
  [[nodiscard]] bool HasStep(std::optional<std::size_t> step) const {
    return step ? steps[*step] : withoutStep;
  }
};

/// Finds what a selection asks for in two models. A pattern need fit only one of them; throws
/// "Element Not Found" for one that fits nothing in either.
[[nodiscard]] std::pair<Chosen, Chosen> Choose(const Model& a, const Model& b,
                                               const Selection& selection);

/// The steps of two models, A's first, which are the same where their texts are. The models must
/// outlive it.
class CommonSteps {
 public:
  static constexpr std::size_t kNone = 0;  ///< stands for no step

  CommonSteps(const Model& a, const Model& b);

  [[nodiscard]] std::size_t OfA(std::optional<std::size_t> step) const {
    return step ? ofA_[*step] : kNone;
  }
  [[nodiscard]] std::size_t OfB(std::optional<std::size_t> step) const {
    return step ? ofB_[*step] : kNone;
  }
  /// Its index among the steps of a model; none for no step, and where the model lacks it.
  [[nodiscard]] std::optional<std::size_t> InA(std::size_t step) const { return steps_[step].inA; }
  [[nodiscard]] std::optional<std::size_t> InB(std::size_t step) const { return steps_[step].inB; }
  [[nodiscard]] std::optional<std::string> TextOf(std::size_t step) const {
    return steps_[step].text == nullptr ? std::nullopt : std::optional(*steps_[step].text);
  }
  /// How many there are, and kNone.
  [[nodiscard]] std::size_t Count() const { return steps_.size(); }

 private:
  struct Entry {
    const std::string* text = nullptr;
    std::optional<std::size_t> inA{};
    std::optional<std::size_t> inB{};
  };

  std::vector<Entry> steps_{Entry()};
  std::vector<std::size_t> ofA_;
  std::vector<std::size_t> ofB_;
};

/// What of two lists belongs together, in the order of the lists.
template <class T>
struct Pairs {
  std::vector<std::pair<T, T>> both{};
  std::vector<T> onlyInA{};
  std::vector<T> onlyInB{};
};

/// Pairs elements with equal keys: the k-th of a key with the k-th. "keyInA" and "keyInB" say what
/// the key of an element is.
template <class T, class KeyInA, class KeyInB>
[[nodiscard]] Pairs<T> PairByKey(std::span<const T> a, std::span<const T> b, const KeyInA& keyInA,
                                 const KeyInB& keyInB) {
  using Key = decltype(keyInA(a.front()));
  std::map<Key, std::vector<std::size_t>> placesInB;
  for (std::size_t i = 0; i < b.size(); ++i) {
    placesInB[keyInB(b[i])].push_back(i);
  }
  Pairs<T> pairs;
  std::map<Key, std::size_t> seen;
  std::vector<bool> isPaired(b.size());
  for (const T& element : a) {
    const Key key = keyInA(element);
    const std::size_t ordinal = seen[key]++;
    const auto found = placesInB.find(key);
    if (found == placesInB.end() || ordinal >= found->second.size()) {
      pairs.onlyInA.push_back(element);
    } else {
      const std::size_t place = found->second[ordinal];
      isPaired[place] = true;
      pairs.both.emplace_back(element, b[place]);
    }
  }
  for (std::size_t i = 0; i < b.size(); ++i) {
    if (!isPaired[i]) {
      pairs.onlyInB.push_back(b[i]);
    }
  }
  return pairs;
}

/// Pairs the chosen parts, as indices, by path and name; a pair of which either is chosen, since an
/// id may name other parts in both models. Parts that are not chosen count among those of their
/// name.
[[nodiscard]] Pairs<std::size_t> PairParts(const Model& a, const Chosen& chosenInA, const Model& b,
                                           const Chosen& chosenInB);

/// Pairs fields of two parts by result and step.
[[nodiscard]] Pairs<FieldOfPart> PairFields(std::span<const FieldOfPart> a,
                                            std::span<const FieldOfPart> b,
                                            const CommonSteps& steps);

}  // namespace LbtTev::Analysis
