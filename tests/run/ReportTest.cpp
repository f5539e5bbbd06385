// What a run reports of a model: the entries of the driver and their order.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class ReportRun : public TevInfoRun {
 protected:
  /// Runs on "model" and expects "report".
  void ExpectSmallReport() const {
    const std::string bytes = model.Build();
    ExpectReport(Run({dir.Write("model.tev", bytes)}), report.Document(bytes.size()));
  }

  std::vector<Attribute>& RootAttributes() { return model.At(kSmallRoot).Group().attributes.items; }

  void RemoveRootAttribute(std::string_view name) {
    EXPECT_EQ(std::erase_if(RootAttributes(), [&](const auto& item) { return item.name == name; }),
              1U);
  }

  ModelWriter model = SmallModel();
  SmallReport report;
};

/// A model with the given application names in its modifier records.
ModelWriter ModelModifiedBy(const std::vector<std::string>& programs) {
  ModelWriter model;
  model.AddGroup("model", 0);
  for (const std::string& program : programs)
    model.AddModifier({.applicationName = program});
  return model;
}

TEST_F(ReportRun, SmallModel_IsReportedInFull) { ExpectSmallReport(); }

TEST_F(ReportRun, EachRootAttributeThatIsMissing_LeavesItsEntryOut) {
  const std::vector<std::pair<std::string_view, std::string SmallReport::*>> rows{
      {"Model File", &SmallReport::modelFile},
      {"Model File Size", &SmallReport::modelFileSize},
      {"Results File", &SmallReport::resultsFile},
      {"Results File Size", &SmallReport::resultsFileSize},
      {"Number of Nodes in the Model", &SmallReport::nodes},
      {"Number of Elements in the Model", &SmallReport::elements}};
  for (const auto& [attribute, entries] : rows) {
    SCOPED_TRACE(attribute);
    model = SmallModel();
    RemoveRootAttribute(attribute);
    report = SmallReport();
    (report.*entries).clear();
    ExpectSmallReport();
  }
}

TEST_F(ReportRun, NoRootAttributes_LeaveOnlyTheFileSize) {
  RootAttributes().clear();
  report.modelFile = report.modelFileSize = report.resultsFile = report.resultsFileSize = "";
  report.nodes = report.elements = "";
  ExpectSmallReport();
}

TEST_F(ReportRun, RootAttributesOfEveryKind_AreShownAsText) {
  for (const char* name : {"Model File Size", "Results File Size", "Number of Nodes in the Model",
                           "Number of Elements in the Model"})
    RemoveRootAttribute(name);
  RootAttributes().push_back(Attribute::Float("Model File Size", 1.0F / 3.0F));
  RootAttributes().push_back(Attribute::Double("Results File Size", 12345678.9));
  RootAttributes().push_back(Attribute::Uint("Number of Nodes in the Model", 4294967295U));
  RootAttributes().push_back(
      Attribute::Text("Number of Elements in the Model", "a \"few\" & <so>"));
  report.modelFileSize = NativeEntry("Native Model File Size", "0.333333");
  report.resultsFileSize = NativeEntry("Native Results File Size", "1.23457e+07");
  report.nodes = NativeEntry("Number of Nodes", "4294967295");
  report.elements = NativeEntry("Number of Elements", "a \"few\" & <so>");
  ExpectSmallReport();
}

TEST_F(ReportRun, DatFiles_AreNamedByTheirRole) {
  RemoveRootAttribute("Model File");
  RemoveRootAttribute("Results File");
  RootAttributes().push_back(Attribute::Text("Model File", "C:\\runs\\run.dat"));
  RootAttributes().push_back(Attribute::Text("Results File", "C:\\runs\\run.dat"));
  report.modelFile = NativeEntry("Model File", "C:\\runs\\run.dat") +
                     NativeEntry("Model File Type", "Nastran BDF");
  report.resultsFile = NativeEntry("Results File", "C:\\runs\\run.dat") +
                       NativeEntry("Results File Type", "Fluent solution");
  ExpectSmallReport();
}

TEST_F(ReportRun, RootThatIsNoGroup_HasNoAttributes) {
  ModelWriter other;
  other.AddFuture("Probe", "model", 0, "bytes");
  const std::string path = dir.Write("other.tev", other.Build());
  const std::string size = std::to_string(ReadFile(path).size()) + " B";
  ExpectReport(Run({path}), NativeDocument(EmptyModelEntries(size)));
}

