// Opens a container file and serves its named reads.

#include "Lbt/Lbf/LbFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

#include "Lbt/Lbf/CopyFromBlock.h"
#include "Lbt/Log/Raise.h"
#include "Lbt/Util/NumberText.h"
#include "Lbt/Util/StoredNumbers.h"

namespace LbtLbf {

using Lbt::Log::Raise;
using Lbt::Log::Trace;
using Lbt::Util::Exception;

// NOLINTNEXTLINE(*-avoid-non-const-global-variables, cert-err58-cpp)
std::string tev_file_version = kNewestVersion;

namespace {

constexpr const char* kFileHeader = "include/Lbt/Lbf/LbFile";
constexpr std::uint32_t kTenthsOf07 = 7;
constexpr std::uint64_t kVersionOffset = 8;
constexpr std::size_t kVersionSize = 4;
constexpr std::uint64_t kIndexSizeOffset = 12;
static_assert(LbFile::kHeaderSize == kIndexSizeOffset + sizeof(std::uint32_t));

/// Whether a stream that is opened with that mode can only be read.
bool IsForReading(std::string_view mode) {
  return mode.starts_with('r') && mode.find('+') == std::string_view::npos;
}

}  // namespace

std::uint32_t VersionTenths(const std::string& version) {
  constexpr auto kUnsupported = std::numeric_limits<std::uint32_t>::max();
  constexpr double kAgainstRounding = 0.001;
  const double number = std::strtod(version.c_str(), nullptr);
  // Four characters can hold "1e99", which no float can.
  if (!std::isfinite(number) || number < 0 || number > std::numeric_limits<float>::max()) {
    return kUnsupported;
  }
  const double tenths = (static_cast<double>(static_cast<float>(number)) + kAgainstRounding) * 10.0;
  return tenths < static_cast<double>(kUnsupported) ? static_cast<std::uint32_t>(tenths)
                                                    : kUnsupported;
}

LbFile::~LbFile() { LbFile::CloseFile(); }

void LbFile::OpenFile(const std::string& path, const char* mode) {
  RequireClosed();
  if (IsForReading(mode)) {
    file_ = StoredFile(path);
  }
  if (!IsOpen()) {
    const std::string message = "Unable to open file \"" + path + '"';
    Raise(Exception::ErrorType::MiscelleneousError, message.c_str(), kFileHeader);
  }
}

void LbFile::OpenFile(StoredFile file) {
  RequireClosed();
  file_ = std::move(file);
}

void LbFile::CloseFile() {
  Trace("Closing file ...", kFileHeader);
  if (IsOpen()) {
    file_ = StoredFile();
    index_.ForgetContents();
    Trace("File closed.", kFileHeader);
  }
}

void LbFile::RequireOpen() const {
  if (!IsOpen()) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFileHeader);
  }
}

void LbFile::RequireClosed() const {
  if (IsOpen()) {
    Raise(Exception::ErrorType::MiscelleneousError, "File stream is already in use", kFileHeader);
  }
}

bool LbFile::HasSignature() {
  RequireOpen();
  return file_.IsRegular() && ReadHeader(0, kSignature.size()) == kSignature;
}

std::string LbFile::ReadVersion() { return ReadHeader(kVersionOffset, kVersionSize); }

/// Reads what the file has of "bytes", and returns how many there are.
std::size_t LbFile::ReadAt(std::uint64_t position, std::span<unsigned char> bytes) const {
  RequireOpen();
  const std::optional<std::size_t> count = file_.Read(position, bytes);
  if (!count) {
    Raise(Exception::ErrorType::ReadError, "Unable to read from file", kFileHeader);
  }
  return *count;
}

/// Header bytes up to the first NUL. What lies past the file's end reads as NUL.
std::string LbFile::ReadHeader(std::uint64_t position, std::size_t length) const {
  std::array<unsigned char, kHeaderSize> bytes{};
  const std::size_t count = ReadAt(position, std::span(bytes).first(length));
  return {bytes.begin(), std::find(bytes.begin(), bytes.begin() + count, '\0')};
}

