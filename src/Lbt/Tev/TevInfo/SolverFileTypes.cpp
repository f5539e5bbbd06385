// Names solver formats by the names of their files.

#include <array>
#include <string_view>

#include "Lbt/Tev/TevInfo/ModelFacts.h"

namespace {

/// One way to recognise a format. The first row that matches counts.
struct Row {
  std::string_view extension;
  std::string_view format;
  bool isPrefix = false;
};

constexpr auto kCommonRows = std::to_array<Row>({
    {".op2", "Nastran OP2"},
    {".bdf", "Nastran BDF"},
    {".inp", "Abaqus INP"},
    {".fil", "Abaqus FIL"},
    {".odb", "ABAQUS ODB"},
    {".rst", "ANSYS RST"},
    {".rth", "ANSYS RTH"},
    {".neu", "PTC/Mechanica Design Study"},
    {".msh", "Fluent Mesh"},
    {".cas", "Fluent Case"},
    {".res", "CFX solution"},
    {".ccm", "StarCCM solution"},
    {".ccmp", "StarCCM solution"},
    {".ccmt", "StarCCM solution"},
    {".ccmg", "StarCCM solution"},
    {".case", "Ensight Gold"},
    {".k", "LS-Dyna Input Deck"},
    {".key", "LS-Dyna Input Deck"},
    {".dyn", "LS-Dyna Input Deck"},
    {".unv", "Ideas Universal"},
    {".bun", "Ideas Universal Binary"},
    {".t16", "MSC.MARC Binary Post"},
    {".t19", "MSC.MARC Formatted Post"},
    {".pat", "Patran Neutral"},
    {".out", "Patran Neutral"},
    {".STL", "Stereolithography Format"},
    {".stl", "Stereolithography Format"},
    {".dis", "Patran Displacement Result", true},
    {".nod", "Patran Nodal Result", true},
    {".els", "Patran Elemental Result", true},
    {".cp_hmasl", "Hypermesh ASL generic ASCII file"},
});

/// ".dat" stands for different programs' files as a model and as results.
std::string FormatOf(std::string_view path, std::string_view formatOfDat) {
  const std::string_view baseName = path.substr(path.find_last_of("/\\") + 1);
  if (baseName.starts_with("d3plot")) {
    return "LS-Dyna d3plot";
  }
  const std::size_t dot = baseName.rfind('.');
  if (dot == std::string_view::npos) {
    return "Unknown Format";
  }
  const std::string_view extension = baseName.substr(dot);
  if (extension == ".dat") {
    return std::string(formatOfDat);
  }
  for (const Row& row : kCommonRows) {
    const bool matches =
        row.isPrefix ? extension.starts_with(row.extension) : extension == row.extension;
    if (matches) {
      return std::string(row.format);
    }
  }
  return "Unknown Format";
}

}  // namespace

std::string GetModelFileFormat(const std::string& path) { return FormatOf(path, "Nastran BDF"); }

std::string GetResultsFileFormat(const std::string& path) {
  return FormatOf(path, "Fluent solution");
}