TEST_F(ReportRun, EkmForm_HasTheSameEntriesWithItsOwnKeys) {
  ModelWriter other = ModelModifiedBy({"a b"});
  other.At(kSmallRoot).Group().attributes = {Attribute::Text("Results File", "my run.k")};
  const std::string path = dir.Write("other.tev", other.Build());
  const std::string size = std::to_string(ReadFile(path).size()) + " B";
  ExpectReport(Run({"--ekm-meta-data", path}), "");
  EXPECT_EQ(dir.Read("ekm-meta-data.xml"),
            EkmDocument(
                EkmEntry("applicationname(LatestTranslation)", "a b") +
                EkmEntry("resultsFile", "my run.k") +
                EkmEntry("resultsFileType", "LS-Dyna Input Deck") + EkmEntry("tevFileSize", size) +
                EkmEntry("category", "Unknown") + EkmEntry("numberofParts", "0") +
                EkmEntry("numberofCut-sections", "0") + EkmEntry("numberofIso-surfaces", "0") +
                EkmEntry("numberofIso-volumes", "0") + EkmEntry("numberofFlow-lines", "0")));
}

class ModifierRun : public ReportRun {
 protected:
  void ExpectModifiers(const ModelWriter& modified, const std::string& entries) const {
    const std::string path = dir.Write("model.tev", modified.Build());
    const std::string size = std::to_string(ReadFile(path).size()) + " B";
    ExpectReport(Run({path}), NativeDocument(entries + EmptyModelEntries(size)));
  }
};

TEST_F(ModifierRun, None_GivesNoEntries) {
  ExpectModifiers(ModelModifiedBy({}), "");
  ModelWriter counted = ModelModifiedBy({});
  counted.SetModifierCount(0);
  ExpectModifiers(counted, "");
}

TEST_F(ModifierRun, One_IsTheLatestTranslation) {
  ExpectModifiers(ModelModifiedBy({"one"}),
                  NativeEntry("Application name (Latest Translation)", "one"));
}

TEST_F(ModifierRun, Two_AreTheOriginalAndTheLatest) {
  ExpectModifiers(ModelModifiedBy({"one", "two"}),
                  NativeEntry("Application name (Original Modification)", "one") +
                      NativeEntry("Application name (Latest Translation)", "two"));
}

TEST_F(ModifierRun, ThreeOrMore_ShowOnlyTheOriginal) {
  const std::string original = NativeEntry("Application name (Original Modification)", "one");
  ExpectModifiers(ModelModifiedBy({"one", "two", "three"}), original);
  ExpectModifiers(ModelModifiedBy({"one", "two", "three", "four"}), original);
}

// More nodes than a run takes for a small tree.
TEST_F(ReportRun, ManyNodes_AreReportedInFull) {
  constexpr std::size_t kParts = 6000;
  model = ModelWriter();
  const NodeRef geometry = model.AddGroup("Geometry", model.AddGroup("model", 0));
  std::string names;
  for (std::size_t i = 0; i < kParts; ++i) {
    const std::string name = "Part " + std::to_string(i);
    names += (names.empty() ? "" : ", ") + name;
    const NodeRef mesh = model.AddGeometry(name, model.AddShape(name, geometry));
    for (const char* result : {"Heat", "Stress"}) {
      model.AddVariable(
          mesh, Variable::Floats(result + ("\x1eTime = " + std::to_string(i % 3)), kScalarResult, 1,
                                 {1.0F}, {Attribute::Float("Time", static_cast<float>(i % 3))}));
    }
  }
  model.SetLayoutOfOthers({.packing = StreamLayout::Packing::Compressed});
  const std::string bytes = model.Build();
  const std::string summary =
      NativeEntry("Category", "Transient") + NativeEntry("Number of Parts", "6000") +
      NativeEntry("Number of Cut-sections", "0") + NativeEntry("Number of Iso-surfaces", "0") +
      NativeEntry("Number of Iso-volumes", "0") + NativeEntry("Number of Flow-lines", "0") +
      NativeEntry("Number of Results", "2") + NativeEntry("Number of Instances", "3") +
      NativeEntry("Parts", names) + NativeEntry("Results", "Heat, Stress") +
      NativeEntry("Instances", "Time = 0, Time = 1, Time = 2") +
      NativeEntry("Time Steps", "0, 1, 2");
  ExpectReport(Run({dir.Write("model.tev", bytes)}),
               NativeDocument(NativeEntry("Tev File Size", KibibyteText(bytes.size())) + summary));
}

TEST_F(ReportRun, MemoryLine_ShowsWholeMebibytesThatTheRunHad) {
  const std::string path = dir.Write("model.tev", model.Build());
  const RunResult run =
      RunProgram({TEVINFO_PROGRAM, path}, {.environment = {{"QUARLO_TEMP_PATH", logDirectory}}});
  constexpr std::string_view kBefore = "Peak Memory Usage: ";
  ASSERT_TRUE(run.output.starts_with(kBefore));
  const long shown = std::stol(run.output.substr(kBefore.size()));
  EXPECT_GE(shown, 1);
  EXPECT_LE(shown, run.peakKiB / 1024);
}

}  // namespace
}  // namespace tevtest
