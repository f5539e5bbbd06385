#include "Lbt/Lbf/LackOfMemory.h"

#include <new>

#include "Lbt/Util/Exception.h"

namespace LbtLbf {

bool IsLackOfMemory(const std::exception& exception) {
  using Lbt::Util::Exception;
  const auto* known = dynamic_cast<const Exception*>(&exception);
  return dynamic_cast<const std::bad_alloc*>(&exception) != nullptr ||
         dynamic_cast<const InflateMemoryError*>(&exception) != nullptr ||
         (known != nullptr && known->GetType() == Exception::ErrorType::MemoryAllocationError);
}

}  // namespace LbtLbf
