// Runs a target on files, without a fuzzing engine: replay_<target> FILE...

#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "Target.h"

int main(int argc, char** argv) {
  tevfuzz::SetUp();
  for (int i = 1; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    tevfuzz::TryBytes({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  }
  std::cout << "replayed " << argc - 1 << " files" << std::endl;
  return argc > 1 ? 0 : 1;
}
