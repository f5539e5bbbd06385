// The size of a file as text.

#include "Lbt/Util/FileSize.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "Lbt/Util/ToString.h"

namespace LbtUtil {

std::string GetFileSize(const char* path) {
  struct stat status {};
  if (stat(path, &status) != 0) {
    return std::strerror(errno);
  }
  return FileSizeText(status.st_size);
}

std::string FileSizeText(std::int64_t bytes) {
  constexpr float kPerMebibyte = 1.0F / 1048576.0F;
  constexpr float kPerKibibyte = 0.0009765625F;
  const auto size = static_cast<float>(bytes);
  if (size * kPerMebibyte > 1.0F) {
    return Lbt::Util::ToString(size * kPerMebibyte) + " MB";
  }
  if (size * kPerKibibyte > 1.0F) {
    return Lbt::Util::ToString(size * kPerKibibyte) + " KB";
  }
  return Lbt::Util::ToString(size) + " B";
}

}  // namespace LbtUtil
