// "tev check": looks for damage in models.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Lbt/Tev/Check/ModelCheck.h"
#include "tev/Json.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

using LbtTev::Check::CheckModel;
using LbtTev::Check::Finding;
using LbtTev::Check::NumberedName;
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

std::string LineOf(const std::string& path, const Finding& finding) {
  const std::string line =
      path + ": " + PlaceText(finding) + OneLine(finding.text) + NumbersText(finding);
  return VisibleText(line) + '\n';
}

void WriteNamed(const char* name, const std::optional<NumberedName>& named, const char* numberName,
                const char* nameName, JsonWriter& json) {
  json.Key(name);
  if (!named) {
    json.Value(nullptr);
    return;
  }
  json.OpenObject();
  json.Member(numberName, named->number);
  json.Member(nameName, named->name);
  json.Close();
}

Json JsonOrNull(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

/// Only single values become Json: freeing any other may take memory, and there may be none.
void WriteObject(const Finding& finding, JsonWriter& json) {
  json.OpenObject();
  json.Member("kind", NameOf(finding.kind));
  json.Member("text", OneLine(finding.text));
  WriteNamed("block", finding.block, "number", "stream", json);
  WriteNamed("node", finding.node, "id", "name", json);
  WriteNamed("variable", finding.variable, "index", "name", json);
  json.Member("offset", JsonOrNull(finding.offset));
  json.Member("claimed", JsonOrNull(finding.claimed));
  json.Member("found", JsonOrNull(finding.found));
  json.Close();
}

bool WriteJson(const Input& input, AnswerWriter& writer) {
  bool isSound = true;
  writer.Facts().Key("findings");
  writer.Facts().OpenList();
  CheckModel(input.source, [&](const Finding& finding) {
    WriteObject(finding, writer.Facts());
    isSound = false;
  });
  writer.Facts().Close();
  return isSound;
}

bool WriteLines(const Input& input, AnswerWriter& writer) {
  bool isSound = true;
  CheckModel(input.source, [&](const Finding& finding) {
    writer.Text() << LineOf(input.path, finding);
    isSound = false;
  });
  return isSound;
}

void AnswerCheck(const Input& input, AnswerWriter& writer) {
  if (!(writer.IsJson() ? WriteJson(input, writer) : WriteLines(input, writer))) {
    writer.Fail({FailureCode::Damaged, "there are findings"}, Told::InTheAnswer);
  }
}

}  // namespace

Verb CheckVerb() {
  return {.name = "check",
          .summary = "Look for damage in models",
          .notes = "Example: tev check *.tev",
          .setUp = [](CLI::App& app) {
            return RunWithFileOptions(
                app, {.verb = "check", .layout = TextLayout::Lines, .answer = AnswerCheck});
          }};
}
