// tev export, by the files that it leaves: the numbers as other programs read them, what is
// replaced and when, and what is told of damage.

#include <algorithm>
#include <filesystem>
#include <set>

#include "run/AnalysisRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

namespace fs = std::filesystem;

class TevExport : public TevRun {
 protected:
  /// Exports without a word, and has the script compare the result; "" where it finds nothing.
  [[nodiscard]] std::string Compare(const std::string& how, const std::string& model,
                                    const std::string& output,
                                    const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments{"export", Example(model + ".tev"), "-o", output};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(Answer(arguments), "");
    return RunScript({how, TruthOf(model), output});
  }

  /// The same with rules for cells; the script is told "claimed" ones.
  [[nodiscard]] std::string CompareCells(const std::string& model, const std::string& output,
                                         const std::string& rules,
                                         const std::string& claimed) const {
    const std::string suffix = output.substr(output.find('.') + 1);
    std::vector<std::string> arguments{"export", Example(model + ".tev"), "-o", output};
    if (!rules.empty()) {
      arguments.insert(arguments.end(), {"--cells", rules});
    }
    EXPECT_EQ(Answer(arguments), "");
    return RunScript({"--cells", claimed, suffix, TruthOf(model), output});
  }

  [[nodiscard]] std::string RunScript(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{
        "/usr/bin/python3", std::string(TEVINFO_SOURCE_DIR) + "/tests/run/check_export.py"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const RunResult run = RunProgram(command, {.environment = {{"PYTHONDONTWRITEBYTECODE", "1"}},
                                               .workingDirectory = dir.Path()});
    return run.status == 0 ? "" : "status " + std::to_string(run.status) + run.output + run.error;
  }

  /// The names of all that is in the scratch directory, but for models.
  [[nodiscard]] std::set<std::string> Left() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir.Path())) {
      if (entry.path().extension() != ".tev") {
        names.insert(entry.path().filename().string());
      }
    }
    return names;
  }

  void ExpectRefused(const std::vector<std::string>& arguments, const std::string& told) const {
    const RunResult run = Run(arguments);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "tev: " + told + '\n');
  }
};

using Names = std::set<std::string>;

const std::vector<std::string> kLastStep{"--step", "Time = 10"};

TEST_F(TevExport, Vtu_IsReadByVtkAndMeshioBitForBit) {
  EXPECT_EQ(Compare("vtu", "bracket", "b.vtu"), "");
  EXPECT_EQ(Compare("vtu", "heatsink", "h.vtu", kLastStep), "");
  EXPECT_EQ(Left(), (Names{"b.vtu", "h.vtu"}));
}

TEST_F(TevExport, Pvd_HasAllStepsInAFolder) {
  EXPECT_EQ(Compare("pvd", "heatsink", "h.pvd"), "");
  EXPECT_EQ(Left(), (Names{"h", "h.pvd"}));
}

TEST_F(TevExport, VtkHdf_IsReadByVtkAndH5pyBitForBit) {
  EXPECT_EQ(Compare("hdf", "bracket", "b.hdf"), "");
  EXPECT_EQ(Compare("hdf", "heatsink", "h.hdf", kLastStep), "");
  EXPECT_EQ(Left(), (Names{"b.hdf", "h.hdf"}));
}

TEST_F(TevExport, Xdmf_HasAllStepsAndPartsBitForBit) {
  EXPECT_EQ(Compare("xdmf", "bracket", "b.xdmf"), "");
  EXPECT_EQ(Compare("xdmf", "heatsink", "h.xdmf"), "");
  EXPECT_EQ(Left(), (Names{"b.h5", "b.xdmf", "h.h5", "h.xdmf"}));
}

TEST_F(TevExport, ArraysThatPartsShare_AreStoredOnce) {
  EXPECT_EQ(Compare("xdmf", "heatsink", "h.xdmf"), "");
  // Two parts have the same points, and each surface has its own.
  EXPECT_EQ(RunScript({"shared", "h.xdmf", "4"}), "");
}

