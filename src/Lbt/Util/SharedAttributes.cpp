#include "Lbt/Util/SharedAttributes.h"

namespace LbtUtil {

const AttributeMap& SharedAttributes::NoAttributes() {
  static const AttributeMap none;
  return none;
}

}  // namespace LbtUtil
