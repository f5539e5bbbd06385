#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "Lbt/Lbf/Index.h"
#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/Exception.h"

/// What went wrong with a file, in one line for its user.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A block as messages name it: "block 3 (Heavy Data)".
[[nodiscard]] std::string NameOf(const LbtLbf::NumberedBlock& block);

/// One line on what an exception tells.
[[nodiscard]] std::string ReasonOf(const std::exception& exception);

/// The same for the exception that is being handled, whatever it is. Only for use in a
/// handler.
[[nodiscard]] std::string ReasonOfCurrentException();

/// Runs "read", which reads from "file". Where zlib refuses a block, it throws a Failure
/// that names the block; the exception that the library throws then tells nothing.
template <class Read>
decltype(auto) NamingBlocks(const LbtLbf::LbFile& file, Read read) {
  try {
    return read();
  } catch (const std::exception& exception) {
    const auto block = file.GetIndex().RefusedBlock();
    if (block && dynamic_cast<const Lbt::Util::Exception*>(&exception) == nullptr) {
      throw Failure("zlib refuses the data of " + NameOf(*block));
    }
    throw;
  }
}