TEST_F(TevExport, NodeSets_AreThoseOfEachPart) {
  Write("m.tev", SmallModel());
  EXPECT_EQ(Answer({"export", "m.tev", "-o", "m.xdmf"}), "");
  EXPECT_EQ(RunScript({"set", "m.xdmf", "Frame", "Fixed", "1", "2"}), "");
  EXPECT_EQ(RunScript({"set", "m.xdmf", "Frame", "Loaded", "5"}), "");
  EXPECT_EQ(RunScript({"set", "m.xdmf", "Panel", "Fixed"}), "");
  EXPECT_NE(RunScript({"set", "m.xdmf", "Frame", "Fixed", "1", "3"}), "");
}

TEST_F(TevExport, Comparison_SeesOtherNumbers) {
  EXPECT_NE(Compare("vtu", "heatsink", "h.vtu", {"--step", "Time = 9.5"}), "");
  EXPECT_NE(Compare("hdf", "heatsink", "h.hdf", {"--step", "Time = 9.5"}), "");
  EXPECT_NE(Compare("xdmf", "heatsink", "h.xdmf", {"--part", "FINS"}), "");
}

TEST_F(TevExport, CellsByRules_AreThoseForAllFormats) {
  const std::string rules = "10=tetra10";
  for (const std::string output : {"b.vtu", "b.hdf", "b.xdmf"}) {
    EXPECT_EQ(CompareCells("bracket", output, rules, rules), "");
    EXPECT_NE(CompareCells("bracket", output, "", rules).find("types"), std::string::npos);
  }
  // Of three and four nodes, as lists of both.
  EXPECT_EQ(CompareCells("heatsink", "h.xdmf", "4=tetra", "4=tetra"), "");
  EXPECT_NE(CompareCells("heatsink", "h.xdmf", "4=tetra", "4=quad").find("types"),
            std::string::npos);
}

TEST_F(TevExport, VolumesOfCurvedElements_AreTheSolvers) {
  EXPECT_EQ(Compare("volumes", "bracket", "b.vtu", {"--cells", "10=tetra10"}), "");
}

TEST_F(TevExport, GuessedCells_AreTold) {
  const RunResult run = Run({"export", Example("heatsink.tev"), "--cells", "auto", "-o", "h.xdmf",
                             "--part", "FINS", "--part", "Temperature = 302"});
  EXPECT_EQ(run.status, 0);
  const std::string start = "tev: " + Example("heatsink.tev") + ": part ";
  EXPECT_EQ(run.error, start + "\"FINS\": took 6779 elements of 4 nodes for tetra\n" + start +
                           "\"Temperature = 302\": took 428 elements of 3 nodes for triangle, 214 "
                           "elements of 4 nodes for quad\n");
}

TEST_F(TevExport, StepsBesideOneFile_AreRefused) {
  ExpectRefused({"export", Example("heatsink.tev"), "-o", "h.vtu"},
                Example("heatsink.tev") +
                    ": h.vtu holds one step, and 20 fit: choose one by --step, or write .pvd");
  ExpectRefused({"export", Example("heatsink.tev"), "-o", "h.hdf"},
                Example("heatsink.tev") +
                    ": h.hdf holds one step, and 20 fit: choose one by --step, or write .xdmf");
  EXPECT_EQ(Left(), Names{});
}

TEST_F(TevExport, WrongUsage_IsTold) {
  Write("m.tev", SmallModel());
  ExpectRefused({"export", "m.tev", "-o", "m.txt"},
                "m.txt: an export ends in .xdmf, .vtu, .pvd or .hdf");
  ExpectRefused({"export", "m.tev", "-o", "-"}, "-: an export ends in .xdmf, .vtu, .pvd or .hdf");
  ExpectRefused({"export", "m.tev", "-o", "m.vtu", "--cells", "4=cube"},
                "--cells: there is no cell \"cube\" (see tev export --help)");
  EXPECT_EQ(Run({"export", "m.tev"}).status, 1);
  EXPECT_EQ(Run({"export", "m.tev", "-o", "m.vtu", "--part", "Nothing"}).status, 1);
  EXPECT_EQ(Left(), Names{});
}

TEST_F(TevExport, IntoAModel_IsRefused) {
  dir.Write("m.vtu", SmallModel().Build());
  const std::string before = dir.Read("m.vtu");
  Write("m.tev", SmallModel());
  EXPECT_EQ(Run({"export", "m.tev", "-o", "m.vtu"}).status, 2);
  EXPECT_EQ(dir.Read("m.vtu"), before);
  dir.Write("m.h5", SmallModel().Build());
  EXPECT_EQ(Run({"export", "m.tev", "-o", "m.xdmf"}).status, 2);
  EXPECT_EQ(dir.Read("m.h5"), before);
}

