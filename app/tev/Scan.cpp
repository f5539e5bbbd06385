// tev scan: fills a catalogue with what models tell.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "tev/Answers.h"
#include "tev/CatalogueScan.h"
#include "tev/Inputs.h"
#include "tev/Output.h"
#include "tev/Verbs.h"
#include "tev/VisibleText.h"

namespace {

/// What has asked the scan to end.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): a handler has nothing else
volatile std::sig_atomic_t theSignal = 0;

void EndBySignal(int number) { theSignal = number; }

void TakeSignals() {
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      action.sa_handler = EndBySignal;
      action.sa_flags = SA_RESTART;  // the file that is read right now is read to its end
      sigaction(number, &action, nullptr);
    }
  }
}

/// Moves a file to another name.
void Move(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) {
    throw SystemFailure(from + ": cannot become " + to, errno);
  }
}

bool Exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

/// A shard has another name until it is whole, so that what a task left unfinished is not merged.
/// The next run goes on with that.
std::string FileOfShard(const std::string& whole) {
  std::string unfinished = whole + ".part";
  if (!Exists(whole)) {
    return unfinished;
  }
  if (Exists(unfinished)) {
    throw Failure(FailureCode::IoError, "there is " + unfinished + ", too: one of them has to go");
  }
  Catalogue(whole).EndWriteAhead();
  if (Exists(whole + "-wal")) {
    throw Failure(FailureCode::IoError, "somebody reads it");
  }
  Move(whole, unfinished);
  return unfinished;
}

std::string TextOf(const ScanCounts& counts) {
  std::string text = Counted(counts.read + counts.unchanged, "file") + ": " +
                     std::to_string(counts.read) + " read, " + std::to_string(counts.unchanged) +
                     " unchanged, " + std::to_string(counts.failed) + " failed";
  return counts.vanished == 0 ? text : text + ", " + std::to_string(counts.vanished) + " vanished";
}

void RequirePaths(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    if (DescriptorOf(path)) {
      throw UsageError(path + ": has no path that could be kept");
    }
  }
}

ScanCounts Scanned(ScanOrder order, const FileRun& run) {
  Inputs inputs(AbsolutePaths(run.files), run.filesFrom);
  const std::string whole = CataloguePath(order.catalogue);
  ScanNote note(whole);
  order.catalogue = order.shard.count == 0 ? whole : FileOfShard(whole);
  ScanCounts counts = ScanInto(order, inputs, note);
  if (counts.isWhole && order.catalogue != whole) {
    Move(order.catalogue, whole);
  }
  return counts;
}

Status Run(const ScanOrder& order, const FileRun& run) {
  RequirePaths(run.files);
  ScanCounts counts;
  try {
    TakeSignals();
    counts = Scanned(order, run);
  } catch (const Failure& failure) {
    ReportFailure(order.catalogue, failure.what());
    return Status::FileFailed;
  }
  if (!counts.isWhole && order.isEnding()) {
    ReportFailure(order.catalogue, "a signal ended the scan; the next one goes on from here");
  } else {
    WriteLine(order.catalogue + ": " + TextOf(counts));
  }
  return counts.isWhole ? Status::Done : Status::FileFailed;
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
  const auto order = std::make_shared<ScanOrder>();
  const auto run = std::make_shared<FileRun>(FileRun{.verb = "scan"});
  AddInputOptions(app, run);
  app.get_option("PATH")->description("Models, and folders with models");
  app.add_option("--catalogue", order->catalogue, "The catalogue to fill")
      ->required()
      ->option_text("FILE");
  app.add_flag("--stats", order->depth.stats, "Read the values, for the extremes of results");
  app.add_flag("--check", order->depth.check, "Check each file, for what is wrong with it");
  app.add_flag("--hash", order->depth.hash, "Digest what each model says, to find duplicates");
  app.add_option_function<std::string>(
         "--shard", [order](const std::string& text) { order->shard = ShardOf(text); },
         "Take one of N shares of the files, K from 0 on")
      ->check([](const std::string& text) { return ShardFault(text); })
      ->option_text("K/N");
  AddProgressOptions(app, run);
  return [order, run] {
    order->progress = run->progress;
    order->isEnding = [] { return theSignal != 0; };
    return Run(*order, *run);
  };
}

}  // namespace

Verb ScanVerb() {
  return {.name = "scan", .summary = "Fill a catalogue of models", .notes = kNotes, .setUp = SetUp};
}
