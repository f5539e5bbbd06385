#include "RecordCheck.h"

#include <array>
#include <functional>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "ContainerCheck.h"
#include "Lbt/Tev/StreamNames.h"

using LbtTev::TreeRecord;
using Link = unsigned int TreeRecord::*;

namespace {

constexpr unsigned int kRootId = 1;

NumberedName NameOf(const TreeRecord& record) { return {record.id, record.name}; }

Finding FindingOn(const TreeRecord& record, Finding::Kind kind, std::string text) {
  return {.kind = kind, .text = std::move(text), .node = NameOf(record)};
}

/// The records by id, as the tree has them: of those with one id, the last counts.
class RecordGraph {
 public:
  explicit RecordGraph(const std::vector<TreeRecord>& records) {
    for (const TreeRecord& record : records) {
      byId_.insert_or_assign(record.id, &record);
    }
    // A tree has a root even where no record has its id.
    rootless_.id = kRootId;
    byId_.try_emplace(kRootId, &rootless_);
  }

  /// Null for id 0, which means none in every link, and for one that no record has.
  [[nodiscard]] const TreeRecord* Find(unsigned int id) const {
    const auto found = id == 0 ? byId_.end() : byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
  }

  template <class Visit>
  void ForEach(Visit visit) const {
    for (const auto& [id, record] : byId_) {
      visit(*record);
    }
  }

 private:
  TreeRecord rootless_;
  std::map<unsigned int, const TreeRecord*> byId_;
};

void FindRepeatedIds(const std::vector<TreeRecord>& records, std::vector<Finding>& findings) {
  std::unordered_map<unsigned int, std::size_t> places;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const auto [place, isNew] = places.insert({records[i].id, i});
    if (!isNew) {
      findings.push_back(FindingOn(records[i], Finding::Kind::RepeatedId,
                                   "tree record " + std::to_string(i) +
                                       " takes the place of record " +
                                       std::to_string(place->second) + ", which has the same id"));
      place->second = i;
    }
  }
}

struct NamedLink {
  Link link;
  const char* name;
};

constexpr std::array<NamedLink, 5> kLinks{{{&TreeRecord::parent, "parent"},
                                           {&TreeRecord::previousSibling, "previous sibling"},
                                           {&TreeRecord::nextSibling, "next sibling"},
                                           {&TreeRecord::firstChild, "first child"},
                                           {&TreeRecord::lastChild, "last child"}}};

void FindLinksToNothing(const RecordGraph& graph, std::vector<Finding>& findings) {
  graph.ForEach([&](const TreeRecord& record) {
    for (const NamedLink& link : kLinks) {
      const unsigned int id = record.*link.link;
      if (id != 0 && graph.Find(id) == nullptr) {
        Finding finding =
            FindingOn(record, Finding::Kind::LinkToNothing,
                      std::string("its ") + link.name + " is a node that does not exist");
        finding.claimed = id;
        findings.push_back(std::move(finding));
      }
    }
  });
}

/// Finds shapes that reports cannot be made of. A link to nothing has been told of already.
void FindShapesWithoutGeometry(const RecordGraph& graph, std::vector<Finding>& findings) {
  graph.ForEach([&](const TreeRecord& record) {
    if (record.type != "Shape") {
      return;
    }
    const TreeRecord* child = graph.Find(record.firstChild);
    if (record.firstChild == 0 || (child != nullptr && child->type != "Geometry")) {
      Finding finding = FindingOn(record, Finding::Kind::NoGeometry,
                                  "the first child of a shape must be a geometry");
      finding.claimed = record.firstChild;
      findings.push_back(std::move(finding));
    }
  });
}

/// Finds the rings that the links of one kind form: each node has one, so following them
/// either ends or comes back. Every node is passed once.
void FindRings(const RecordGraph& graph, Link link, const std::string& text,
               std::vector<Finding>& findings) {
  std::unordered_map<const TreeRecord*, const TreeRecord*> seenFrom;
  graph.ForEach([&](const TreeRecord& start) {
    const TreeRecord* record = &start;
    while (record != nullptr && seenFrom.insert({record, &start}).second) {
      record = graph.Find(record->*link);
    }
    if (record != nullptr && seenFrom.at(record) == &start) {
      findings.push_back(FindingOn(*record, Finding::Kind::Cycle, text));
    }
  });
}

/// Goes through the lists of children, each node once and each list up to the first node that
/// was met before. Keeps a stack of its own: models may nest to any depth.
class ChildWalk {
 public:
  ChildWalk(const RecordGraph& graph, std::vector<Finding>& findings)
      : graph_(&graph), findings_(&findings) {}

  /// Walks what lies below "top"; false where that was met before.
  bool From(const TreeRecord& top) {
    if (!Enter(top, nullptr)) {
      return false;
    }
    while (!open_.empty()) {
      const TreeRecord* parent = open_.back().record;
      const TreeRecord* child = open_.back().next;
      if (child == nullptr) {
        states_.at(parent).isOpen = false;
        open_.pop_back();
      } else if (states_.contains(child)) {
        open_.back().next = nullptr;  // the rest of the list has been seen
        Report(*child, *parent);
      } else {
        open_.back().next = graph_->Find(child->nextSibling);
        Enter(*child, parent);
      }
    }
    return true;
  }

