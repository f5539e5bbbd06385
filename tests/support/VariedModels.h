#pragma once

#include <string>
#include <vector>

namespace tevtest {

/// A small model file with a name that says what it is there for.
struct VariedModel {
  std::string name;
  std::string bytes;
};

/// A dozen small files, of at most a dozen blocks each, that together hold every kind and
/// version of record, blocks stored in every way, and both kinds of second index: what is
/// damaged systematically, and what a fuzzer starts from.
[[nodiscard]] std::vector<VariedModel> VariedModels();

}  // namespace tevtest
