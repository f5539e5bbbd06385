// tev scan: fills a catalogue with what models tell.

#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tev/Catalogue.h"
#include "tev/CatalogueFacts.h"
#include "tev/CataloguePaths.h"
#include "tev/Inputs.h"
#include "tev/Progress.h"
#include "tev/ScanNote.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

struct Options {
  std::vector<std::string> paths;
  std::string filesFrom;
  std::string catalogue;
  ScanDepth depth;
  Shard shard;
  Progress::Mode progress = Progress::Mode::Auto;
};

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

/// What has asked the scan to end.
volatile std::sig_atomic_t theSignal = 0;

void EndBySignal(int number) { theSignal = number; }

void TakeSignals() {
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      action.sa_handler = EndBySignal;
      sigaction(number, &action, nullptr);
    }
  }
}

/// One scan into one file of a catalogue.
class CatalogueScan {
 public:
  CatalogueScan(const Options& options, const std::string& path)
      : options_(&options), path_(path), note_(path), catalogue_(OpenFor(path)) {}

  void Run() {
    const Database& database = catalogue_.GetDatabase();
    database.Execute("CREATE TEMP TABLE seen(id INTEGER PRIMARY KEY)");
    see_.emplace(database.Prepare("INSERT OR IGNORE INTO seen VALUES (?)"));
    batch_.emplace(database);
    TakeWhatWasLeft();
    ScanAll();
    if (theSignal == 0) {
      MarkVanished();
    }
    batch_->Commit();
    batch_.reset();
    note_.Remove();
  }

  [[nodiscard]] std::string Summary() const {
    std::string text = Counted(read_ + unchanged_, "file") + ": " + std::to_string(read_) +
                       " read, " + std::to_string(unchanged_) + " unchanged, " +
                       std::to_string(failed_) + " failed";
    return vanished_ == 0 ? text : text + ", " + std::to_string(vanished_) + " vanished";
  }

 private:
  static Catalogue OpenFor(const std::string& path) {
    Catalogue catalogue(path);
    catalogue.GetDatabase().Execute(IsOnLocalDisk(path) ? "PRAGMA journal_mode = WAL"
                                                        : "PRAGMA journal_mode = DELETE");
    catalogue.GetDatabase().Execute("PRAGMA synchronous = NORMAL");
    return catalogue;
  }

  /// A file that ended the last scan is a failure from now on, until it changes.
  void TakeWhatWasLeft() {
    if (const auto left = note_.Left()) {
      CataloguedModel model;
      model.path = left->path;
      model.stamp = left->stamp;
      model.failure = Failure(FailureCode::IoError, "a scan ended while it was reading this file");
      model.has = {true, true, true};  // there is nothing more to ask for
      model.scannedNs = NowNs();
      static_cast<void>(catalogue_.Store(model));
      note_.End();
      ReportFailure(model.path, model.failure->what());
    }
    Commit();
  }

  void ScanAll() {
    Inputs inputs(RootsOf(*options_), options_->filesFrom);
    inputs.PassOver([this](const std::string& path, const struct stat& status) {
      return IsPassedOver(AbsolutePath(path), StampOf(status));
    });
    Progress progress(options_->progress);
    const Input* input = nullptr;
    while (theSignal == 0 && (input = inputs.Next()) != nullptr) {
      progress.Show(read_ + unchanged_, std::nullopt, input->path);
      Take(*input, AbsolutePath(input->path));
      CommitNowAndThen();
    }
  }

  static std::vector<std::string> RootsOf(const Options& options) {
    std::vector<std::string> roots;
    for (const std::string& path : options.paths) {
      roots.push_back(AbsolutePath(path));
    }
    return roots;
  }

