// Writes grids as XML files of VTK.

#include "Lbt/Tev/Exchange/Vtu.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <new>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Lbt/Tev/Exchange/MergedGrid.h"
#include "Lbt/Tev/Exchange/ReplacedFile.h"
#include "XmlText.h"

namespace LbtTev::Exchange {

namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::size_t kBlock = std::size_t{256} * 1024;

void WriteBase64(std::ostream& out, std::span<const unsigned char> bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto group = bytes.subspan(i, std::min<std::size_t>(3, bytes.size() - i));
    std::uint32_t bits = 0;
    for (std::size_t byte = 0; byte < 3; ++byte) {
      bits = (bits << 8U) | (byte < group.size() ? group[byte] : 0U);
    }
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text += digit <= group.size() ? kDigits[(bits >> (18 - 6 * digit)) & 0x3FU] : '=';
    }
  }
  out << text;
}

void AppendCompressed(std::vector<unsigned char>& bytes, std::span<const unsigned char> block) {
  const std::size_t before = bytes.size();
  uLongf size = compressBound(block.size());
  bytes.resize(before + size);
  if (compress2(bytes.data() + before, &size, block.data(), block.size(), Z_BEST_SPEED) != Z_OK) {
    throw std::bad_alloc();  // the one reason that is left
  }
  bytes.resize(before + size);
}

std::span<std::byte> RoomIn(std::vector<unsigned char>& bytes) {
  return std::as_writable_bytes(std::span(bytes));
}

std::span<const unsigned char> HeaderBytes(const std::vector<std::uint64_t>& numbers) {
  const void* start = numbers.data();
  return {static_cast<const unsigned char*>(start), numbers.size() * sizeof(std::uint64_t)};
}

std::string_view NameOf(NumberType type) {
  constexpr std::array<std::string_view, 5> kNames{"Float32", "Int32", "Int64", "UInt8", "UInt32"};
  return kNames.at(static_cast<std::size_t>(type));
}

/// Keeps the arrays of a grid until all of it is there: each is compressed as a whole, and they
/// stand in another order than the model has them.
class VtuSink : public GridSink {
 public:
  explicit VtuSink(const std::string& path) : spool_(path) {}

  void Begin(const GridLayout& layout) override {
    layout_ = layout;
    std::uint64_t next = 0;
    std::map<std::string, int> pointNames;
    std::map<std::string, int> cellNames;
    for (const GridArray& array : layout_.arrays) {
      auto& used = array.role == ArrayRole::PointData ? pointNames : cellNames;
      const bool isData = array.role >= ArrayRole::PartIds;
      names_.push_back(isData ? UniqueName(XmlText(array.name), used) : array.name);
      starts_.push_back(next);
      next += array.tuples * array.TupleBytes();
    }
  }

  void Write(std::size_t array, std::uint64_t first, std::span<const std::byte> tuples) override {
    spool_.Write(starts_[array] + first * layout_.arrays[array].TupleBytes(), tuples);
  }

  void WriteTo(std::ostream& out) const {
    out << kHead << "<!-- Parts:\n";
    for (const auto& [id, name] : layout_.parts) {
      out << id << ": " << XmlText(name) << '\n';
    }
    if (!layout_.step.empty()) {
      out << "Step: " << XmlText(layout_.step) << '\n';
    }
    out << "-->\n"
           "<VTKFile type=\"UnstructuredGrid\" version=\"1.0\" byte_order=\"LittleEndian\" "
           "header_type=\"UInt64\" compressor=\"vtkZLibDataCompressor\">\n<UnstructuredGrid>\n";
    if (!layout_.step.empty()) {
      out << "<FieldData>\n<DataArray type=\"Float64\" Name=\"TimeValue\" NumberOfTuples=\"1\" "
             "format=\"ascii\">"
          << NumberIn(layout_.time) << "</DataArray>\n</FieldData>\n";
    }
    out << "<Piece NumberOfPoints=\"" << layout_.points << "\" NumberOfCells=\"" << layout_.cells
        << "\">\n";
    WriteSection(out, "PointData", {ArrayRole::PointData});
    WriteSection(out, "CellData", {ArrayRole::PartIds, ArrayRole::CellData});
    WriteSection(out, "Points", {ArrayRole::Points});
    WriteSection(out, "Cells", {ArrayRole::Connectivity, ArrayRole::Offsets, ArrayRole::Types});
    out << "</Piece>\n</UnstructuredGrid>\n</VTKFile>\n";
  }

