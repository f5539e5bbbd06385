// The program TevInfo.

#include <cstdlib>
#include <iostream>

#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Util/FileAccess.h"
#include "TevInfo/RunDriver.h"

using LbtTev::Report::GeometryAssertion;

int main(int argc, char** argv) {
  Lbt::Util::FillStandardDescriptors();
  Lbt::Util::IgnoreFileSizeSignal();
  try {
    return RunTevInfo(argc, argv);
  } catch (const GeometryAssertion&) {
    // The model breaks what every model keeps: whoever wrote it has to look at this
    // run, so it ends like a failed assertion in every kind of build.
    std::cerr << "TevInfo: Assertion `" << GeometryAssertion::kExpression << "' failed."
              << std::endl;
    std::abort();
  }
}
