#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev {

/// One of the solver's files that a model was made from, as the model tells of it.
struct NativeFile {
  std::optional<std::string> path;
  std::optional<std::string> type;  ///< the format that the path's name indicates
  std::optional<std::string> size;  ///< with its unit, as text
};

/// What the attributes of those names tell of a file; "formatOf" gives the format of a path.
[[nodiscard]] NativeFile NativeFileOf(const LbtUtil::AttributeMap& attributes,
                                      std::string_view pathName, std::string_view sizeName,
                                      std::string (*formatOf)(const std::string&));

/// The attributes of the root, where it is a group; else none.
[[nodiscard]] const LbtUtil::AttributeMap& RootAttributesOf(const Tree& tree);

}  // namespace LbtTev
