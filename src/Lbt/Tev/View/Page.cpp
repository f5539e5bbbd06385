// Writes pages that need no other file.

#include "Lbt/Tev/View/Page.h"

#include <zlib.h>

#include <algorithm>
#include <bit>
#include <new>
#include <numeric>

#include "PageTemplate.h"

namespace LbtTev::View {

namespace {

std::span<const unsigned char> BytesOf(std::string_view text) {
  const void* start = text.data();
  return {static_cast<const unsigned char*>(start), text.size()};
}

std::string Deflated(std::span<const unsigned char> bytes) {
  constexpr int kLevel = 5;  // of large meshes, 6 takes half as long again for a hundredth less
  std::vector<unsigned char> packed(compressBound(bytes.size()));
  uLongf size = packed.size();
  if (compress2(packed.data(), &size, bytes.data(), bytes.size(), kLevel) != Z_OK) {
    throw std::bad_alloc();  // the one reason that is left
  }
  return {packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)};
}

constexpr std::size_t SizeInBase64(std::size_t bytes) { return (bytes + 2) / 3 * 4; }

std::string InBase64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve(SizeInBase64(bytes.size()));
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    std::uint32_t bits = 0;
    for (std::size_t byte = 0; byte < 3; ++byte) {
      bits = (bits << 8U) | (byte < group.size() ? static_cast<unsigned char>(group[byte]) : 0U);
    }
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text += digit <= group.size() ? kDigits[(bits >> (18 - 6 * digit)) & 0x3FU] : '=';
    }
  }
  return text;
}

/// Each number less the one before it, as they wrap around.
template <class T>
std::vector<T> Differences(std::span<const T> numbers) {
  std::vector<T> differences(numbers.size());
  std::adjacent_difference(numbers.begin(), numbers.end(), differences.begin(),
                           [](T next, T last) { return static_cast<T>(next - last); });
  return differences;
}

/// The bytes of numbers, those of lowest value of all numbers first.
template <class T>
std::vector<unsigned char> Planes(std::span<const T> numbers) {
  std::vector<unsigned char> planes(numbers.size() * sizeof(T));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    for (std::size_t byte = 0; byte < sizeof(T); ++byte) {
      planes[byte * numbers.size() + i] =
          static_cast<unsigned char>((numbers[i] >> (8 * byte)) & 0xFFU);
    }
  }
  return planes;
}

/// Text between tags.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '&':
        escaped += "&amp;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string PictureText(std::string_view picture) {
  return picture.empty() ? "data:," : "data:image/png;base64," + InBase64(picture);
}

// What the page lacks, in this order.
constexpr std::string_view kTitle = "@TITLE@";  // twice
constexpr std::string_view kPicture = "@PICTURE@";
constexpr std::string_view kBlocks = "@BLOCKS@";

constexpr std::string_view kBlockHead = R"(<script type="application/octet-stream" id="block-)";
constexpr std::string_view kBlockMiddle = R"(">)";
constexpr std::string_view kBlockTail = "</script>\n";

std::uint64_t SizeOfBlock(std::string_view name, std::size_t packed) {
  return kBlockHead.size() + name.size() + kBlockMiddle.size() + SizeInBase64(packed) +
         kBlockTail.size();
}

void WriteBlock(std::string_view name, std::string_view packed, std::ostream& out) {
  out << kBlockHead << name << kBlockMiddle << InBase64(packed) << kBlockTail;
}

}  // namespace

Page::Block Page::Add(std::span<const unsigned char> bytes) {
  std::string packed = Deflated(bytes);
  const auto [found, isNew] = blockOf_.emplace(std::move(packed), blockOf_.size());
  if (isNew) {
    packed_.push_back(&found->first);
  }
  return found->second;
}

Page::Block Page::AddFloats(std::span<const float> numbers) {
  std::vector<std::uint32_t> bits(numbers.size());
  std::ranges::transform(numbers, bits.begin(),
                         [](float number) { return std::bit_cast<std::uint32_t>(number); });
  return Add(Planes<std::uint32_t>(bits));
}

Page::Block Page::AddWholes(std::span<const std::int32_t> numbers) {
  std::vector<std::uint32_t> bits(numbers.size());
  std::ranges::transform(numbers, bits.begin(),
                         [](std::int32_t number) { return static_cast<std::uint32_t>(number); });
  return Add(Planes<std::uint32_t>(Differences<std::uint32_t>(bits)));
}

Page::Block Page::AddSteps(std::span<const std::uint16_t> numbers,
                           std::span<const std::uint16_t> before) {
  if (before.empty()) {
    return Add(Planes<std::uint16_t>(Differences(numbers)));
  }
  std::vector<std::uint16_t> differences(numbers.size());
  std::ranges::transform(numbers, before, differences.begin(),
                         [](std::uint16_t number, std::uint16_t other) {
                           return static_cast<std::uint16_t>(number - other);
                         });
  return Add(Planes<std::uint16_t>(differences));
}

std::uint64_t Page::Size(const Contents& contents, const std::set<Block>& blocks) const {
  std::uint64_t size = PageTemplate().size() + 2 * Escaped(contents.title).size() +
                       PictureText(contents.picture).size() +
                       SizeOfBlock("model", Deflated(BytesOf(contents.model)).size());
  for (const std::string_view mark : {kTitle, kTitle, kPicture, kBlocks}) {
    size -= mark.size();
  }
  for (const Block block : blocks) {
    size += SizeOfBlock(std::to_string(block), packed_[block]->size());
  }
  return size;
}

void Page::Write(const Contents& contents, const std::set<Block>& blocks, std::ostream& out) const {
  const std::string page = PageTemplate();
  std::string_view rest = page;
  const auto copyTo = [&](std::string_view mark) {
    const std::size_t place = rest.find(mark);
    out << rest.substr(0, place);
    rest.remove_prefix(place + mark.size());
  };
  const std::string title = Escaped(contents.title);
  copyTo(kTitle);
  out << title;
  copyTo(kTitle);
  out << title;
  copyTo(kPicture);
  out << PictureText(contents.picture);
  copyTo(kBlocks);
  for (const Block block : blocks) {
    WriteBlock(std::to_string(block), *packed_[block], out);
  }
  WriteBlock("model", Deflated(BytesOf(contents.model)), out);
  out << rest;
}

}  // namespace LbtTev::View