TEST_F(TevExport, ThatCannotBeWrittenWhole_LeavesTheOldOne) {
  for (const std::string name : {"h.vtu", "h.xdmf", "h.pvd", "h.hdf"}) {
    const std::string old = dir.Write(name, "old");
    std::vector<std::string> command{"/bin/sh",   "-c",     "ulimit -f 32; exec \"$@\"", "sh",
                                     TEV_PROGRAM, "export", Example("heatsink.tev"),     "-o",
                                     name};
    if (name == "h.vtu" || name == "h.hdf") {
      command.insert(command.end(), kLastStep.begin(), kLastStep.end());
    }
    const RunResult run = RunProgram(command, {.workingDirectory = dir.Path()});
    EXPECT_EQ(run.status, 2) << name;
    EXPECT_TRUE(run.error.starts_with("tev: " + name + ": cannot write")) << run.error;
    EXPECT_EQ(dir.Read(name), "old");
    EXPECT_EQ(Left(), Names{name});
    fs::remove(old);
  }
}

TEST_F(TevExport, OlderExport_IsReplaced) {
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Compare("pvd", "heatsink", "h.pvd"), "");
  }
  EXPECT_EQ(Left(), (Names{"h", "h.pvd"}));
}

TEST_F(TevExport, FolderOfSomebodyElse_IsLeftAlone) {
  fs::create_directory(dir / "h");
  dir.Write("h/thesis.txt", "mine");
  const RunResult run = Run({"export", Example("heatsink.tev"), "-o", "h.pvd"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error,
            "tev: h.pvd: the folder h beside it has other files than an export writes\n");
  EXPECT_EQ(Left(), Names{"h"});
  EXPECT_EQ(dir.Read("h/thesis.txt"), "mine");
}

TEST_F(TevExport, BesideAFolderOfThatName_NamesIt) {
  fs::create_directory(dir / "h.h5");
  const RunResult run = Run({"export", Example("heatsink.tev"), "-o", "h.xdmf"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: h.xdmf: h.h5 is no file that can be replaced\n");
  EXPECT_EQ(Left(), Names{"h.h5"});
}

TEST_F(TevExport, NamesInVtkHdf_AreWhatItCanHave) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("a\x80", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3}));
  for (const std::string name : {"", ".", "..", "a/b", "\xfft"}) {
    model.AddVariable(mesh, Variable::Floats(name + "\x1eTime = 0.5", kScalarResult, 1, {4}));
  }
  Write("m.tev", model);
  EXPECT_EQ(Answer({"export", "m.tev", "-o", "m.hdf"}), "");
  EXPECT_EQ(
      RunScript({"names", "m.hdf", "a\xef\xbf\xbd", "()", "(.)", "..", "a|b", "\xef\xbf\xbdt"}),
      "");
}

TEST_F(TevExport, DamagedField_IsNamedAndTheRestWritten) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 5).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  for (const char* output : {"m.vtu", "m.xdmf", "m.hdf", "m.pvd"}) {
    const RunResult run = Run({"export", "m.tev", "-o", output});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.error.find("part \"Frame\", result \"Displacement\", step \"Time = 0.5\": "),
              std::string::npos)
        << run.error;
    EXPECT_TRUE(dir.Has(output));
  }
  const std::string xml = dir.Read("m.xdmf");
  EXPECT_EQ(std::ranges::count(xml, '\n') > 20, true);
  const std::size_t panel = xml.find("<Grid Name=\"Panel\">");
  ASSERT_NE(panel, std::string::npos);
  EXPECT_GT(xml.find("Name=\"Displacement\""), panel) << "only this part has it";
  EXPECT_LT(xml.find("Name=\"Temperature\""), panel);
}

TEST_F(TevExport, ModelWhoseMeshesAreAllDamaged_LeavesTheOldExport) {
  ModelWriter model = SmallModel();
  model.VariableAt(kSmallMesh1, 1).heavyPosition = 1U << 30U;
  model.VariableAt(kSmallMesh2, 1).heavyPosition = 1U << 30U;
  Write("m.tev", model);
  for (const char* output : {"m.vtu", "m.xdmf"}) {
    dir.Write(output, "old");
    const RunResult run = Run({"export", "m.tev", "-o", output});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.error.find("No part has a mesh that can be read"), std::string::npos)
        << run.error;
    EXPECT_EQ(dir.Read(output), "old");
  }
}

