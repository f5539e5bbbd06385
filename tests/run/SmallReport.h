#pragma once

#include <cstddef>
#include <string>

#include "run/TevInfoRun.h"

namespace tevtest {

/// The entries of the report on SmallModel(), in their groups, so that a test can change one.
struct SmallReport {
  std::string originalModification =
      NativeEntry("Application name (Original Modification)", "translate") +
      NativeEntry("Application version (Original Modification)", "2.1") +
      NativeEntry("Tev version (Original Modification)", "1.3") +
      NativeEntry("User name (Original Modification)", "analyst") +
      NativeEntry("Date (Original Modification)", "Mon Mar  4 09:12:44 2024") +
      NativeEntry("Comment (Original Modification)", "First translation");
  std::string latestTranslation =
      NativeEntry("Application name (Latest Translation)", "tidy") +
      NativeEntry("Application version (Latest Translation)", "0.9") +
      NativeEntry("Tev version (Latest Translation)", "1.3") +
      NativeEntry("User name (Latest Translation)", "release") +
      NativeEntry("Date (Latest Translation)", "Tue Mar  5 17:30:02 2024");
  std::string modelFile =
      NativeEntry("Model File", "/data/frame.inp") + NativeEntry("Model File Type", "Abaqus INP");
  std::string modelFileSize = NativeEntry("Native Model File Size", "1.5 KB");
  std::string resultsFile = NativeEntry("Results File", "/data/frame.odb") +
                            NativeEntry("Results File Type", "ABAQUS ODB");
  std::string resultsFileSize = NativeEntry("Native Results File Size", "2.25 MB");
  std::string nodes = NativeEntry("Number of Nodes", "10");
  std::string elements = NativeEntry("Number of Elements", "3");
  std::string summary =
      NativeEntry("Title", "Frame, transient heating") + NativeEntry("Category", "Transient") +
      NativeEntry("Number of Parts", "2") + NativeEntry("Number of Cut-sections", "0") +
      NativeEntry("Number of Iso-surfaces", "0") + NativeEntry("Number of Iso-volumes", "0") +
      NativeEntry("Number of Flow-lines", "0") + NativeEntry("Number of Results", "3") +
      NativeEntry("Number of Instances", "1") + NativeEntry("Parts", "Frame, Panel") +
      NativeEntry("Results", "Displacement, Element Ids, Temperature") +
      NativeEntry("Instances", "Time = 0.5") + NativeEntry("Time Steps", "0.5");

  /// The document on a file of so many bytes, which must be more than 1 KiB.
  [[nodiscard]] std::string Document(std::size_t fileSize) const {
    return NativeDocument(originalModification + latestTranslation + modelFile + modelFileSize +
                          resultsFile + resultsFileSize + nodes + elements +
                          NativeEntry("Tev File Size", KibibyteText(fileSize)) + summary);
  }
};

/// The entries of the report on a model of which nothing but its size is known.
[[nodiscard]] inline std::string EmptyModelEntries(const std::string& fileSize) {
  return NativeEntry("Tev File Size", fileSize) + NativeEntry("Category", "Unknown") +
         NativeEntry("Number of Parts", "0") + NativeEntry("Number of Cut-sections", "0") +
         NativeEntry("Number of Iso-surfaces", "0") + NativeEntry("Number of Iso-volumes", "0") +
         NativeEntry("Number of Flow-lines", "0");
}

}  // namespace tevtest