  /// Whether a regular file need not be opened. Remembers what it is found as.
  bool IsPassedOver(const std::string& path, const FileStamp& stamp) {
    known_.reset();
    stamp_ = stamp;
    if (!options_->shard.Has(path)) {
      return true;
    }
    known_ = catalogue_.Find(path);
    const bool isUnchanged = known_ && known_->stamp == stamp;
    if (!isUnchanged) {
      known_.reset();
      return false;
    }
    if (!Covers(known_->has, options_->depth)) {
      return false;
    }
    See(known_->id);
    if (known_->isGone) {
      catalogue_.SetGone(known_->id, false, NowNs());
    }
    ++unchanged_;
    return true;
  }

  void Take(const Input& input, const std::string& path) {
    const std::optional<FileStamp> stamp = std::exchange(stamp_, std::nullopt);
    const std::optional<KnownFile> known = std::exchange(known_, std::nullopt);
    if (!options_->shard.Has(path)) {
      return;
    }
    ++read_;
    if (IsVanished(input, path)) {
      return;
    }
    CataloguedModel model = Gather(input, path, stamp.value_or(FileStamp()),
                                   known ? Both(options_->depth, known->has) : options_->depth);
    if (stamp && !IsWorthAnotherTry(model)) {
      model.stamp = stamp;
    }
    See(catalogue_.Store(model));
    if (model.failure) {
      ++failed_;
      ReportFailure(path, model.failure->what());
    }
  }

  /// Whether a file that is known was named, and is no more: what is known of it stays.
  bool IsVanished(const Input& input, const std::string& path) {
    if (!input.failure || input.failure->Code() != FailureCode::NotFound) {
      return false;
    }
    const auto known = catalogue_.Find(path);
    const bool isKnown = known && known->stamp;
    if (isKnown && !known->isGone) {
      catalogue_.SetGone(known->id, true, NowNs());
      ++vanished_;
    }
    return isKnown;
  }

  CataloguedModel Gather(const Input& input, const std::string& path, const FileStamp& stamp,
                         const ScanDepth& depth) {
    constexpr int kTries = 2;
    CataloguedModel model;
    for (int i = 0; i < kTries; ++i) {
      const auto before = StampOf(input.source);
      note_.Begin(stamp, path);
      model = GatherCatalogued(input, path, depth);
      note_.End();
      model.scannedNs = NowNs();
      if (StampOf(input.source) == before) {
        return model;
      }
    }
    model = {.path = path, .scannedNs = NowNs()};
    model.failure = Failure(FailureCode::IoError, "it changes while it is scanned");
    return model;
  }

  /// Whether the next scan may fare better, though the file is the same.
  static bool IsWorthAnotherTry(const CataloguedModel& model) {
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

  void See(std::int64_t id) { see_->Run(id); }

  /// A folder that cannot be listed tells nothing of what is below it.
  void MarkVanished() {
    const Database& database = catalogue_.GetDatabase();
    const Ancestors roots(RootsOf(*options_));
    Statement lost = database.Prepare(
        "SELECT path FROM models WHERE id IN seen AND failure_code IS NOT NULL AND bytes IS NULL");
    std::vector<std::string> closed;
    while (lost.Step()) {
      closed.push_back(lost.Text(0));
    }
    const Ancestors closedFolders(std::move(closed));
    Statement unseen =
        database.Prepare("SELECT id, path FROM models WHERE gone = 0 AND id NOT IN seen");
    std::vector<std::int64_t> vanished;
    while (unseen.Step()) {
      const std::string path = unseen.Text(1);
      if (roots.HasAbove(path) && !closedFolders.HasAbove(path) && options_->shard.Has(path)) {
        vanished.push_back(unseen.Integer(0));
      }
    }
    for (const std::int64_t id : vanished) {
      catalogue_.SetGone(id, true, NowNs());
    }
    vanished_ += vanished.size();
  }

  void CommitNowAndThen() {
    constexpr std::size_t kFiles = 1000;
    constexpr std::chrono::seconds kAtLeastEvery(2);
    if (++sinceCommit_ >= kFiles ||
        std::chrono::steady_clock::now() - lastCommit_ >= kAtLeastEvery) {
      Commit();
    }
  }

  void Commit() {
    batch_->Commit();
    batch_.emplace(catalogue_.GetDatabase());
    sinceCommit_ = 0;
    lastCommit_ = std::chrono::steady_clock::now();
  }

  const Options* options_;
  std::string path_;
  ScanNote note_;
  Catalogue catalogue_;
  std::optional<Statement> see_;
  std::optional<Transaction> batch_;
  std::optional<FileStamp> stamp_;  // of the file that comes next
  std::optional<KnownFile> known_;  // of the same, where it has not changed
  std::size_t sinceCommit_ = 0;
  std::chrono::steady_clock::time_point lastCommit_;
  std::size_t read_ = 0;
  std::size_t unchanged_ = 0;
  std::size_t failed_ = 0;
  std::size_t vanished_ = 0;
};

/// Moves a file to another name.
void Move(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) {
    throw SystemFailure("cannot become " + to, errno);
  }
}

