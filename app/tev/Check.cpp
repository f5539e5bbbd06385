#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/ModelCheck.h"
#include "tev/Json.h"
#include "tev/Subcommands.h"
#include "tev/VisibleText.h"

namespace {

using Kind = Finding::Kind;

/// The name of a kind for scripts.
const char* NameOf(Kind kind) {
  switch (kind) {
    case Kind::Header:
      return "header";
    case Kind::Index:
      return "index";
    case Kind::BlockOutsideFile:
      return "block-outside-file";
    case Kind::UnreadableBlock:
      return "unreadable-block";
    case Kind::RecordedLength:
      return "recorded-length";
    case Kind::UnusedBytes:
      return "unused-bytes";
    case Kind::MissingTree:
      return "missing-tree";
    case Kind::UnreadableRecord:
      return "unreadable-record";
    case Kind::RepeatedId:
      return "repeated-id";
    case Kind::LinkToNothing:
      return "link-to-nothing";
    case Kind::Cycle:
      return "cycle";
    case Kind::SharedChild:
      return "shared-child";
    case Kind::NoGeometry:
      return "no-geometry";
    case Kind::UnreferencedNode:
      return "unreferenced-node";
    case Kind::ByteCount:
      return "byte-count";
    case Kind::UnreadableData:
      return "unreadable-data";
    case Kind::NodeRange:
      return "node-range";
    case Kind::OverlappingData:
      return "overlapping-data";
  }
  return "";
}

std::string TextOf(const char* what, const NumberedName& named) {
  return std::string(what) + " " + std::to_string(named.number) + " (" + named.name + ")";
}

/// Where in the file a finding is, as far as it is known: "block 3 (Heavy Data) at byte 4711, ".
std::string PlaceText(const Finding& finding) {
  std::string text;
  if (finding.block) {
    text += TextOf("block", *finding.block);
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

/// The numbers behind a finding: " (claimed 400, found 280)".
std::string NumbersText(const Finding& finding) {
  if (!finding.claimed) {
    return "";
  }
  const std::string found = finding.found ? ", found " + std::to_string(*finding.found) : "";
  return " (claimed " + std::to_string(*finding.claimed) + found + ")";
}

std::string LineOf(const std::string& path, const Finding& finding) {
  const std::string line =
      path + ": " + PlaceText(finding) + OneLine(finding.text) + NumbersText(finding);
  return VisibleText(line) + '\n';
}

Json JsonOrNull(const std::optional<NumberedName>& named, const char* numberName,
                const char* nameName) {
  return named ? Json{{numberName, named->number}, {nameName, named->name}} : Json(nullptr);
}

Json JsonOrNull(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

Json ObjectOf(const Finding& finding) {
  return {{"kind", NameOf(finding.kind)},
          {"text", OneLine(finding.text)},
          {"block", JsonOrNull(finding.block, "number", "stream")},
          {"node", JsonOrNull(finding.node, "id", "name")},
          {"variable", JsonOrNull(finding.variable, "index", "name")},
          {"offset", JsonOrNull(finding.offset)},
          {"claimed", JsonOrNull(finding.claimed)},
          {"found", JsonOrNull(finding.found)}};
}

std::string JsonTextOf(const std::string& path, const std::vector<Finding>& findings) {
  Json json{{"file", path}, {"findings", Json::array()}};
  for (const Finding& finding : findings) {
    json["findings"].push_back(ObjectOf(finding));
  }
  return JsonText(json);
}

Answer AnswerCheck(const std::string& path, bool json) {
  const std::vector<Finding> findings = CheckModel(path);
  Answer answer;
  answer.isFailure = !findings.empty();
  if (json) {
    answer.text = JsonTextOf(path, findings);
  } else {
    for (const Finding& finding : findings) {
      answer.text += LineOf(path, finding);
    }
  }
  return answer;
}

}  // namespace

void AddCheck(CLI::App& app, Action& action) {
  AddFileCommand(app, action, "check", "Look for damage in models", AnswerCheck, TextLayout::Lines);
}
