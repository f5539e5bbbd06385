// Finds what of two models is compared, and what belongs together.

#include "Lbt/Tev/Analysis/Pairing.h"

#include <algorithm>
#include <exception>
#include <numeric>
#include <tuple>

#include "Lbt/Tev/Node.h"
#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {

namespace {

/// Whether a pattern fits nothing but itself as a glob. An id is such a one.
bool IsPlain(std::string_view pattern) {
  return pattern.find_first_of("*?[") == std::string_view::npos;
}

/// Runs "choose" for both models. A pattern need fit only one of them.
template <class Choose>
auto ChooseInEither(const Model& a, const Model& b, const Choose& choose) {
  using List = decltype(choose(a));
  std::exception_ptr inA;
  std::pair<List, List> chosen;
  try {
    chosen.first = choose(a);
  } catch (const Lbt::Util::Exception&) {
    inA = std::current_exception();
  }
  try {
    chosen.second = choose(b);
  } catch (const Lbt::Util::Exception&) {
    if (inA != nullptr) {
      std::rethrow_exception(inA);
    }
  }
  return chosen;
}

/// The same pattern by pattern: each may fit another model. One that is a name in either model, as
/// "hasName" says, is a name in both, whatever it would fit as a glob.
template <class List, class Choose, class HasName>
void ChooseAll(const Model& a, const Model& b, const std::vector<std::string>& patterns,
               const Choose& choose, const HasName& hasName, std::pair<List, List>& lists) {
  const auto add = [](List& list, const auto& chosen) {
    list.insert(chosen.begin(), chosen.end());
  };
  if (patterns.empty()) {
    add(lists.first, choose(a, patterns));
    add(lists.second, choose(b, patterns));
  }
  for (const std::string& pattern : patterns) {
    const std::vector<std::string> one{pattern};
    const bool isName = hasName(a, pattern) || hasName(b, pattern);
    const auto chooseIn = [&](const Model& model) {
      const bool isOfTheOther = isName && !hasName(model, pattern) && !IsPlain(pattern);
      return isOfTheOther ? decltype(choose(model, one))() : choose(model, one);
    };
    const auto [inA, inB] = ChooseInEither(a, b, chooseIn);
    add(lists.first, inA);
    add(lists.second, inB);
  }
}

std::vector<std::size_t> StepsIn(const Model& model, const std::vector<std::string>& patterns) {
  const SelectedSteps selected(model, patterns);
  std::vector<std::size_t> steps;
  for (std::size_t i = 0; i < model.Steps().size(); ++i) {
    if (selected.Has(i)) {
      steps.push_back(i);
    }
  }
  return steps;
}

/// Gives paths numbers, equal ones to equal paths, without a copy of the names for each part.
class Paths {
 public:
  /// The path of the groups above an entry. "known" has those of entries of this tree.
  std::size_t Above(const Tree& tree, unsigned int id, std::map<unsigned int, std::size_t>& known) {
    std::vector<std::pair<unsigned int, const Group*>> above;  // that have to be found out
    unsigned int parent = ParentOf(tree, id);
    for (; parent != 0; parent = ParentOf(tree, parent)) {
      // Where the links of a damaged tree run in a circle, the path begins there.
      if (!known.emplace(parent, kRoot).second) {
        break;
      }
      above.emplace_back(parent, GroupAt(tree, parent));
    }
    std::size_t path = parent == 0 ? kRoot : known.at(parent);
    std::ranges::reverse(above);
    for (const auto& [entry, group] : above) {
      if (group != nullptr) {
        path = children_.emplace(std::pair(path, ShownName(group->name)), children_.size() + 1)
                   .first->second;
      }
      known[entry] = path;
    }
    return path;
  }

 private:
  static constexpr std::size_t kRoot = 0;

  [[nodiscard]] static unsigned int ParentOf(const Tree& tree, unsigned int id) {
    const auto* entry = tree.FindNode(id);
    return entry == nullptr ? 0 : entry->parent;
  }
  [[nodiscard]] static const Group* GroupAt(const Tree& tree, unsigned int id) {
    const auto* entry = tree.FindNode(id);
    return entry == nullptr ? nullptr : NodeCast<Group>(entry->data);
  }

  std::map<std::pair<std::size_t, std::string>, std::size_t> children_;
};

}  // namespace

