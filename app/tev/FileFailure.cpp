// What can be wrong with a file, by code and as one line of text.

#include "tev/FileFailure.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <limits>

#include "Lbt/Lbf/Inflation.h"
#include "Lbt/Tev/Analysis/Model.h"
#include "Lbt/Tev/TevInfo/ModelFacts.h"
#include "Lbt/Util/Exception.h"
#include "tev/VisibleText.h"

namespace {

FailureCode CodeOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
      return FailureCode::NotFound;
    case EACCES:
    case EPERM:
      return FailureCode::PermissionDenied;
    case ENXIO:
    case EISDIR:
      return FailureCode::NotAFile;
    case ENOMEM:
      return FailureCode::OutOfMemory;
    default:
      return FailureCode::IoError;
  }
}

/// Whether the library could not open a file that could be opened a moment ago.
bool IsUnopened(const std::exception& exception) {
  using Lbt::Util::Exception;
  const auto* known = dynamic_cast<const Exception*>(&exception);
  return known != nullptr && known->GetType() == Exception::ErrorType::MiscelleneousError;
}

}  // namespace

std::string_view NameOf(FailureCode code) {
  constexpr std::array<std::string_view, 8> kNames{
      "not-found",           "permission-denied", "not-a-file",    "not-a-model",
      "unsupported-version", "damaged",           "out-of-memory", "io-error"};
  return kNames.at(static_cast<std::size_t>(code));
}

Failure SystemFailure(const std::string& what, int error) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
  return {CodeOf(error), error == 0 ? what : what + ": " + std::strerror(error)};
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

std::string TextOnRefused(LbtLbf::NumberedBlock block) {
  block.stream = LbtTev::Analysis::ShownName(block.stream);
  return RefusalText(block);
}

Failure VersionFailure(LbtLbf::LbFile& file) {
  constexpr auto kNoNumber = std::numeric_limits<std::uint32_t>::max();
  const std::string version = file.ReadVersion();
  const std::string fault = LbtLbf::VersionTenths(version) == kNoNumber
                                ? QuotedText(version) + " is no version of a Tev file"
                                : "version " + version + " is newer than this program";
  return {FailureCode::UnsupportedVersion,
          fault + "; versions up to " + LbtLbf::kNewestVersion + " can be read"};
}

Failure FailureOfCurrentException() {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::exception& exception) {
    const int error = errno;
    if (IsUnopened(exception)) {
      return SystemFailure("cannot open", error);
    }
    const bool isMemory = LbtLbf::IsLackOfMemory(exception);
    return {isMemory ? FailureCode::OutOfMemory : FailureCode::Damaged, ReasonOf(exception)};
  } catch (const LbtTev::Report::GeometryAssertion&) {
    return {FailureCode::Damaged, "the first child of a shape is no geometry"};
  }
}

Failure FailureOfCheck(const std::string& path) {
  Failure failure = FailureOfCurrentException();
  if (failure.Code() != FailureCode::Damaged) {
    return failure;
  }
  try {
    throw;
  } catch (const Lbt::Util::Exception& exception) {
    if (exception.GetType() == Lbt::Util::Exception::ErrorType::UnknownVersion) {
      LbtLbf::LbFile file;
      file.OpenFile(path, "rb");
      return VersionFailure(file);
    }
  } catch (...) {
    return {FailureCode::IoError, failure.what()};
  }
  return {FailureCode::IoError, failure.what()};
}
