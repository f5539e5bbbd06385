// Fills a catalogue with what models tell, file by file.

#include "tev/CatalogueScan.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <chrono>
#include <optional>
#include <unordered_map>
#include <utility>

#include "tev/Answers.h"
#include "tev/CatalogueFacts.h"

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

Catalogue OpenToFill(const ScanOrder& order) {
  Catalogue catalogue(order.catalogue);
  if (order.shard.count == 0) {  // a shard gets another name, which a log beside it does not
    catalogue.WriteAhead(order.catalogue);
  }
  return catalogue;
}

std::optional<std::int64_t> IdOf(const std::optional<KnownFile>& known) {
  return known ? std::optional(known->id) : std::nullopt;
}

/// Ids of models: a bit for each, as they are dense.
class IdSet {
 public:
  void Put(std::int64_t id) {
    auto bit = pages_[PageOf(id)][PlaceOf(id)];
    count_ += bit ? 0U : 1U;
    bit = true;
  }

  [[nodiscard]] std::size_t Count() const { return count_; }

  [[nodiscard]] bool Has(std::int64_t id) const {
    const auto page = pages_.find(PageOf(id));
    return page != pages_.end() && page->second.test(PlaceOf(id));
  }

 private:
  static constexpr std::uint64_t kPage = 32768;

  static std::uint64_t PageOf(std::int64_t id) { return static_cast<std::uint64_t>(id) / kPage; }
  static std::size_t PlaceOf(std::int64_t id) { return static_cast<std::uint64_t>(id) % kPage; }

  std::unordered_map<std::uint64_t, std::bitset<kPage>> pages_;
  std::size_t count_ = 0;
};

/// Whether it may be a folder with files in it, of which nothing is known.
bool IsClosed(const Input& input) {
  struct stat status {};
  return input.failure && input.failure->Code() != FailureCode::NotFound &&
         (stat(input.source.c_str(), &status) != 0 || S_ISDIR(status.st_mode));
}

