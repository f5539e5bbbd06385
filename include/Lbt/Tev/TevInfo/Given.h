#pragma once

// The report in the steps in which it was first written, for callers who know it that way: they
// print and swallow what fails. The programs call GatherModelFacts, AddEntries and WriteCdf.

#include <map>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/TevInfo.h"
#include "Lbt/Tev/Tree.h"
#include "Lbt/Util/AttributeValue.h"

namespace LbtTev::Report {

/// Names of shapes by the name of the group that they lie under, in tree order.
using GroupListing = std::map<std::string, std::vector<std::string>>;

/// The attributes of every result variable, in tree order, with "Result Name" and
/// "Instance Name" added.
using ResultAttributeList = std::vector<LbtUtil::AttributeMap>;

}  // namespace LbtTev::Report

/// Copies the attributes of the root, where it is a group. A failure becomes a line
/// "Exception: " with its text on standard error.
void extractRootNodeAttributes(LbtTev::Tree& tree, LbtUtil::AttributeMap& attributes);

/// Gathers parts and results, and with the format ExtractData the data sets. A failure
/// becomes a line as above; what was gathered before it stays. Throws
/// LbtTev::Report::GeometryAssertion.
void extractPartsAndResults(LbtTev::Tree& tree, TevInfo& info, LbtTev::Report::GroupListing& groups,
                            LbtTev::Report::ResultAttributeList& results);

/// Adds the summary entries from what extractPartsAndResults has gathered.
void addMiscAttributes(TevInfo& info, const LbtTev::Report::GroupListing& groups,
                       const LbtTev::Report::ResultAttributeList& results);

/// Writes every geometry of a name to a file in the CDF text format. The file is emptied
/// first; the model itself is spared. Never throws: a failure leaves the file with what was
/// written, without a message.
void exportCDF(LbtTev::Tree& tree, const std::string& geometryName, const std::string& outputPath);
