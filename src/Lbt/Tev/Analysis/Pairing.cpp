// Finds what of two models is compared, and what belongs together.
#include "Pairing.h"

#include <algorithm>
#include <exception>

#include "Lbt/Util/Exception.h"

namespace LbtTev::Analysis {

namespace {

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

/// The same pattern by pattern: each may fit another model.
template <class List, class Choose>
void ChooseAll(const Model& a, const Model& b, const std::vector<std::string>& patterns,
               const Choose& choose, List& listOfA, List& listOfB) {
  const auto add = [](List& list, const auto& chosen) {
    list.insert(chosen.begin(), chosen.end());
  };
  if (patterns.empty()) {
    add(listOfA, choose(a, patterns));
    add(listOfB, choose(b, patterns));
  }
  for (const std::string& pattern : patterns) {
    const std::vector<std::string> one{pattern};
    const auto [inA, inB] =
        ChooseInEither(a, b, [&](const Model& model) { return choose(model, one); });
    add(listOfA, inA);
    add(listOfB, inB);
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

}  // namespace

std::pair<Chosen, Chosen> Choose(const Model& a, const Model& b, const Selection& selection) {
  std::pair<std::set<std::size_t>, std::set<std::size_t>> parts;
  std::pair<std::set<std::size_t>, std::set<std::size_t>> steps;
  std::pair<Chosen, Chosen> chosen;
  ChooseAll(a, b, selection.parts, SelectParts, parts.first, parts.second);
  ChooseAll(
      a, b, selection.results,
      [](const Model& model, const auto& patterns) { return SelectResults(model, patterns); },
      chosen.first.results, chosen.second.results);
  ChooseAll(a, b, selection.steps, StepsIn, steps.first, steps.second);
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
  return chosen;
}

std::map<PartKey, std::size_t> KeysOf(const Model& model, const Chosen& chosen) {
  std::map<PartKey, std::size_t> keys;
  std::map<std::pair<std::vector<std::string>, std::string>, std::size_t> seen;
  for (std::size_t i = 0; i < model.Parts().size(); ++i) {
    const Part& part = model.Parts()[i];
    std::vector<std::string> path = model.PathOf(part);
    const std::size_t ordinal = seen[{path, part.name}]++;
    if (std::ranges::binary_search(chosen.parts, i)) {
      keys.emplace(PartKey(std::move(path), part.name, ordinal), i);
    }
  }
  return keys;
}

StepText TextOfStep(const Model& model, std::optional<std::size_t> step) {
  return step ? StepText(model.Steps()[*step].text) : std::nullopt;
}

std::map<FieldKey, const Field*> KeysOf(const Model& model, const Part& part,
                                        const Chosen& chosen) {
  std::map<FieldKey, const Field*> fields;
  std::map<std::pair<std::string_view, StepText>, std::size_t> seen;
  for (const Field& field : model.FieldsOf(part)) {
    if (chosen.Has(field)) {
      StepText step = TextOfStep(model, field.step);
      const std::size_t ordinal = seen[{field.result, step}]++;
      fields.emplace(FieldKey(field.result, std::move(step), ordinal), &field);
    }
  }
  return fields;
}

}  // namespace LbtTev::Analysis
