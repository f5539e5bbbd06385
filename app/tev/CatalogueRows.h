#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tev/Database.h"
#include "tev/Verbs.h"

/// How rows of a catalogue are written.
struct RowRun {
  std::string verb;
  std::string catalogue{};
  Form form = Form::Text;  ///< Text, Csv, or JsonLines: an object for each row
  std::string output{};
};

/// Adds "CATALOGUE", which comes first, and "--csv", "--jsonl" and "-o".
void AddCatalogue(CLI::App& app, const std::shared_ptr<RowRun>& run);
void AddRowForms(CLI::App& app, const std::shared_ptr<RowRun>& run);

/// Opens the catalogue, and writes all rows of the statement that "ask" makes for it, with the
/// names of its columns. What fails makes the status 2, a UsageError 1.
[[nodiscard]] Status WriteRows(const RowRun& run,
                               const std::function<Statement(const Database&)>& ask);