TEST_F(TevExport, IntoAPlaceThatCannotBeLookedAt_IsAFailureOfTheOutput) {
  const std::string longName(300, 'a');
  const RunResult whole = Run({"check", Example("bracket.tev")});
  EXPECT_EQ(whole.status, 0) << "the model is sound";
  for (const std::string suffix : {".vtu", ".xdmf", ".hdf", ".pvd"}) {
    const std::string output = longName + suffix;
    const RunResult run = Run({"export", Example("bracket.tev"), "-o", output});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error, "tev: " + output + ": cannot write: File name too long\n");
  }
  fs::create_symlink("loop.vtu", dir / "loop.vtu");
  EXPECT_EQ(Run({"export", Example("bracket.tev"), "-o", "loop.vtu"}).error,
            "tev: loop.vtu: cannot write: Too many levels of symbolic links\n");
}

TEST_F(TevExport, NumbersOfSomebodyElse_AreLeftAlone) {
  Write("m.tev", SmallModel());
  dir.Write("m.h5", "mine");
  const RunResult run = Run({"export", "m.tev", "-o", "m.xdmf"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.error, "tev: m.xdmf: m.h5 beside it is no export's\n");
  EXPECT_EQ(dir.Read("m.h5"), "mine");
  EXPECT_EQ(Left(), Names{"m.h5"});
  dir.Write("m.xdmf", "an older export");
  EXPECT_EQ(Answer({"export", "m.tev", "-o", "m.xdmf"}), "");
  EXPECT_EQ(RunScript({"set", "m.xdmf", "Frame", "Loaded", "5"}), "");
}

TEST_F(TevExport, ThroughALink_HasWhatBelongsToItBesideItsTarget) {
  Write("m.tev", SmallModel());
  fs::create_directory(dir / "far");
  for (const std::string suffix : {".xdmf", ".pvd"}) {
    dir.Write("far/real" + suffix, "an older export");
    fs::create_symlink("far/real" + suffix, dir / ("link" + suffix));
    EXPECT_EQ(Answer({"export", "m.tev", "-o", "link" + suffix}), "");
  }
  EXPECT_EQ(Left(), (Names{"far", "link.pvd", "link.xdmf"}));
  EXPECT_EQ(RunScript({"set", "far/real.xdmf", "Frame", "Loaded", "5"}), "");
  EXPECT_TRUE(dir.Has("far/real/real_0.vtu"));
  EXPECT_NE(dir.Read("far/real.pvd").find("file=\"real/real_0.vtu\""), std::string::npos);
  fs::create_symlink("far/real.h5", dir / "numbers.xdmf");
  EXPECT_EQ(Run({"export", "m.tev", "-o", "numbers.xdmf"}).error,
            "tev: numbers.xdmf: real.h5 beside it is no export's\n");
}

#ifdef FAULT_PRELOAD
TEST_F(TevExport, WhereNamesCannotBeSwapped_AFolderIsReplacedByTurns) {
  Write("m.tev", SmallModel());
  for (int i = 0; i < 2; ++i) {
    const RunResult run = RunProgram(
        {TEV_PROGRAM, "export", "m.tev", "-o", "m.pvd"},
        {.environment = {{"LD_PRELOAD", FAULT_PRELOAD}, {"TEVTEST_FAULT", "no-exchange"}},
         .workingDirectory = dir.Path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error, "");
    EXPECT_EQ(Left(), (Names{"m", "m.pvd"}));
    EXPECT_TRUE(dir.Has("m/m_0.vtu"));
  }
}

#endif

/// A part of four points, with these variables.
ModelWriter FourPoints(const std::vector<Variable>& variables) {
  ModelWriter model;
  const NodeRef mesh = model.AddGeometry("g", model.AddShape("P", model.AddGroup("r", 0)));
  model.AddVariable(
      mesh, Variable::Floats("Coordinates", kCoordinates, 3, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1}));
  model.AddVariable(mesh, Variable::Uints("Connectivity", kConnectivity, 1, {0, 1, 2, 1, 2, 3}));
  model.AddVariable(mesh, Variable::Uints("Polylength", kPolylength, 1, {3, 3}));
  for (const Variable& variable : variables) {
    model.AddVariable(mesh, variable);
  }
  return model;
}

TEST_F(TevExport, MoreIdsThanNodesOrElements_AreThoseOfTheFirst) {
  Write("m.tev", FourPoints({Variable::Floats("Node Ids", kIds, 1, {5, 6, 7, 8, 9}),
                             Variable::Floats("Element Ids", kIds, 1, {21, 22, 23})}));
  for (const std::string output : {"m.vtu", "m.xdmf", "m.hdf"}) {
    EXPECT_EQ(Answer({"export", "m.tev", "-o", output}), "");
    EXPECT_EQ(RunScript({"ids", output, "5 6 7 8", "21 22"}), "");
  }
}

TEST_F(TevExport, FewerIdsThanNodesOrElements_AreLeftOutAndTold) {
  Write("m.tev", FourPoints({Variable::Floats("Node Ids", kIds, 1, {5, 6, 7}),
                             Variable::Floats("Element Ids", kIds, 1, {21})}));
  for (const std::string output : {"m.vtu", "m.xdmf", "m.hdf"}) {
    const RunResult run = Run({"export", "m.tev", "-o", output});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(
        run.error,
        "tev: m.tev: part \"P\" has fewer node ids than nodes, and they are left out\n"
        "tev: m.tev: part \"P\" has fewer element ids than elements, and they are left out\n");
    EXPECT_EQ(RunScript({"ids", output, "", ""}), "");
  }
}

TEST_F(TevExport, NamesThatXmlHasAsOne_AreToldApart) {
  Write("m.tev", FourPoints({Variable::Floats("a\x80", kScalarResult, 1, {1, 2, 3, 4}),
                             Variable::Floats("a\x81", kScalarResult, 1, {5, 6, 7, 8})}));
  for (const std::string output : {"m.vtu", "m.xdmf"}) {
    EXPECT_EQ(Answer({"export", "m.tev", "-o", output}), "");
    const std::string xml = dir.Read(output);
    EXPECT_NE(xml.find("Name=\"a\xef\xbf\xbd\""), std::string::npos);
    EXPECT_NE(xml.find("Name=\"a\xef\xbf\xbd (2)\""), std::string::npos);
  }
}

TEST_F(TevExport, FieldWithoutAStep_ComesAlongWithAChosenStep) {
  ModelWriter model = SmallModel();
  model.AddVariable(kSmallMesh1, Variable::Floats("Thickness", kScalarResult, 1, {1, 2, 3, 4, 5}));
  Write("m.tev", model);
  EXPECT_EQ(Answer({"export", "m.tev", "--step", "Time = 0.5", "-o", "m.vtu"}), "");
  EXPECT_NE(dir.Read("m.vtu").find("Name=\"Thickness\""), std::string::npos);
  EXPECT_NE(dir.Read("m.vtu").find("Name=\"Displacement\""), std::string::npos);
}

TEST_F(TevExport, FieldOfNoPlace_IsLeftOutAndTold) {
  ModelWriter model = SmallModel();
  model.AddVariable(kSmallMesh1,
                    Variable::Floats("Odd\x1eTime = 0.5", kScalarResult, 1, {1, 2, 3}));
  Write("m.tev", model);
  const RunResult run = Run({"export", "m.tev", "-o", "m.xdmf"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(
      run.error,
      "tev: m.tev: part \"Frame\", result \"Odd\", step \"Time = 0.5\" has a value neither for "
      "each node nor for each element and is left out\n");
}

TEST_F(TevExport, NamesInXml_AreEscaped) {
  ModelWriter model;
  const NodeRef mesh =
      model.AddGeometry("g", model.AddShape("a<b> & \"c\" -- \x80\x01-", model.AddGroup("r", 0)));
  model.AddVariable(mesh, Variable::Floats("Coordinates", kCoordinates, 3, {1, 2, 3}));
  Write("m.tev", model);
  EXPECT_EQ(Answer({"export", "m.tev", "-o", "m.vtu"}), "");
  EXPECT_NE(dir.Read("m.vtu").find("<!-- Parts:\n2: a&#60;b&#62; &#38; &#34;c&#34; -&#45; "
                                   "\xef\xbf\xbd\xef\xbf\xbd&#45;\n-->"),
            std::string::npos);
}

}  // namespace
}  // namespace tevtest
