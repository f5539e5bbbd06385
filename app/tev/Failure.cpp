#include "tev/Failure.h"

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Util/Exception.h"
#include "tev/VisibleText.h"

std::string NameOf(const LbtLbf::NumberedBlock& block) {
  return "block " + std::to_string(block.number) + " (" + block.stream + ")";
}

std::string ReasonOf(const std::exception& exception) {
  if (LbtLbf::IsLackOfMemory(exception)) {
    return "not enough memory";
  }
  if (const auto* known = dynamic_cast<const Lbt::Util::Exception*>(&exception)) {
    return OneLine(known->GetLogMessage());
  }
  return OneLine(exception.what());
}

std::string ReasonOfCurrentException() {
  try {
    throw;
  } catch (const std::exception& exception) {
    return ReasonOf(exception);
  } catch (const LbtTev::Report::GeometryAssertion&) {
    return "the first child of a shape is no geometry";
  }
}