/// Whether the next scan may fare better, though the file is the same.
bool IsWorthAnotherTry(const CataloguedModel& model) {
  if (model.mayPass) {
    return true;
  }
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

/// The files of a catalogue. To open one of them a second time, and to close it again, would take
/// SQLite's locks away.
class OwnFiles {
 public:
  /// The catalogue is there.
  explicit OwnFiles(std::string catalogue) : catalogue_(std::move(catalogue)) {
    struct stat own {};
    if (stat(catalogue_.c_str(), &own) == 0) {
      device_ = own.st_dev;
      inode_ = own.st_ino;
    }
  }

  [[nodiscard]] bool Has(const std::string& path, const struct stat& status) const {
    if (status.st_dev != device_) {
      return false;
    }
    return status.st_ino == inode_ || std::ranges::any_of(kEndings, [&](std::string_view ending) {
             struct stat own {};
             return path.ends_with(ending) &&
                    stat((catalogue_ + std::string(ending)).c_str(), &own) == 0 &&
                    own.st_ino == status.st_ino;
           });
  }

 private:
  static constexpr std::array<std::string_view, 4> kEndings{"-wal", "-shm", "-journal", "-scan"};

  std::string catalogue_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

/// Somebody has asked for the end.
struct ScanEnded {};

/// One scan into one file of a catalogue.
class Scan {
 public:
  Scan(const ScanOrder& order, Inputs& inputs, ScanNote& note)
      : order_(&order),
        inputs_(&inputs),
        note_(&note),
        catalogue_(OpenToFill(order)),
        own_(order.catalogue),
        batch_(std::in_place, catalogue_.GetDatabase()),
        progress_(order.progress) {}

  ScanCounts Run() {
    try {
      TakeWhatWasLeft();
      TakeAll();
      MarkVanished();
    } catch (const ScanEnded&) {
      counts_.isWhole = false;
    } catch (...) {
      KeepWhatIsDone();
      throw;
    }
    catalogue_.EndFinding();
    catalogue_.MakeIndexes();
    batch_->Commit();
    batch_.reset();
    catalogue_.EndWriteAhead();
    return counts_;
  }

 private:
  /// What has been found of a file before it is opened.
  struct Found {
    std::string path;
    FileStamp stamp;
    std::optional<KnownFile> known;
  };

  /// A file that ended the last scan is a failure from now on, until it changes.
  void TakeWhatWasLeft() {
    if (const auto left = note_->Left()) {
      CataloguedModel model;
      model.path = left->path;
      model.stamp = left->stamp;
      model.failure = Failure(FailureCode::IoError, "a scan ended while it was reading this file");
      model.scannedNs = NowNs();
      const auto known = catalogue_.Find(model.path);
      static_cast<void>(catalogue_.Store(model, IdOf(known)));
      Commit();
      note_->End();
      ReportFailure(model.path, model.failure->what());
    }
  }

  void TakeAll() {
    inputs_->PassOver([this](const std::string& path) { return IsLeftOut(path); },
                      [this](const std::string& path, const struct stat& status) {
                        return IsPassedOver(path, status);
                      });
    while (const Input* input = inputs_->Next()) {
      Look(input->path);
      Take(*input, AbsolutePath(input->path));
      CommitNowAndThen();
    }
  }

  /// Ends the scan where somebody has asked for that, and tells how far it is.
  void Look(const std::string& path) {
    if (order_->isEnding()) {
      throw ScanEnded();
    }
    progress_.Show(counts_.read + counts_.unchanged, std::nullopt, path);
  }

  /// Whether a file falls to another shard.
  bool IsLeftOut(const std::string& path) {
    const bool isLeftOut = order_->shard.count != 0 && !order_->shard.Has(AbsolutePath(path));
    if (isLeftOut) {
      Look(path);
    }
    return isLeftOut;
  }

  /// Whether a regular file need not be opened. Remembers what it is found as.
  bool IsPassedOver(const std::string& named, const struct stat& status) {
    Look(named);
    std::string path = AbsolutePath(named);
    if (!order_->shard.Has(path) || own_.Has(path, status)) {
      return true;
    }
    const FileStamp stamp = StampOf(status);
    const std::optional<KnownFile> known = catalogue_.Find(path);
    if (!known || known->stamp != stamp ||
        !(known->isGivenUp || Covers(known->has, order_->depth))) {
      found_ = {std::move(path), stamp, known};
      return false;
    }
    seen_.Put(known->id);
    if (known->isGone) {
      catalogue_.SetGone(known->id, false, NowNs());
    }
    ++counts_.unchanged;
    CommitNowAndThen();
    return true;
  }

  void Take(const Input& input, const std::string& path) {
    if (DescriptorOf(input.path)) {
      ReportFailure(input.path, "has no path that could be kept");
      counts_.isWhole = false;
      return;
    }
    if (IsClosed(input)) {
      closed_.push_back(path);
    }
    if (!order_->shard.Has(path)) {
      return;
    }
    ++counts_.read;
    const bool isFound = found_.path == path;  // else it is no regular file
    const std::optional<KnownFile> known = isFound ? found_.known : catalogue_.Find(path);
    if (!known || !IsVanished(input, *known)) {
      Read(input, path, isFound ? std::optional(found_.stamp) : std::nullopt, known);
    }
    found_ = {};
  }

  void Read(const Input& input, const std::string& path, const std::optional<FileStamp>& stamp,
            const std::optional<KnownFile>& known) {
    const bool isUnchanged = stamp && known && known->stamp == stamp;
    note_->Begin(stamp.value_or(FileStamp()), path);
    CataloguedModel model =
        Gather(input, path, stamp, isUnchanged ? Both(order_->depth, known->has) : order_->depth);
    note_->End();
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
    const auto there = database.Number(
        "SELECT count(*) - (SELECT count(*) FROM models WHERE gone = 1) FROM models");
    if (there == static_cast<std::int64_t>(seen_.Count())) {
      return;
    }
    const Ancestors roots(AbsolutePaths(inputs_->NamedFolders()));
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

  /// Before a scan ends that cannot be finished.
  void KeepWhatIsDone() {
    try {
      Commit();
    } catch (const std::exception&) {
      // It is the catalogue that fails: what it has of earlier batches is what there is.
    }
  }

  const ScanOrder* order_;
  Inputs* inputs_;
  ScanNote* note_;
  Catalogue catalogue_;
  OwnFiles own_;
  std::optional<Transaction> batch_;
  Progress progress_;
  Found found_;  // the file that is opened next
  IdSet seen_;
  std::vector<std::string> closed_;  // folders that could not be looked at
  std::size_t sinceCommit_ = 0;
  std::chrono::steady_clock::time_point lastCommit_ = std::chrono::steady_clock::now();
  ScanCounts counts_;
};

}  // namespace

ScanCounts ScanInto(const ScanOrder& order, Inputs& inputs, ScanNote& note) {
  return Scan(order, inputs, note).Run();
}
