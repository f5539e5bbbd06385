#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace layout {

/// The layers from the bottom to the top. A file may include headers of its own layer and of
/// those below. Report, Check and Analysis are rooms that stand side by side on Tev: none sees
/// another. Exchange and View stand on Analysis and see none of the others. What stands on all of
/// them, as fuzzers and benchmarks do, is of layer Library.
enum class Layer {
  None,
  Util,
  Log,
  Lbf,
  Adt,
  Tev,
  Report,
  Check,
  Analysis,
  Exchange,
  View,
  Library,
  App
};

/// The name of a layer as its target and its folder of tests have it.
[[nodiscard]] std::string_view NameOf(Layer layer);

/// The layer that a source or header belongs to, by its path from the root of the repository. A
/// test belongs to the layer that it tests; tests of no layer, and the helpers of all tests, know
/// nothing of the product ("None"). No value where the path is in none of the known places.
[[nodiscard]] std::optional<Layer> LayerOfFile(std::string_view path);

/// One include that the rules forbid.
struct Violation {
  std::string path;
  std::size_t line = 0;
  std::string what;

  bool operator==(const Violation& other) const = default;
};

/// "path:line: what"
[[nodiscard]] std::string Describe(const Violation& violation);

/// The forbidden includes of a file with the given path (from the root) and text.
[[nodiscard]] std::vector<Violation> CheckIncludes(std::string_view path, std::string_view text);

/// The sources and headers below root/folder, as sorted paths from the root. None where there is
/// no such folder.
[[nodiscard]] std::vector<std::string> SourcesBelow(const std::filesystem::path& root,
                                                    const std::string& folder);

/// The text of a file; throws std::runtime_error when it cannot be read.
[[nodiscard]] std::string TextOf(const std::filesystem::path& path);

}  // namespace layout
