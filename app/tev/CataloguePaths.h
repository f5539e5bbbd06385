#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// "path" from the root on: links in it stay unresolved, "." and ".." and doubled slashes do not,
/// but for a ".." after a link, which leads elsewhere. "" is no path, and stays.
[[nodiscard]] std::string AbsolutePath(const std::string& path);

[[nodiscard]] std::vector<std::string> AbsolutePaths(const std::vector<std::string>& paths);

/// The file that a catalogue is, links resolved, so that it is the same however it is named. Throws
/// a Failure for "".
[[nodiscard]] std::string CataloguePath(const std::string& path);

/// The share of the files that one of several scans takes: those whose path has that FNV-1a hash
/// of 64 bits, modulo "count".
struct Shard {
  std::uint64_t number = 0;
  std::uint64_t count = 0;  ///< 0: there are no shares, and this is all

  [[nodiscard]] bool Has(std::string_view absolutePath) const;
};

/// What is wrong with the text "K/N" of a shard; empty where nothing is.
[[nodiscard]] std::string ShardFault(const std::string& text);
[[nodiscard]] Shard ShardOf(const std::string& text);

/// Folders and files, to ask whether a path is one of them or lies below one.
class Ancestors {
 public:
  explicit Ancestors(std::vector<std::string> absolutePaths);

  [[nodiscard]] bool HasAbove(const std::string& absolutePath) const;

 private:
  std::set<std::string, std::less<>> paths_;
};
