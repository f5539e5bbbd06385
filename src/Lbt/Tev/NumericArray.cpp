#include "Lbt/Tev/NumericArray.h"

#include <boost/make_shared.hpp>
#include <functional>

namespace LbtTev {

void NumericArray::CreateDataLoader(LbtLbf::LbFile& file, const std::string& blockName,
                                    unsigned long position, bool shuffled) {
  if (loader == nullptr) {
    loader = boost::make_shared<DataLoader>(std::ref(file), blockName, position, byteSize, width,
                                            shuffled, dataType);
  }
}

}  // namespace LbtTev
