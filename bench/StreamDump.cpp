// Writes the data dump of a model of one part without elements the way one writes it at first: a
// loop over the values and a C++ stream. The values come through the library, as those of TevInfo
// do; the text must be the same.

#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"

namespace {

using LbtTev::Report::ModelFacts;

std::vector<TevDataset> Load(const std::string& path) {
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, path);
  ModelFacts facts = LbtTev::Report::GatherModelFacts(tree, LbtTev::Report::Numbers::Wanted);
  if (!facts.failures.empty()) {
    std::rethrow_exception(facts.failures.front());
  }
  return std::move(facts.datasets);
}

const TevDataset& Find(const std::vector<TevDataset>& datasets, const std::string& result) {
  for (const TevDataset& dataset : datasets) {
    if (dataset.result == result) {
      return dataset;
    }
  }
  throw std::runtime_error("the model has no " + result);
}

void WriteId(std::ostream& os, float id) { os << "    " << std::setw(10) << static_cast<int>(id); }

void WriteItem(std::ostream& os, const TevDataset& dataset, std::size_t item,
               std::size_t components) {
  const std::vector<float>& values = dataset.floatValues;
  for (std::size_t k = 0; k < components; ++k) {
    os << "    " << std::setw(10) << double{values[k + components * item]};
  }
}

void WriteMesh(std::ostream& os, const TevDataset& ids, const TevDataset& coordinates) {
  os << "    Coordinates : \n";
  for (std::size_t i = 0; i < ids.size(); ++i) {
    WriteId(os, ids.floatValues[i]);
    WriteItem(os, coordinates, i, 3);
    os << "\n";
  }
  os << "\n    Connectivity : \n\n";
}

void WriteValues(std::ostream& os, const TevDataset& ids, const TevDataset& vector,
                 const TevDataset& scalar) {
  os << "Data : \n    Instance : " << vector.instance << "\n    Results: " << vector.result << ", "
     << scalar.result << ", " << ids.result << "\n    Values : \n";
  for (std::size_t i = 0; i < ids.size(); ++i) {
    WriteItem(os, vector, i, 3);
    WriteItem(os, scalar, i, 1);
    WriteId(os, ids.floatValues[i]);
    os << "\n";
  }
  os << "\n";
}

void Write(std::ostream& os, const std::vector<TevDataset>& datasets) {
  const TevDataset& ids = Find(datasets, "Node Ids");
  const TevDataset& vector = Find(datasets, "Displacement");
  const TevDataset& scalar = Find(datasets, "Temperature");
  os << "Analysis : \n    " << ids.group << "\n\nElement Sets : \n    " << ids.names.front()
     << "\n\nResults : \n    " << vector.result << "    3\n    " << scalar.result
     << "    1\n\nInstances : \n    " << vector.instance << "\n\n";
  WriteMesh(os, ids, Find(datasets, "Coordinates"));
  WriteValues(os, ids, vector, scalar);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: bench_stream_dump FILE\n";
    return 1;
  }
  try {
    std::ios::sync_with_stdio(false);
    Write(std::cout, Load(argv[1]));
    return std::cout.flush() ? 0 : 1;
  } catch (const std::exception& exception) {
    std::cerr << "bench_stream_dump: " << exception.what() << '\n';
    return 1;
  }
}
