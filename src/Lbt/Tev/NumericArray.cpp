// Makes the loaders of numeric arrays.

#include "Lbt/Tev/NumericArray.h"

#include <boost/make_shared.hpp>
#include <utility>

namespace LbtTev {

void NumericArray::CreateDataLoader(std::shared_ptr<ModelStream> stream, unsigned long position,
                                    bool shuffled) {
  if (loader == nullptr) {
    loader = boost::make_shared<DataLoader>(std::move(stream), position, byteSize, width, shuffled,
                                            dataType);
  }
}

void NumericArray::CreateDataLoader(LbtLbf::LbFile& file, const std::string& blockName,
                                    unsigned long position, bool shuffled) {
  CreateDataLoader(std::make_shared<ModelStream>(file, blockName), position, shuffled);
}

}  // namespace LbtTev
