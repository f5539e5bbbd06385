#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace Lbt::Util {

/// Lets texts be looked up in hashed containers without making strings of them.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

}  // namespace Lbt::Util
