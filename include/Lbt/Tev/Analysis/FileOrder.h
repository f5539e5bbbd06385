#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "Lbt/Tev/Analysis/Arrays.h"
#include "Lbt/Tev/Analysis/BlocksAhead.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"

namespace LbtTev::Analysis {

/// A variable whose numbers are wanted, with what shall be loaded beside them.
struct WantedNumbers {
  const Geometry::VarStruct* variable = nullptr;
  std::size_t count = 0;                         ///< tuples
  const Geometry::VarStruct* faces = nullptr;    ///< whose nodes take part; null: all do
  const Geometry::VarStruct* lengths = nullptr;  ///< of those faces
  const Geometry::VarStruct* ids = nullptr;      ///< of the tuples; null for none
};

/// What is to be loaded for a field: ids of its nodes or elements, and the faces that say which
/// nodes take part.
[[nodiscard]] WantedNumbers WantedFor(const Model& model, const FieldOfPart& field);

/// The numbers of one variable as they come.
struct LoadedNumbers {
  std::size_t place = 0;  ///< in the list of what was wanted
  std::shared_ptr<const std::vector<float>> values;
  std::shared_ptr<const UsedNodes> used;
  std::shared_ptr<const std::vector<float>> ids;  ///< null for none
  bool isLast = false;                            ///< nothing that follows has these values
  /// Why there is nothing of the above; else null.
  std::exception_ptr failure;
};

/// Loads what is wanted in the order of the file, each array once, and hands out each variable's
/// numbers as soon as all that belongs to them is there; they are kept no longer than needed.
/// Equal arrays are handed out as the same vector, one directly after another.
///
/// Damage is told with the variables that it is about, as an exception with a text of its own,
/// and loading goes on. Throws on a lack of memory, and what "take" throws.
void LoadInFileOrder(const Tree& tree, std::span<const WantedNumbers> wanted,
                     const std::function<void(LoadedNumbers)>& take, const Loading& loading = {});

/// Runs "load", which loads from "tree", and returns why it failed; null where it did not. Throws
/// on a lack of memory.
[[nodiscard]] std::exception_ptr FailureOfLoad(const Tree& tree, const std::function<void()>& load);

}  // namespace LbtTev::Analysis
