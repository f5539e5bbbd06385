#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <span>

#include "Lbt/Tev/Analysis/BlocksAhead.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/Analysis/Selection.h"
#include "Lbt/Tev/Analysis/Statistics.h"

namespace LbtTev::Analysis {

/// What came of one field.
struct FieldStatistics {
  Statistics statistics;
  std::exception_ptr failure;  ///< why there are none; else null
};

/// Works out the statistics of all "fields", in one pass through the file, and hands them out in
/// the order of the list. Of a field of nodes those take part that the part's own faces use, of
/// others all tuples.
///
/// Damage is told with each field that it is about. Throws on a lack of memory, and what "take"
/// throws.
void GatherStatistics(const Model& model, std::span<const FieldOfPart> fields,
                      const std::function<void(const FieldOfPart&, const FieldStatistics&)>& take,
                      const Loading& loading = {});

/// How many elements of a part have how many nodes.
struct ElementCounts {
  std::map<unsigned int, std::size_t> byNodes;
  std::size_t nodes = 0;  ///< of all elements, each as often as it is named
};

/// The counts of all parts, in their order, from the lengths of their elements, which are read in
/// one pass through the file. Parts that share lengths share the counts. Hands the counts out, or
/// else why there are none: lengths that cannot be read, or do not make up the list of nodes.
///
/// Throws on a lack of memory, and what "take" throws.
void CountElements(const Model& model,
                   const std::function<void(std::size_t part, std::shared_ptr<const ElementCounts>,
                                            std::exception_ptr failure)>& take,
                   const Loading& loading = {});

}  // namespace LbtTev::Analysis
