// Paths as a catalogue has them, and which share of a scan they fall to.

#include "tev/CataloguePaths.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <system_error>

#include "tev/FileFailure.h"

namespace {

bool IsLink(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

/// Whether it is what AbsolutePath makes of it.
bool IsPlain(std::string_view path) {
  return path.starts_with('/') && !path.ends_with('/') &&
         path.find("//") == std::string_view::npos && path.find("/.") == std::string_view::npos;
}

void AddName(std::string_view name, std::string& path) {
  if (name.empty() || name == ".") {
    return;
  }
  if (name == ".." && !path.ends_with("/..") && !IsLink(path)) {
    path.erase(path.empty() ? 0 : path.rfind('/'));
    return;
  }
  path += '/';
  path += name;
}

std::optional<Shard> Parse(const std::string& text) {
  Shard shard;
  const char* end = text.data() + text.size();
  const auto number = std::from_chars(text.data(), end, shard.number);
  if (number.ec != std::errc() || number.ptr == end || *number.ptr != '/') {
    return std::nullopt;
  }
  const auto count = std::from_chars(number.ptr + 1, end, shard.count);
  const bool isWhole = count.ec == std::errc() && count.ptr == end;
  return isWhole && shard.number < shard.count ? std::optional(shard) : std::nullopt;
}

}  // namespace

std::string AbsolutePath(const std::string& path) {
  if (path.empty() || IsPlain(path)) {  // as all are that a walk finds
    return path;
  }
  std::string absolute =
      path.starts_with('/') ? std::string() : std::filesystem::current_path().string();
  if (absolute == "/") {
    absolute.clear();
  }
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    AddName(std::string_view(path).substr(start, end - start), absolute);
    start = end + 1;
  }
  return absolute.empty() ? "/" : absolute;
}

std::vector<std::string> AbsolutePaths(const std::vector<std::string>& paths) {
  std::vector<std::string> absolute;
  absolute.reserve(paths.size());
  for (const std::string& path : paths) {
    absolute.push_back(AbsolutePath(path));
  }
  return absolute;
}

std::string CataloguePath(const std::string& path) {
  if (path.empty()) {
    throw Failure(FailureCode::NotFound, "the name is empty");
  }
  std::error_code failure;
  const std::string absolute = AbsolutePath(path);
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(absolute, failure);
  return failure ? absolute : resolved.string();
}

bool Shard::Has(std::string_view absolutePath) const {
  constexpr std::uint64_t kOffset = 0xCBF29CE484222325;
  constexpr std::uint64_t kPrime = 0x100000001B3;
  if (count == 0) {
    return true;
  }
  std::uint64_t hash = kOffset;
  for (const char character : absolutePath) {
    hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
  }
  return hash % count == number;
}

std::string ShardFault(const std::string& text) {
  return Parse(text) ? "" : '"' + text + "\" is no shard K/N, with K from 0 to N - 1";
}

Shard ShardOf(const std::string& text) { return Parse(text).value_or(Shard()); }

Ancestors::Ancestors(std::vector<std::string> absolutePaths)
    : paths_(absolutePaths.begin(), absolutePaths.end()) {}

bool Ancestors::HasAbove(const std::string& absolutePath) const {
  for (std::size_t end = absolutePath.size(); end != 0; end = absolutePath.rfind('/', end - 1)) {
    if (paths_.contains(std::string_view(absolutePath).substr(0, end))) {
      return true;
    }
    if (end == std::string::npos) {
      return false;
    }
  }
  return paths_.contains("/");
}
