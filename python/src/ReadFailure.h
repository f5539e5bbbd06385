#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "Lbt/Lbf/LbFile.h"
#include "tev/FileFailure.h"
#include "tev/Inputs.h"

/// Where a file is damaged, as far as it is known.
struct DamagedPlace {
  std::optional<std::size_t> block{};     ///< by its number in the index
  std::optional<std::string> stream{};    ///< the name
  std::optional<std::uint64_t> offset{};  ///< byte of the stream
};

/// Why a file, or something in it, cannot be read: what becomes an exception of Python.
class ReadFailure : public std::runtime_error {
 public:
  explicit ReadFailure(const Failure& failure, DamagedPlace where = {}, std::string file = {})
      : std::runtime_error(failure.what()),
        code(failure.Code()),
        place(std::move(where)),
        path(std::move(file)) {}

  FailureCode code;
  DamagedPlace place;
  std::string path;  ///< of a file that cannot be opened, else empty
};

/// Throws a ReadFailure for a file that cannot be opened; for one that is no model, too, unless
/// somebody asks what is wrong with it.
void RequireReadable(const Input& input, bool mayBeOther = false);

/// What the exception that is being handled tells of "file", which may be null. Only for use in a
/// handler.
[[nodiscard]] ReadFailure CurrentReadFailure(const LbtLbf::LbFile* file);
