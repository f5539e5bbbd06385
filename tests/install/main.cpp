// Names the parts of a model, with nothing but what is installed.

#include <iostream>
#include <string>

#include "Lbt/Tev/OpenModel.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Tev/Tree.h"

int main(int argc, char** argv) {
  if (argc != 2)
    return 1;
  LbtTev::Tree tree;
  LbtTev::OpenModel(tree, argv[1]);
  const ModelFacts facts = GatherModelFacts(tree);
  for (const std::string& part : facts.summary.parts.value())
    std::cout << part << '\n';
}