/// A shard has another name until it is whole, so that what a task left unfinished is not merged.
/// The next run goes on with that.
std::string WorkingName(const Options& options) {
  if (options.shard.count == 1) {
    return options.catalogue;
  }
  std::string name = options.catalogue + ".part";
  if (access(name.c_str(), F_OK) != 0 && access(options.catalogue.c_str(), F_OK) == 0) {
    Move(options.catalogue, name);
  }
  return name;
}

Status Run(const Options& options) {
  try {
    TakeSignals();
    const std::string path = WorkingName(options);
    std::string summary;
    {
      CatalogueScan scan(options, path);
      scan.Run();
      summary = scan.Summary();
    }
    if (theSignal != 0) {
      ReportFailure(options.catalogue, "a signal ended the scan; the next one goes on from here");
      return Status::FileFailed;
    }
    if (path != options.catalogue) {
      Move(path, options.catalogue);
    }
    std::cout << options.catalogue << ": " << summary << '\n' << std::flush;
  } catch (const Failure& failure) {
    ReportFailure(options.catalogue, failure.what());
    return Status::FileFailed;
  }
  return Status::Done;
}

constexpr const char* kNotes =
    "Files that the catalogue knows, and that have not changed since, are not opened again unless\n"
    "they lack what is asked for. Those that have vanished are marked. --stats reads all values.\n"
    "A shard is written to FILE.part, which becomes FILE when it is whole.\n"
    "Examples:\n"
    "  tev scan /archive --catalogue archive.db\n"
    "  tev scan /archive --catalogue part-3.db --shard 3/8 --stats\n"
    "Exit status: 0 every file has its row, failures too; 1 bad usage; 2 the scan could not be\n"
    "finished, or another one is writing to the catalogue.";

Action SetUp(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "scan"});
  AddInputOptions(app, run);
  app.add_option("--catalogue", options->catalogue, "The catalogue to fill")
      ->required()
      ->option_text("FILE");
  app.add_flag("--stats", options->depth.stats, "Read the values, for the extremes of results");
  app.add_flag("--check", options->depth.check, "Check each file, for what is wrong with it");
  app.add_flag("--hash", options->depth.hash, "Digest what each model says, to find duplicates");
  app.add_option_function<std::string>(
         "--shard", [options](const std::string& text) { options->shard = ShardOf(text); },
         "Take one of N shares of the files, K from 0 on")
      ->check([](const std::string& text) { return ShardFault(text); })
      ->option_text("K/N");
  AddProgressOptions(app, run);
  return [options, run] {
    options->paths = run->files;
    options->filesFrom = run->filesFrom;
    options->progress = run->progress;
    return Run(*options);
  };
}

}  // namespace

Verb ScanVerb() {
  return {.name = "scan", .summary = "Fill a catalogue of models", .notes = kNotes, .setUp = SetUp};
}
