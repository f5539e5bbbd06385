// Numbers as CSV and as files of NumPy.

#include "tev/ValueForms.h"

#include <sstream>
#include <utility>

#include "tev/Answers.h"

std::string Cell(const std::string& text) {
  std::ostringstream row;
  WriteCsvRow(row, {text});
  const std::string quoted = row.str();
  return quoted.substr(0, quoted.size() - 1);
}

/// Padded so that the data begins at a multiple of 64.
void WriteNpyHeader(std::ostream& stream, std::string_view type, const std::string& shape) {
  constexpr std::size_t kAlignment = 64;
  constexpr std::size_t kBefore = 10;
  std::string header =
      "{'descr': '" + std::string(type) + "', 'fortran_order': False, 'shape': (" + shape + "), }";
  const std::size_t used = kBefore + header.size() + 1;
  header += std::string((kAlignment - used % kAlignment) % kAlignment, ' ') + '\n';
  stream << std::string_view("\x93NUMPY\x01\x00", 8) << static_cast<char>(header.size() & 0xFF)
         << static_cast<char>(header.size() >> 8) << header;
}
