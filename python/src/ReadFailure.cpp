// What can be wrong with a file, with the place where it is.

#include "ReadFailure.h"

namespace {

/// The block that zlib refuses, where "exception" tells of that.
std::optional<LbtLbf::NumberedBlock> RefusedBlock(const std::exception& exception,
                                                  const LbtLbf::LbFile* file) {
  const auto block = file == nullptr ? std::nullopt : file->GetIndex().RefusedBlock();
  return LbtLbf::IsRefusal(exception) ? block : std::nullopt;
}

}  // namespace

void RequireReadable(const Input& input, bool mayBeOther) {
  if (input.failure && !(mayBeOther && input.failure->Code() == FailureCode::NotAModel)) {
    throw ReadFailure(*input.failure, {}, input.path);
  }
}

ReadFailure CurrentReadFailure(const LbtLbf::LbFile* file) {
  try {
    throw;
  } catch (const ReadFailure& failure) {
    return failure;
  } catch (const std::exception& exception) {
    if (const auto block = RefusedBlock(exception, file)) {
      return ReadFailure(Failure(FailureCode::Damaged, TextOnRefused(*block)),
                         {.block = block->number, .stream = block->stream});
    }
    return ReadFailure(FailureOfCurrentException());
  } catch (...) {
    return ReadFailure(FailureOfCurrentException());
  }
}
