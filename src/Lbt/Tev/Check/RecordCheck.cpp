// How the tree records of a model refer to each other.

#include "RecordCheck.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Lbt/Adt/ChildWalk.h"
#include "Lbt/Tev/Vocabulary.h"

namespace LbtTev::Check {

namespace {

/// The tree that records describe, with each record as the data of its entry. Of those with one id
/// the last counts, as in a loaded tree, which may lack nodes that records name.
class RecordTree : public LbtAdt::Tree<const PlacedRecord*> {
 public:
  /// "records" must outlive this.
  explicit RecordTree(const std::vector<PlacedRecord>& records) {
    missingRoot_.id = kRootId;
    Insert({.id = kRootId, .data = &missingRoot_});
    for (const PlacedRecord& record : records) {
      Insert({record.id, record.parent, record.previousSibling, record.nextSibling,
              record.firstChild, record.lastChild, &record});
    }
  }
  RecordTree(const RecordTree&) = delete;
  RecordTree& operator=(const RecordTree&) = delete;
  ~RecordTree() = default;

 private:
  PlacedRecord missingRoot_;  // stands for a root that no record has
};

using Entry = LbtAdt::TreeNode<const PlacedRecord*>;
using Link = unsigned int Entry::*;

/// Tells of records, and where in the file they are.
class Teller {
 public:
  Teller(const StreamMap& map, FindingLog& log) : map_(&map), log_(&log) {}

  void operator()(const PlacedRecord& record, Finding::Kind kind, std::string text,
                  std::optional<std::uint64_t> claimed = std::nullopt) const {
    Finding finding{.kind = kind,
                    .text = std::move(text),
                    .node = NumberedName{record.id, record.name},
                    .claimed = claimed};
    if (record.position) {
      map_->Place(*record.position, finding);
    }
    log_->Add(std::move(finding));
  }

 private:
  const StreamMap* map_;
  FindingLog* log_;
};

/// Tells of each record that takes the place of one before it, in the order of the file.
void FindRepeatedIds(const std::vector<PlacedRecord>& records, const Teller& tell) {
  std::vector<std::size_t> byId(records.size());
  std::iota(byId.begin(), byId.end(), std::size_t{0});
  std::ranges::stable_sort(byId, {}, [&](std::size_t place) { return records[place].id; });
  std::vector<std::pair<std::size_t, std::size_t>> repeated;
  for (std::size_t i = 1; i < byId.size(); ++i) {
    if (records[byId[i]].id == records[byId[i - 1]].id) {
      repeated.emplace_back(byId[i], byId[i - 1]);
    }
  }
  std::ranges::sort(repeated);
  for (const auto& [place, before] : repeated) {
    tell(records[place], Finding::Kind::RepeatedId,
         "tree record " + std::to_string(place) + " takes the place of record " +
             std::to_string(before) + ", which has the same id");
  }
}

struct NamedLink {
  Link link;
  const char* name;
};

constexpr std::array<NamedLink, 5> kLinks{{{&Entry::parent, "parent"},
                                           {&Entry::previousSibling, "previous sibling"},
                                           {&Entry::nextSibling, "next sibling"},
                                           {&Entry::firstChild, "first child"},
                                           {&Entry::lastChild, "last child"}}};

void FindLinksToNothing(const RecordTree& tree, const Teller& tell) {
  for (const auto& [id, entry] : tree.GetNodes()) {
    for (const NamedLink& link : kLinks) {
      const unsigned int target = entry.*link.link;
      if (target != 0 && tree.FindNode(target) == nullptr) {
        tell(*entry.data, Finding::Kind::LinkToNothing,
             std::string("its ") + link.name + " is a node that does not exist", target);
      }
    }
  }
}

/// Finds shapes that reports cannot be made of, and returns how many there are. A link to nothing
/// has been told of already, or leads to a record that cannot be read.
std::uint64_t FindShapesWithoutGeometry(const RecordTree& tree, bool areAll, const Teller& tell) {
  std::uint64_t count = 0;
  for (const auto& [id, entry] : tree.GetNodes()) {
    if (entry.data->type != LbtTev::NodeType::kShape) {
      continue;
    }
    const Entry* child = tree.FindNode(entry.firstChild);
    if (entry.firstChild == 0 ||
        (child != nullptr && child->data->type != LbtTev::NodeType::kGeometry)) {
      tell(*entry.data, Finding::Kind::NoGeometry, "the first child of a shape must be a geometry",
           entry.firstChild);
      ++count;
    } else if (child == nullptr && areAll) {
      ++count;
    }
  }
  return count;
}

/// Finds the rings that the links of one kind form: each node has one, so following them
/// either ends or comes back. Every node is passed once.
void FindRings(const RecordTree& tree, Link link, const std::string& text, const Teller& tell) {
  std::unordered_map<const Entry*, const Entry*> seenFrom;
  for (const auto& [id, start] : tree.GetNodes()) {
    const Entry* entry = &start;
    while (entry != nullptr && seenFrom.try_emplace(entry, &start).second) {
      entry = tree.FindNode(entry->*link);
    }
    if (entry != nullptr && seenFrom[entry] == &start) {
      tell(*entry->data, Finding::Kind::Cycle, text);
    }
  }
}

/// Tells of nodes that lists of children name more than once.
class ChildFaults {
 public:
  explicit ChildFaults(const Teller& tell) : tell_(&tell) {}

  void OnEntry(const Entry& /*entry*/, std::size_t /*depth*/) const {}

  void OnMetAgain(const Entry& entry, const Entry* firstParent, const Entry& parent,
                  bool isOpen) const {
    const std::string otherId = std::to_string(parent.id);
    if (isOpen) {
      (*tell_)(*entry.data, Finding::Kind::Cycle,
               "it stands below itself, in the children of node " + otherId);
    } else if (firstParent != nullptr && firstParent != &parent) {
      (*tell_)(*entry.data, Finding::Kind::SharedChild,
               "it stands in the children of node " + std::to_string(firstParent->id) +
                   " and of node " + otherId);
    }
  }

 private:
  const Teller* tell_;
};

/// Finds what is wrong with the lists of children. Of nodes that the root does not reach, only
/// the topmost are told.
void FindChildFaults(const RecordTree& tree, bool areAll, const Teller& tell) {
  ChildFaults faults(tell);
  LbtAdt::ChildWalk<const PlacedRecord*, ChildFaults> walk(tree, faults);
  walk.FromRoot();
  walk.FromTheRest([&](const Entry& top) {
    if (areAll) {
      tell(*top.data, Finding::Kind::UnreferencedNode,
           "no list of children leads to it from the root");
    }
  });
}

}  // namespace

void CheckStructure(const TreeRecords& read, const StreamMap& map, FindingLog& log) {
  const Teller tell(map, log);
  FindRepeatedIds(read.records, tell);
  const RecordTree tree(read.records);
  if (read.areAll) {
    FindLinksToNothing(tree, tell);
  }
  log.AddLostParts(FindShapesWithoutGeometry(tree, read.areAll, tell));
  FindRings(tree, &Entry::parent, "its parents lead back to itself", tell);
  FindRings(tree, &Entry::previousSibling, "its previous siblings lead back to itself", tell);
  FindRings(tree, &Entry::nextSibling, "its next siblings lead back to itself", tell);
  FindChildFaults(tree, read.areAll, tell);
}

}  // namespace LbtTev::Check