std::pair<Chosen, Chosen> Choose(const Model& a, const Model& b, const Selection& selection) {
  std::pair<std::set<std::size_t>, std::set<std::size_t>> parts;
  std::pair<std::set<std::string_view>, std::set<std::string_view>> results;
  std::pair<std::set<std::size_t>, std::set<std::size_t>> steps;
  const auto has = [](const auto& list, const auto& nameOf) {
    return [list, nameOf](const Model& model, const std::string& pattern) {
      const auto& all = (model.*list)();
      return std::ranges::find(all, pattern, nameOf) != all.end();
    };
  };
  ChooseAll(a, b, selection.parts, SelectParts, has(&Model::Parts, &Part::name), parts);
  ChooseAll(
      a, b, selection.results,
      [](const Model& model, const auto& patterns) { return SelectResults(model, patterns); },
      has(&Model::Results, &Result::name), results);
  ChooseAll(a, b, selection.steps, StepsIn, has(&Model::Steps, &Step::text), steps);
  std::pair<Chosen, Chosen> chosen;
  const auto fill = [&](const Model& model, const auto& partsOf, const auto& stepsOf, Chosen& of) {
    of.parts.assign(partsOf.begin(), partsOf.end());
    of.steps.resize(model.Steps().size());
    for (const std::size_t step : stepsOf) {
      of.steps[step] = true;
    }
    of.withoutStep = selection.steps.empty() ||
                     std::ranges::find(selection.steps, std::string()) != selection.steps.end();
  };
  fill(a, parts.first, steps.first, chosen.first);
  fill(b, parts.second, steps.second, chosen.second);
  std::tie(chosen.first.results, chosen.second.results) = std::move(results);
  return chosen;
}

CommonSteps::CommonSteps(const Model& a, const Model& b) {
  std::map<std::string_view, std::size_t> known;
  for (const Step& step : a.Steps()) {
    known.emplace(step.text, steps_.size());
    steps_.push_back({.text = &step.text, .inA = ofA_.size()});
    ofA_.push_back(steps_.size() - 1);
  }
  for (const Step& step : b.Steps()) {
    const auto [found, isNew] = known.emplace(step.text, steps_.size());
    if (isNew) {
      steps_.push_back({.text = &step.text});
    }
    steps_[found->second].inB = ofB_.size();
    ofB_.push_back(found->second);
  }
}

Pairs<std::size_t> PairParts(const Model& a, const Chosen& chosenInA, const Model& b,
                             const Chosen& chosenInB) {
  const auto allOf = [](const Model& model) {
    std::vector<std::size_t> all(model.Parts().size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
  };
  Paths paths;
  const auto keyIn = [&paths](const Model& model) {
    return [&paths, &model, of = std::map<unsigned int, std::size_t>()](std::size_t part) mutable {
      const Part& found = model.Parts()[part];
      return std::pair(paths.Above(model.GetTree(), found.id, of), std::string_view(found.name));
    };
  };
  auto keyInA = keyIn(a);
  auto keyInB = keyIn(b);
  const std::vector<std::size_t> allOfA = allOf(a);
  const std::vector<std::size_t> allOfB = allOf(b);
  const auto all = PairByKey<std::size_t>(
      allOfA, allOfB, [&](std::size_t part) { return keyInA(part); },
      [&](std::size_t part) { return keyInB(part); });
  const auto isIn = [](const Chosen& chosen, std::size_t part) {
    return std::ranges::binary_search(chosen.parts, part);
  };
  Pairs<std::size_t> pairs;
  const auto addTo = [&](std::vector<std::size_t>& list, const Chosen& chosen, std::size_t part) {
    if (isIn(chosen, part)) {
      list.push_back(part);
    }
  };
  for (const auto& [partA, partB] : all.both) {
    if (isIn(chosenInA, partA) || isIn(chosenInB, partB)) {
      pairs.both.emplace_back(partA, partB);
    }
  }
  for (const std::size_t part : all.onlyInA) {
    addTo(pairs.onlyInA, chosenInA, part);
  }
  for (const std::size_t part : all.onlyInB) {
    addTo(pairs.onlyInB, chosenInB, part);
  }
  return pairs;
}

Pairs<FieldOfPart> PairFields(std::span<const FieldOfPart> a, std::span<const FieldOfPart> b,
                              const CommonSteps& steps) {
  return PairByKey<FieldOfPart>(
      a, b,
      [&](const FieldOfPart& each) {
        return std::pair(each.field->result, steps.OfA(each.field->step));
      },
      [&](const FieldOfPart& each) {
        return std::pair(each.field->result, steps.OfB(each.field->step));
      });
}

}  // namespace LbtTev::Analysis
