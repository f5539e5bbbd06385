#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "Lbt/Tev/Tree.h"

namespace LbtTev::Report {

/// The block that an export is at: a variable of a geometry.
struct CdfPlace {
  unsigned int geometryId = 0;
  std::size_t variableIndex = 0;
  std::string variableName;
  std::optional<std::uint64_t>
      position;  ///< in the heavy data, of the numbers that were loaded last
};

/// Writes every geometry of a name to "stream" in the CDF text format: header,
/// vertices, faces and face sets, results, each block with its time step where the
/// variable has one. A name that no geometry has writes nothing. A block that cannot
/// be written (a faces variable whose faces are not described, no components) is left
/// out.
///
/// Throws std::out_of_range for an instance name without " = ", and what loading
/// numbers throws, with the blocks before it written; "place", where it is not null, then
/// tells at which variable.
void WriteCdf(const Tree& tree, const std::string& geometryName, std::ostream& stream,
              CdfPlace* place = nullptr);

}  // namespace LbtTev::Report
