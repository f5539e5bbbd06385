#pragma once

#include <optional>

#include "Lbt/Lbf/LbFile.h"
#include "Lbt/Util/OutputStream.h"
#include "TevInfo/CommandLine.h"
#include "TevInfo/WholeFile.h"

/// Where a run writes: the memory line always to standard output, the report to a file
/// where one is named and can be opened, else to standard output as well.
class Output {
 public:
  /// Throws "Write Error" where standard output is the model, which is never changed.
  explicit Output(const LbtLbf::LbFile& model);

  [[nodiscard]] std::ostream& Standard() { return standard_; }

  /// Opens the report's file where the command line names one. The model itself and the trace log
  /// of this run count as files that cannot be opened.
  void OpenReport(const CommandLine& commandLine, const LbtLbf::LbFile& model);

  [[nodiscard]] std::ostream& Report();

  /// Completes everything. Throws "Write Error" where not all of it could be written.
  void Finish();

 private:
  Lbt::Util::DescriptorStream standard_;
  std::optional<WholeFile> whole_;  // of the EKM document, which runs may write at the same time
  std::optional<Lbt::Util::DescriptorStream> file_;
};