void LbFile::CheckSupport(const std::string& version, bool& wideOffsets) {
  const std::uint32_t tenths = VersionTenths(version);
  const std::uint32_t supported = VersionTenths(kNewestVersion);
  wideOffsets = tenths >= kTenthsOf07;
  if (tenths > supported) {
    // Both in tenths, as whole numbers: scripts look for them in this form.
    const std::string message = "This file is of tev file version " + Lbt::Util::ToString(tenths) +
                                ".\nThis version of Quarlo only supports tev file version upto " +
                                Lbt::Util::ToString(supported) + ".\n";
    Raise(Exception::ErrorType::UnknownVersion, message.c_str(), kFileHeader);
  }
}

void LbFile::ReadIndex() {
  Trace("Reading index positions ... ", kFileHeader);
  std::array<unsigned char, sizeof(std::uint32_t)> stored{};
  const bool isWhole = ReadAt(kIndexSizeOffset, stored) == stored.size();
  // A file that ends before its index size has an index of no bytes.
  const auto size = isWhole ? Lbt::Util::FromLittleEndian<std::uint32_t>(stored.data()) : 0;
  index_.Read(file_, kHeaderSize, size);
  Trace("Index read. ", kFileHeader);
}

void LbFile::ReadIndexOnce() {
  if (IsOpen() && index_.IsEmpty()) {
    ReadIndex();
  }
}

NamedStream* LbFile::FindStream(std::string_view name) {
  ReadIndexOnce();
  return index_.FindStream(name);
}

std::optional<std::size_t> LbFile::FindBlockAt(std::string_view name, std::uint64_t position) {
  try {
    NamedStream* stream = FindStream(name);
    return stream == nullptr ? std::nullopt : index_.HolderOf(*stream, position, file_);
  } catch (const Exception&) {
    return std::nullopt;  // the length of an earlier block cannot be read
  }
}

Block& LbFile::GetReadingBlock(std::string_view name) {
  ReadIndexOnce();
  return IsOpen() ? index_.GetReadingBlock(name, file_) : index_.GetReadingBlock(name);
}

void LbFile::Get(std::string_view name, void* const& destination, unsigned long length) {
  AbsorbNotFound(
      [&] { GetReadingBlock(name).Get(destination, static_cast<unsigned int>(length)); });
}

std::span<const unsigned char> LbFile::GetBytes(std::string_view name, unsigned long length) {
  // No block holds more than 32 bits can count; the longest read fails like any other that is too
  // long.
  constexpr unsigned long kMost = std::numeric_limits<std::uint32_t>::max();
  std::span<const unsigned char> bytes;
  AbsorbNotFound([&] {
    bytes = GetReadingBlock(name).Get(static_cast<std::uint32_t>(std::min(length, kMost)));
  });
  return bytes;
}

template <StreamValue T>
void LbFile::Get(std::string_view name, T& value) {
  const auto read = [&] { CopyFromBlock(GetReadingBlock(name), value); };
  if (IsOpen()) {
    AbsorbNotFound(read);
  } else {
    read();
  }
}

template void LbFile::Get(std::string_view name, unsigned char& value);
template void LbFile::Get(std::string_view name, bool& value);
template void LbFile::Get(std::string_view name, unsigned int& value);
template void LbFile::Get(std::string_view name, float& value);
template void LbFile::Get(std::string_view name, unsigned long& value);
template void LbFile::Get(std::string_view name, std::string& value);
template void LbFile::Get(std::string_view name, std::vector<unsigned char>& value);
template void LbFile::Get(std::string_view name, std::vector<unsigned int>& value);
template void LbFile::Get(std::string_view name, std::vector<float>& value);
template void LbFile::Get(std::string_view name, std::vector<double>& value);
template void LbFile::Get(std::string_view name, std::vector<std::string>& value);
template void LbFile::Get(std::string_view name, StoredList<unsigned char>& value);
template void LbFile::Get(std::string_view name, StoredList<unsigned int>& value);
template void LbFile::Get(std::string_view name, StoredList<float>& value);
template void LbFile::Get(std::string_view name, StoredList<double>& value);
template void LbFile::Get(std::string_view name, std::vector<std::string_view>& value);

void LbFile::SetBlockPosition(std::string_view name, unsigned long offset) {
  index_.SetBlockPosition(name, offset, file_);
}

std::uint32_t LbFile::ReadRecordedLength(std::size_t entry) {
  return index_.ReadRecordedLength(entry, file_);
}

std::size_t LbFile::ReadStored(std::uint64_t offset, std::span<unsigned char> bytes) {
  return ReadAt(offset, bytes);
}

}  // namespace LbtLbf
