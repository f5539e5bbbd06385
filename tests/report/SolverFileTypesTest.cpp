// The solver's format that the name of a file indicates.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Lbt/Tev/TevInfo/ModelFacts.h"

namespace {

constexpr const char* kUnknown = "Unknown Format";

struct Row {
  const char* extension;
  const char* format;
};

/// The extensions that mean the same for model and results files.
constexpr auto kRows = std::to_array<Row>({
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
    {".dis", "Patran Displacement Result"},
    {".nod", "Patran Nodal Result"},
    {".els", "Patran Elemental Result"},
    {".cp_hmasl", "Hypermesh ASL generic ASCII file"},
});

void ExpectBoth(const std::string& path, const std::string& format) {
  EXPECT_EQ(GetModelFileFormat(path), format) << path;
  EXPECT_EQ(GetResultsFileFormat(path), format) << path;
}

TEST(SolverFileTypes, KnownExtensions_AreNamed) {
  for (const Row& row : kRows) {
    ExpectBoth(std::string("/models/job") + row.extension, row.format);
  }
}

TEST(SolverFileTypes, ExtensionDat_IsADeckAsModelAndASolutionAsResults) {
  EXPECT_EQ(GetModelFileFormat("run.dat"), "Nastran BDF");
  EXPECT_EQ(GetResultsFileFormat("run.dat"), "Fluent solution");
}

TEST(SolverFileTypes, PatranResults_AreKnownByTheStartOfTheExtension) {
  ExpectBoth("job.dis12", "Patran Displacement Result");
  ExpectBoth("job.dis1", "Patran Displacement Result");
  ExpectBoth("job.nodal", "Patran Nodal Result");
  ExpectBoth("job.els_1", "Patran Elemental Result");
  ExpectBoth("job.di", kUnknown);
  ExpectBoth("job.no", kUnknown);
  ExpectBoth("job.el", kUnknown);
}

TEST(SolverFileTypes, OtherExtensions_HaveToBeWhole) {
  for (const Row& row : kRows) {
    const std::string extension = row.extension;
    if (extension != ".dis" && extension != ".nod" && extension != ".els") {
      ExpectBoth("job" + extension + "1", kUnknown);
    }
  }
  ExpectBoth("job.da", kUnknown);
  ExpectBoth("job.dat1", kUnknown);
  ExpectBoth("job.op", kUnknown);
  ExpectBoth("job.cp_hmas", kUnknown);
}

TEST(SolverFileTypes, Case_Counts) {
  for (const char* path :
       {"model.RST", "model.Bdf", "part.Stl", "job.DIS", "run.DAT", "D3plot", "job.CP_HMASL"}) {
    ExpectBoth(path, kUnknown);
  }
}

TEST(SolverFileTypes, BaseNameThatBeginsWithD3plot_IsLsDyna) {
  for (const char* path : {"d3plot", "d3plot01", "/a/b/d3plot", "C:\\runs\\d3plot07", "d3plot.op2",
                           "/a.b\\c/d3plotter.dat"}) {
    ExpectBoth(path, "LS-Dyna d3plot");
  }
}

TEST(SolverFileTypes, D3plotElsewhere_IsNothing) {
  for (const char* path : {"my_d3plot", "/a/d3plot/x", "d3plot\\", "d3plo", "/d3plot01/file"}) {
    ExpectBoth(path, kUnknown);
  }
  ExpectBoth("/d3plot/x.op2", "Nastran OP2");
}

TEST(SolverFileTypes, OnlyTheLastDot_Counts) {
  ExpectBoth("archive.tar.rst", "ANSYS RST");
  ExpectBoth("model.rst.gz", kUnknown);
  ExpectBoth("model.rst.", kUnknown);
  ExpectBoth("model..rst", "ANSYS RST");
}

TEST(SolverFileTypes, DotInADirectory_DoesNotCount) {
  ExpectBoth("dir.v2/file", kUnknown);
  ExpectBoth("dir.op2/file", kUnknown);
  ExpectBoth("dir.op2\\file", kUnknown);
  ExpectBoth("dir.op2/", kUnknown);
  ExpectBoth("/a\\b.op2/c\\d.inp", "Abaqus INP");
}

TEST(SolverFileTypes, NameThatIsAllExtension_IsNamed) {
  ExpectBoth(".op2", "Nastran OP2");
  ExpectBoth("/a/.k", "LS-Dyna Input Deck");
}

TEST(SolverFileTypes, NoExtension_IsUnknown) {
  for (const char* path : {"", "/", "\\", "file", "op2", ".", "..", "a/."}) {
    ExpectBoth(path, kUnknown);
  }
}

}  // namespace
