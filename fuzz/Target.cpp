// Runs a fuzz target on a file, with the failures that are allowed and the time that it may take.

#include "Target.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Util/Exception.h"
#include "MemoryFile.h"

namespace tevfuzz {

void SetUp() {
  setenv("PRAMO_DEFAULT_TEV_BLOCK_SIZE", "0", 1);
  std::cerr.setstate(std::ios::badbit);
}

namespace {

// No file of a fuzzer's size costs nearly as much, also with a sanitizer. On the clock, a busy
// machine would make findings of its own.
constexpr std::clock_t kMostProcessorSeconds = 10;

void AbortIfLong(std::clock_t start) {
  if (std::clock() - start > kMostProcessorSeconds * CLOCKS_PER_SEC) {
    std::puts("The file cost more than ten seconds of processor time.");
    std::abort();
  }
}

void TryAllowingFailures(std::span<const std::uint8_t> bytes) {
  const MemoryFile file(bytes);
  try {
    TryFile(file.Path(), bytes);
  } catch (const Lbt::Util::Exception&) {
    return;  // a failure with a name
  } catch (const LbtTev::Report::GeometryAssertion&) {
    return;  // the one broken invariant
  } catch (const std::out_of_range&) {
    return;  // names of node sets and steps of the export
  } catch (const std::bad_alloc&) {
    return;
  } catch (const std::exception& exception) {
    // The library throws the bare type for a block that zlib refuses, and nothing else.
    if (typeid(exception) != typeid(std::exception)) {
      throw;
    }
  }
}

}  // namespace

void TryBytes(std::span<const std::uint8_t> bytes) {
  const std::clock_t start = std::clock();
  TryAllowingFailures(bytes);
  AbortIfLong(start);
}

}  // namespace tevfuzz