 private:
  void WriteSection(std::ostream& out, std::string_view name,
                    const std::vector<ArrayRole>& roles) const {
    out << '<' << name << ">\n";
    for (std::size_t i = 0; i < layout_.arrays.size(); ++i) {
      if (std::ranges::find(roles, layout_.arrays[i].role) != roles.end()) {
        WriteArray(out, i);
      }
    }
    out << "</" << name << ">\n";
  }

  void WriteArray(std::ostream& out, std::size_t place) const {
    const GridArray& array = layout_.arrays[place];
    out << "<DataArray type=\"" << NameOf(array.type) << "\" Name=\"" << names_[place] << "\" ";
    if (array.components != 1) {
      out << "NumberOfComponents=\"" << array.components << "\" ";
    }
    out << "format=\"binary\">\n";
    WriteNumbers(out, starts_[place], array.tuples * array.TupleBytes());
    out << "\n</DataArray>\n";
  }

  /// A header of sizes (how many blocks, bytes of a block, bytes of the last one where that is
  /// shorter, compressed bytes of each), and the blocks.
  void WriteNumbers(std::ostream& out, std::uint64_t start, std::uint64_t size) const {
    std::vector<std::uint64_t> header{(size + kBlock - 1) / kBlock, kBlock, size % kBlock};
    std::vector<unsigned char> block;
    std::vector<unsigned char> compressed;
    for (std::uint64_t done = 0; done < size; done += block.size()) {
      block.resize(std::min<std::uint64_t>(kBlock, size - done));
      spool_.Read(start + done, RoomIn(block));
      const std::size_t before = compressed.size();
      AppendCompressed(compressed, block);
      header.push_back(compressed.size() - before);
    }
    WriteBase64(out, HeaderBytes(header));
    WriteBase64(out, compressed);
  }

  Spool spool_;
  GridLayout layout_;
  std::vector<std::uint64_t> starts_;
  std::vector<std::string> names_;  // as XML has them: texts that it has not may become one
};

/// "results.pvd" has the folder "results" beside it.
std::filesystem::path FolderOf(const std::string& path) {
  return TargetOf(path).replace_extension();
}

}  // namespace

void WriteVtu(const Contents& contents, std::size_t placeAmongSteps, const CellRules& rules,
              const std::string& path, const Listener& listener) {
  ReplacedFile file(path);
  VtuSink sink(path);
  WriteMergedGrid(contents, placeAmongSteps, rules, sink, listener);
  sink.WriteTo(file.Stream());
  file.Finish();
  file.Commit();
}

void WritePvd(const Contents& contents, const CellRules& rules, const std::string& path,
              const Listener& listener) {
  const std::filesystem::path folderPath = FolderOf(path);
  const std::string stem = folderPath.filename().string();
  ReplacedFile file(path);
  ReplacedFolder folder(folderPath.string(), ".vtu");
  file.Stream() << kHead
                << "<VTKFile type=\"Collection\" version=\"0.1\" byte_order=\"LittleEndian\">\n"
                   "<Collection>\n";
  for (std::size_t i = 0; i < contents.Steps().size(); ++i) {
    std::string name = stem;
    name.append("_").append(std::to_string(i)).append(".vtu");
    std::string place = stem;
    place.append("/").append(name);
    WriteVtu(contents, i, rules, folder.Path() + '/' + name, listener);
    file.Stream() << "<!-- " << XmlText(contents.TextOf(contents.Steps()[i])) << " -->\n"
                  << "<DataSet timestep=\"" << NumberIn(contents.TimeOf(i))
                  << R"(" group="" part="0" file=")" << XmlText(place) << "\"/>\n";
  }
  file.Stream() << "</Collection>\n</VTKFile>\n";
  file.Finish();
  folder.Commit();
  file.Commit();
}

}  // namespace LbtTev::Exchange
