#pragma once

#include <cstdint>
#include <string>

namespace LbtUtil {

/// The size of the file at "path" as text, in binary units: "12.5 MB",
/// "1.00098 KB", "1024 B". Symbolic links are followed. The system's error text
/// where the file's status cannot be read.
[[nodiscard]] std::string GetFileSize(const char* path);

/// The text for a size in bytes. The limits between the units are exclusive and
/// the sum is done in single precision; both are intended and visible.
[[nodiscard]] std::string FileSizeText(std::int64_t bytes);

}  // namespace LbtUtil
