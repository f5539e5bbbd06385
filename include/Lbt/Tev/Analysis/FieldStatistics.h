#pragma once

#include <cstddef>
#include <exception>
#include <functional>
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

}  // namespace LbtTev::Analysis
