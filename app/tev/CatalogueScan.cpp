// Fills a catalogue with what models tell, file by file.

#include "tev/CatalogueScan.h"

#include <sys/stat.h>
#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <chrono>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <utility>

#include "tev/Answers.h"
#include "tev/CatalogueFacts.h"
#include "tev/Inputs.h"
#include "tev/ScanNote.h"

namespace {

std::int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

FileStamp StampOf(const struct stat& status) {
  constexpr std::int64_t kNsPerSecond = 1000000000;
  return {status.st_size, status.st_mtim.tv_sec * kNsPerSecond + status.st_mtim.tv_nsec,
          static_cast<std::int64_t>(status.st_ino)};
}

std::optional<FileStamp> StampOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? std::optional(StampOf(status)) : std::nullopt;
}

bool Covers(const ScanDepth& has, const ScanDepth& asked) {
  return (has.stats || !asked.stats) && (has.check || !asked.check) && (has.hash || !asked.hash);
}

ScanDepth Both(const ScanDepth& a, const ScanDepth& b) {
  return {a.stats || b.stats, a.check || b.check, a.hash || b.hash};
}

/// Whether write-ahead logging works there: its shared memory needs one machine.
bool IsOnLocalDisk(const std::string& path) {
  constexpr std::array<std::uint32_t, 9> kShared{
      0x6969,      // NFS
      0xFF534D42,  // CIFS
      0xFE534D42,  // SMB 2
      0x517B,      // SMB
      0x0BD00BD0,  // Lustre
      0x47504653,  // GPFS
      0x19830326,  // BeeGFS
      0x00C36400,  // Ceph
      0x65735546,  // FUSE
  };
  struct statfs status {};
  return statfs(path.c_str(), &status) == 0 &&
         std::ranges::find(kShared, static_cast<std::uint32_t>(status.f_type)) == kShared.end();
}

Catalogue OpenToFill(const std::string& path) {
  Catalogue catalogue(path);
  const Database& database = catalogue.GetDatabase();
  if (IsOnLocalDisk(path)) {
    database.Try("PRAGMA journal_mode = WAL");  // not while somebody reads it
  }
  database.Execute("PRAGMA synchronous = NORMAL");
  return catalogue;
}

std::vector<std::string> RootsOf(const ScanOrder& order) {
  std::vector<std::string> roots;
  for (const std::string& path : order.paths) {
    roots.push_back(AbsolutePath(path));
  }
  return roots;
}

std::optional<std::int64_t> IdOf(const std::optional<KnownFile>& known) {
  return known ? std::optional(known->id) : std::nullopt;
}

/// Ids of models: a bit for each, as they are dense.
class IdSet {
 public:
  void Put(std::int64_t id) { pages_[PageOf(id)].set(PlaceOf(id)); }

  [[nodiscard]] bool Has(std::int64_t id) const {
    const auto page = pages_.find(PageOf(id));
    return page != pages_.end() && page->second.test(PlaceOf(id));
  }

 private:
  static constexpr std::uint64_t kPage = 32768;

  static std::uint64_t PageOf(std::int64_t id) { return static_cast<std::uint64_t>(id) / kPage; }
  static std::size_t PlaceOf(std::int64_t id) { return static_cast<std::uint64_t>(id) % kPage; }

  std::unordered_map<std::uint64_t, std::bitset<kPage>> pages_;
};

/// Whether the next scan may fare better, though the file is the same.
bool IsWorthAnotherTry(const CataloguedModel& model) {
  if (!model.failure) {
    return false;
  }
  switch (model.failure->Code()) {
    case FailureCode::NotAModel:
    case FailureCode::UnsupportedVersion:
    case FailureCode::Damaged:
      return false;
    default:
      return true;
  }
}

/// One scan into one file of a catalogue.
class Scan {
 public:
  explicit Scan(const ScanOrder& order)
      : order_(&order),
        note_(order.catalogue),
        catalogue_(OpenToFill(order.catalogue)),
        batch_(std::in_place, catalogue_.GetDatabase()) {}

  ScanCounts Run() {
    TakeWhatWasLeft();
    TakeAll();
    if (!order_->isEnding()) {
      MarkVanished();
    }
    catalogue_.EndFinding();
    catalogue_.MakeIndexes();
    batch_->Commit();
    batch_.reset();
    // Write-ahead logging would need a folder to write to, just to read what is in the catalogue.
    // Who reads it right now keeps it as it is.
    catalogue_.GetDatabase().Try("PRAGMA journal_mode = DELETE");
    note_.Remove();
    return counts_;
  }

 private:
  /// A file that ended the last scan is a failure from now on, until it changes.
  void TakeWhatWasLeft() {
    if (const auto left = note_.Left()) {
      CataloguedModel model;
      model.path = left->path;
      model.stamp = left->stamp;
      model.failure = Failure(FailureCode::IoError, "a scan ended while it was reading this file");
      model.has = {true, true, true};  // there is nothing more to ask for
      model.scannedNs = NowNs();
      const auto known = catalogue_.Find(model.path);
      static_cast<void>(catalogue_.Store(model, IdOf(known)));
      Commit();
      note_.End();
      ReportFailure(model.path, model.failure->what());
    }
  }

  void TakeAll() {
    Inputs inputs(RootsOf(*order_), order_->filesFrom);
    inputs.PassOver([this](const std::string& path, const struct stat& status) {
      return IsPassedOver(AbsolutePath(path), StampOf(status));
    });
    Progress progress(order_->progress);
    const Input* input = nullptr;
    while (!order_->isEnding() && (input = inputs.Next()) != nullptr) {
      progress.Show(counts_.read + counts_.unchanged, std::nullopt, input->path);
      Take(*input, AbsolutePath(input->path));
      CommitNowAndThen();
    }
  }

