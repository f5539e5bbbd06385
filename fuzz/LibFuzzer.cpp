// The doors of the fuzzing engine to a target and to the mutator.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "ContainerMutator.h"
#include "Target.h"

extern "C" {

std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  tevfuzz::SetUp();
  return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tevfuzz::TryBytes({data, size});
  return 0;
}

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned int seed) {
  const std::string mutated = tevfuzz::Mutate({data, size}, maxSize, seed, LLVMFuzzerMutate);
  std::memcpy(data, mutated.data(), mutated.size());
  return mutated.size();
}

}  // extern "C"
