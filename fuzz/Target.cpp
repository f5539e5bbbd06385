#include "Target.h"

#include <cstdlib>
#include <exception>
#include <iostream>

#include "Lbt/Tev/TevInfo/PartsAndResults.h"
#include "MemoryFile.h"

namespace tevfuzz {

void SetUp() {
  setenv("PRAMO_DEFAULT_TEV_BLOCK_SIZE", "0", 1);
  std::cerr.setstate(std::ios::badbit);
}

void TryBytes(std::span<const std::uint8_t> bytes) {
  const MemoryFile file(bytes);
  try {
    TryFile(file.Path(), bytes);
  } catch (const std::exception&) {
    return;  // a failure with a name
  } catch (const GeometryAssertion&) {
    return;  // the one broken invariant
  }
}

}  // namespace tevfuzz
