// Writes the files that fuzzing starts from: make_corpus DIRECTORY

#include <filesystem>
#include <fstream>

#include "support/VariedModels.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    return 1;
  }
  std::filesystem::create_directories(argv[1]);
  for (const tevtest::VariedModel& model : tevtest::VariedModels()) {
    std::ofstream file(std::filesystem::path(argv[1]) / (model.name + ".tev"), std::ios::binary);
    file << model.bytes;
  }
}