 private:
  struct State {
    const TreeRecord* parent;
    bool isOpen;  // it, or what lies below it, is at work
  };
  struct Level {
    const TreeRecord* record;
    const TreeRecord* next;
  };

  bool Enter(const TreeRecord& record, const TreeRecord* parent) {
    if (!states_.insert({&record, {parent, true}}).second) {
      return false;
    }
    open_.push_back({&record, graph_->Find(record.firstChild)});
    return true;
  }

  void Report(const TreeRecord& child, const TreeRecord& parent) {
    const State& state = states_.at(&child);
    if (state.isOpen) {
      findings_->push_back(FindingOn(
          child, Finding::Kind::Cycle,
          "it stands below itself, in the children of node " + std::to_string(parent.id)));
    } else if (state.parent != nullptr && state.parent != &parent) {
      findings_->push_back(FindingOn(child, Finding::Kind::SharedChild,
                                     "it stands in the children of node " +
                                         std::to_string(state.parent->id) + " and of node " +
                                         std::to_string(parent.id)));
    }
  }

  const RecordGraph* graph_;
  std::vector<Finding>* findings_;
  std::unordered_map<const TreeRecord*, State> states_;
  std::vector<Level> open_;
};

/// All that stand in some list of children.
std::unordered_set<const TreeRecord*> ChildrenIn(const RecordGraph& graph) {
  std::unordered_set<const TreeRecord*> children;
  graph.ForEach([&](const TreeRecord& parent) {
    const TreeRecord* child = graph.Find(parent.firstChild);
    while (child != nullptr && children.insert(child).second) {
      child = graph.Find(child->nextSibling);
    }
  });
  return children;
}

/// Finds what is wrong with the lists of children. Of nodes that the root does not reach, only
/// the topmost are told.
void FindChildFaults(const RecordGraph& graph, bool areAll, std::vector<Finding>& findings) {
  ChildWalk walk(graph, findings);
  walk.From(*graph.Find(kRootId));
  const auto walkTop = [&](const TreeRecord& top) {
    if (walk.From(top) && areAll) {
      findings.push_back(FindingOn(top, Finding::Kind::UnreferencedNode,
                                   "no list of children leads to it from the root"));
    }
  };
  const auto children = ChildrenIn(graph);
  graph.ForEach([&](const TreeRecord& record) {
    if (!children.contains(&record)) {
      walkTop(record);
    }
  });
  graph.ForEach(walkTop);  // what is left are rings, in which each one has a parent
}

void AddUnreadable(const StreamMap& map, std::string text, const std::exception& exception,
                   const LbtLbf::LbFile& file, std::vector<Finding>& findings) {
  Finding finding{.kind = Finding::Kind::UnreadableRecord,
                  .text = std::move(text) + ": " + ReasonOf(exception, file)};
  if (const auto block = file.GetIndex().LastLoaded(); block && !map.IsEmpty()) {
    map.Place(map.StartOf(block->number), finding);
  }
  findings.push_back(std::move(finding));
}

}  // namespace

TreeRecords ReadTreeRecords(LbtLbf::LbFile& file, bool wideOffsets, const StreamMap& map,
                            std::vector<Finding>& findings) {
  const std::string stream = LbtTev::StreamNames().tree;
  TreeRecords read;
  if (map.IsEmpty()) {
    read.areAll = false;
    findings.push_back({.kind = Finding::Kind::MissingTree,
                        .text = "there is no stream \"" + stream + "\", so the model is empty"});
    return read;
  }
  std::string at = "the number of tree records";
  try {
    const int count = LbtTev::ReadTreeRecordCount(file, stream);
    if (count < 0) {
      read.areAll = false;
      findings.push_back({.kind = Finding::Kind::UnreadableRecord,
                          .text = "the number of tree records is negative, so none is read",
                          .claimed = static_cast<std::uint32_t>(count)});
    }
    for (int i = 0; i < count; ++i) {
      at = "tree record " + std::to_string(i) + " of " + std::to_string(count);
      read.records.push_back(LbtTev::ReadTreeRecord(file, stream, wideOffsets));
    }
  } catch (const std::exception& exception) {
    read.areAll = false;
    AddUnreadable(map, at + " cannot be read", exception, file, findings);
  }
  return read;
}

void CheckStructure(const TreeRecords& read, std::vector<Finding>& findings) {
  FindRepeatedIds(read.records, findings);
  const RecordGraph graph(read.records);
  if (read.areAll) {
    FindLinksToNothing(graph, findings);
  }
  FindShapesWithoutGeometry(graph, findings);
  FindRings(graph, &TreeRecord::parent, "its parents lead back to itself", findings);
  FindRings(graph, &TreeRecord::previousSibling, "its previous siblings lead back to itself",
            findings);
  FindRings(graph, &TreeRecord::nextSibling, "its next siblings lead back to itself", findings);
  FindChildFaults(graph, read.areAll, findings);
}
