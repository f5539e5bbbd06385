// Loads a model with all numbers of a dump and prints how often it refers to one of its streams at
// the most, in lengths of the stream: 1 reads it once, and beyond 16 (and 16 MiB) it is refused.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iostream>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"

namespace {

double TimesOf(LbtTev::ModelStream& stream) {
  LbtLbf::LbFile& file = stream.GetFile();
  LbtLbf::NamedStream* named = file.FindStream(stream.GetName());
  const std::uint64_t length = named == nullptr ? 0 : file.ReadRecordedLength(*named);
  return length == 0 ? 0 : static_cast<double>(stream.Charged()) / static_cast<double>(length);
}

double MostTimes(const char* path) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  LbtTev::ModelStreams& streams = tree.GetStreams();
  const double loading = std::max(TimesOf(streams.light), TimesOf(*streams.heavy));
  const auto facts = LbtTev::Report::GatherModelFacts(tree, LbtTev::Report::Numbers::Wanted);
  if (!facts.failures.empty()) {
    std::rethrow_exception(facts.failures.front());
  }
  return std::max(loading, TimesOf(*streams.heavy));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: bench_budget FILE\n";
    return 1;
  }
  try {
    std::cout << MostTimes(argv[1]) << '\n';
  } catch (const std::exception& exception) {
    std::cerr << "bench_budget: " << exception.what() << '\n';
    return 1;
  }
}
