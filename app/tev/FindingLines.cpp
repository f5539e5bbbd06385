// Findings of a check as lines of text.

#include "tev/FindingLines.h"

#include <optional>

#include "Lbt/Tev/Analysis/Model.h"
#include "tev/VisibleText.h"

using LbtTev::Analysis::ShownName;
using LbtTev::Check::Finding;
using LbtTev::Check::NumberedName;

namespace {

std::string TextOf(const char* what, const NumberedName& named) {
  return std::string(what) + " " + std::to_string(named.number) + " (" + named.name + ")";
}

/// Where in the file a finding is, as far as it is known: "block 3 (Heavy Data) at byte 4711, ".
std::string PlaceText(const Finding& finding) {
  std::string text;
  if (finding.block) {
    text += TextOf("block", *finding.block);
  } else if (finding.stream) {
    text += "block unknown (" + *finding.stream + ")";
  }
  if (finding.offset) {
    text += (text.empty() ? "byte " : " at byte ") + std::to_string(*finding.offset);
  }
  if (finding.node) {
    text += (text.empty() ? "" : ", ") + TextOf("node", *finding.node);
  }
  if (finding.variable) {
    text += ", " + TextOf("variable", *finding.variable);
  }
  return text.empty() ? text : text + ": ";
}

/// The numbers that end a finding: " (claimed 400, found 280)".
std::string NumbersText(const Finding& finding) {
  if (!finding.claimed) {
    return "";
  }
  const std::string found = finding.found ? ", found " + std::to_string(*finding.found) : "";
  return " (claimed " + std::to_string(*finding.claimed) + found + ")";
}

/// Whether other findings can follow from one of that kind.
bool CanBeCause(Finding::Kind kind) {
  return kind == Finding::Kind::BlockOutsideFile || kind == Finding::Kind::UnreadableBlock ||
         kind == Finding::Kind::UnreadableRecord;
}

std::string LineOf(const Finding& finding) {
  return (finding.cause ? "    " : "  ") +
         VisibleText(ShownName(PlaceText(finding) + OneLine(finding.text)) + NumbersText(finding)) +
         '\n';
}

}  // namespace

FindingLines::FindingLines(bool areAllListed)
    : areAllListed_(areAllListed), otherStream_(&others_) {
  otherStream_.exceptions(std::ios::badbit);  // else a lack of memory would only cut the lines
}

void FindingLines::Add(const Finding& finding) {
  const std::uint64_t number = count_++;
  if (finding.cause) {
    Cause& cause = causes_[*finding.cause];
    ++cause.followers;
    if (areAllListed_) {
      cause.lines += LineOf(finding);
    }
  } else if (CanBeCause(finding.kind)) {
    causes_[number].lines = LineOf(finding);
  } else {
    otherStream_ << LineOf(finding);
  }
}

void FindingLines::WriteTo(std::ostream& stream) const {
  for (const auto& [number, cause] : causes_) {
    stream << cause.lines;
    if (!areAllListed_ && cause.followers != 0) {
      stream << "    " << cause.followers
             << (cause.followers == 1 ? " finding follows" : " findings follow")
             << " from this (--all lists them)\n";
    }
  }
  others_.CopyTo(stream);
}
