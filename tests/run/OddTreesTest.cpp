// Trees that no writer makes: entries that are their own ancestors, ids that are there twice. Both
// are reported on.

#include <gtest/gtest.h>

#include <string>

#include "run/SmallReport.h"
#include "run/TevInfoRun.h"
#include "support/SmallModel.h"

namespace tevtest {
namespace {

class OddTrees : public TevInfoRun {
 protected:
  void ExpectReported() const {
    const std::string bytes = model.Build();
    const std::string path = dir.Write("odd.tev", bytes);
    ExpectReport(Run({path}), report.Document(bytes.size()));
    const Outcome dump = Run({"--extract-data", path});
    EXPECT_EQ(dump.status, 0);
    EXPECT_EQ(dump.error, Notice());
  }

  ModelWriter model = SmallModel();
  SmallReport report;
};

TEST_F(OddTrees, GroupBelowItsOwnChild_ChangesNothingInTheReport) {
  model.At(kSmallGeometryGroup).parent = kSmallShape1;
  ExpectReported();
}

TEST_F(OddTrees, GroupThatIsItsOwnParent_ChangesNothingInTheReport) {
  model.At(kSmallGeometryGroup).parent = kSmallGeometryGroup;
  ExpectReported();
}

TEST_F(OddTrees, RootBelowAShape_ChangesNothingInTheReport) {
  model.At(kSmallRoot).parent = kSmallShape1;
  ExpectReported();
}

TEST_F(OddTrees, LinksInRings_ChangeNothingInTheReport) {
  for (const NodeRef node : {kSmallRoot, kSmallGeometryGroup, kSmallMesh1}) {
    NodeSpec& spec = model.At(node);
    spec.nextSibling = spec.previousSibling = spec.lastChild = node;
    spec.firstChild = kSmallRoot;
  }
  ExpectReported();
}

TEST_F(OddTrees, LaterRecordOfTheSameId_TakesThePlaceOfTheShape) {
  model.At(model.AddGroup("again", kSmallRoot)).id = kSmallShape2;
  std::string& summary = report.summary;
  summary.replace(summary.find("\"Number of Parts\" value=\"2\""), 27,
                  "\"Number of Parts\" value=\"1\"");
  summary.replace(summary.find("Frame, Panel"), 12, "Frame");
  ExpectReported();
}

}  // namespace
}  // namespace tevtest