  /// Whether a regular file need not be opened. Remembers what it is found as.
  bool IsPassedOver(const std::string& path, const FileStamp& stamp) {
    if (!order_->shard.Has(path)) {
      return true;
    }
    known_ = catalogue_.Find(path);
    stamp_ = stamp;
    if (!known_ || known_->stamp != stamp || !Covers(known_->has, order_->depth)) {
      return false;
    }
    seen_.Put(known_->id);
    if (known_->isGone) {
      catalogue_.SetGone(known_->id, false, NowNs());
    }
    ++counts_.unchanged;
    CommitNowAndThen();
    return true;
  }

  void Take(const Input& input, const std::string& path) {
    const std::optional<FileStamp> stamp = std::exchange(stamp_, std::nullopt);
    std::optional<KnownFile> known = std::exchange(known_, std::nullopt);
    if (DescriptorOf(input.path)) {
      throw Failure(FailureCode::NotAFile, input.path + ": has no path that could be kept");
    }
    if (input.failure && !std::filesystem::is_regular_file(input.source)) {
      closed_.push_back(path);
    }
    if (!order_->shard.Has(path)) {
      return;
    }
    ++counts_.read;
    if (!stamp) {
      known = catalogue_.Find(path);
    }
    if (known && IsVanished(input, *known)) {
      return;
    }
    note_.Begin(stamp.value_or(FileStamp()), path);
    const bool isUnchanged = stamp && known && known->stamp == stamp;
    CataloguedModel model =
        Gather(input, path, stamp, isUnchanged ? Both(order_->depth, known->has) : order_->depth);
    note_.End();
    if (stamp && !IsWorthAnotherTry(model)) {
      model.stamp = stamp;
    }
    seen_.Put(catalogue_.Store(model, IdOf(known)));
    if (model.failure) {
      ++counts_.failed;
      ReportFailure(path, model.failure->what());
    }
  }

  /// Whether a file that is known was named, and is no more: what is known of it stays.
  bool IsVanished(const Input& input, const KnownFile& known) {
    if (!known.stamp || !input.failure || input.failure->Code() != FailureCode::NotFound) {
      return false;
    }
    if (!known.isGone) {
      catalogue_.SetGone(known.id, true, NowNs());
      ++counts_.vanished;
    }
    return true;
  }

  /// "stamp" is what the file was found as, before it was opened.
  static CataloguedModel Gather(const Input& input, const std::string& path,
                                const std::optional<FileStamp>& stamp, const ScanDepth& depth) {
    constexpr int kTries = 2;
    for (int i = 0; i < kTries; ++i) {
      const auto before = i == 0 && stamp ? stamp : StampOf(input.source);
      CataloguedModel model = GatherCatalogued(input, path, depth);
      model.scannedNs = NowNs();
      if (StampOf(input.source) == before) {
        return model;
      }
    }
    CataloguedModel model{.path = path, .scannedNs = NowNs()};
    model.failure = Failure(FailureCode::IoError, "it changes while it is scanned");
    return model;
  }

  /// A folder that cannot be listed tells nothing of what is below it, and a file that cannot be
  /// looked at is not gone.
  void MarkVanished() {
    const Database& database = catalogue_.GetDatabase();
    const Ancestors roots(RootsOf(*order_));
    const Ancestors closed(std::move(closed_));
    database.Execute("CREATE TEMP TABLE vanished(id INTEGER PRIMARY KEY)");
    Statement rows = database.Prepare("SELECT id, path FROM models WHERE gone = 0");
    Statement mark = database.Prepare("INSERT INTO temp.vanished VALUES (?)");
    while (rows.Step()) {
      if (!seen_.Has(rows.Integer(0))) {
        const std::string path = rows.Text(1);
        if (roots.HasAbove(path) && !closed.HasAbove(path) && order_->shard.Has(path)) {
          mark.Run(rows.Integer(0));
          ++counts_.vanished;
        }
      }
    }
    database.Prepare("UPDATE models SET gone = 1, scanned_ns = ? WHERE id IN temp.vanished")
        .Run(NowNs());
  }

  void CommitNowAndThen() {
    constexpr std::size_t kFiles = 10000;
    constexpr std::chrono::seconds kAtLeastEvery(2);
    if (++sinceCommit_ >= kFiles ||
        std::chrono::steady_clock::now() - lastCommit_ >= kAtLeastEvery) {
      Commit();
    }
  }

  void Commit() {
    catalogue_.EndFinding();
    batch_->Commit();
    batch_.emplace(catalogue_.GetDatabase());
    sinceCommit_ = 0;
    lastCommit_ = std::chrono::steady_clock::now();
  }

  const ScanOrder* order_;
  ScanNote note_;
  Catalogue catalogue_;
  std::optional<Transaction> batch_;
  std::optional<FileStamp> stamp_;  // of the file that comes next
  std::optional<KnownFile> known_;  // of the same
  IdSet seen_;
  std::vector<std::string> closed_;  // what could not be looked at
  std::size_t sinceCommit_ = 0;
  std::chrono::steady_clock::time_point lastCommit_ = std::chrono::steady_clock::now();
  ScanCounts counts_;
};

}  // namespace

ScanCounts ScanInto(const ScanOrder& order) { return Scan(order).Run(); }
