// Inflates blocks on other threads before their turn comes.

#include "Lbt/Tev/Analysis/BlocksAhead.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "Lbt/Lbf/Inflation.h"

namespace LbtTev::Analysis {

void BlocksAhead::Plan(std::span<const unsigned long> positions,
                       std::function<bool(std::size_t)> isLeftOut) {
  isLeftOut_ = std::move(isLeftOut);
  for (const unsigned long position : positions) {
    if (const std::optional<std::size_t> place = PlaceOf(position)) {
      ++uses_[*place];
      if (wanted_.empty() || wanted_.back() != entries_[*place]) {
        wanted_.push_back(entries_[*place]);
      }
    }
  }
}

/// What is wrong with a stream is told where the block is needed.
void BlocksAhead::Measure() {
  isMeasured_ = true;
  LbtLbf::NamedStream* found = file_->FindStream(stream_->GetName());
  if (found == nullptr) {
    return;
  }
  try {
    starts_.push_back(0);
    for (const std::uint64_t entry : found->Limiter().blocks) {
      entries_.push_back(entry);
      starts_.push_back(starts_.back() + file_->ReadRecordedLength(entry));
    }
  } catch (const std::exception&) {
    starts_.clear();
  }
  wasInflated_.resize(entries_.size());
  uses_.resize(entries_.size());
}

std::optional<std::size_t> BlocksAhead::PlaceOf(unsigned long position) {
  if (!isMeasured_) {
    Measure();
  }
  if (starts_.empty() || position >= starts_.back()) {
    return std::nullopt;
  }
  const auto after = std::ranges::upper_bound(starts_, position);
  return static_cast<std::size_t>(after - starts_.begin()) - 1;
}

std::optional<BlocksAhead::Place> BlocksAhead::Locate(unsigned long position) {
  const std::optional<std::size_t> place = PlaceOf(position);
  return place ? std::optional(Place{entries_[*place], position - starts_[*place]}) : std::nullopt;
}

std::uint64_t BlocksAhead::LengthAt(unsigned long position) {
  const std::optional<std::size_t> place = PlaceOf(position);
  return place ? starts_[*place + 1] - starts_[*place] : 0;
}

void BlocksAhead::DropUsedUp() {
  if (place_ && uses_[*place_] == 0) {
    LetGo();
  }
}

/// The file may keep the contents for others, unless somebody here holds them.
void BlocksAhead::LetGo() {
  if (current_ != nullptr && current_.use_count() == 1) {
    file_->GetIndex().KeepContents(current_->entry, std::move(current_->contents));
  }
  current_.reset();
  place_.reset();
}

LbtLbf::Block* BlocksAhead::Find(unsigned long position) {
  const std::optional<std::size_t> place = PlaceOf(position);
  if (!place) {
    return nullptr;
  }
  uses_[*place] -= uses_[*place] == 0 ? 0U : 1U;
  if (place_ != place) {
    MoveTo(*place);
  }
  if (current_ == nullptr) {
    return nullptr;
  }
  current_->contents.SetPosition(position - starts_[*place]);
  return &current_->contents;
}

/// The block before is let go first: few are in memory at a time. What the file has kept is not
/// inflated again, and not charged.
void BlocksAhead::MoveTo(std::size_t place) {
  const std::size_t entry = entries_[place];
  LetGo();
  place_ = place;
  std::unique_ptr<Work> work = Finish(entry);
  const bool isDone = work != nullptr;
  if (!isDone) {
    work = Prepare(entry);
  }
  if (wasInflated_[place] && (work == nullptr || !work->wasKept)) {
    stream_->Charge(starts_[place + 1] - starts_[place]);
  }
  wasInflated_[place] = true;
  StartNext();
  if (!isDone && work != nullptr) {
    Run(*work);
  }
  // A block whose recorded length is wrong moves all that follow it: that is left to the file.
  if (work != nullptr && work->length == starts_[place + 1] - starts_[place]) {
    if (!work->wasKept) {
      work->contents.Append(static_cast<std::uint32_t>(work->length));
    }
    current_ = std::move(work);
  }
}

/// Contents that the file has kept; null where it has not.
std::unique_ptr<BlocksAhead::Work> BlocksAhead::TakeKept(std::size_t entry) const {
  auto contents = file_->GetIndex().TakeKeptContents(entry);
  if (!contents) {
    return nullptr;
  }
  auto work = std::make_unique<Work>();
  work->entry = entry;
  work->wasKept = true;
  work->length = contents->GetSize();
  work->contents.Adopt(std::move(*contents));
  return work;
}

std::unique_ptr<BlocksAhead::Work> BlocksAhead::Prepare(std::size_t entry) const {
  if (auto kept = TakeKept(entry)) {
    return kept;
  }
  const LbtLbf::IndexItem& item = file_->GetIndex().GetItems()[entry];
  if (!item.IsCompressed() || item.SizeIn(file_->GetSize().value_or(0)) < item.size) {
    return nullptr;
  }
  file_->GetIndex().GetCache().TellOfLoad(entry);
  try {
    auto work = std::make_unique<Work>();
    work->entry = entry;
    if (file_->ReadStored(item.position, work->stored.RoomFor(item.size)) != item.size) {
      return nullptr;
    }
    work->stored.Append(item.size);
    work->stored.SetPosition(0);
    const LbtLbf::CompressedBlock block = LbtLbf::TakeApart(work->stored);
    work->compressed = block.stream;
    work->room = work->contents.RoomFor(static_cast<std::uint32_t>(block.Room()));
    return work;
  } catch (const std::exception&) {
    return nullptr;  // it fails in its turn, or fits into memory then
  }
}

/// Touches nothing but the work, so that other threads may do it.
void BlocksAhead::Run(Work& work) {
  if (work.wasKept) {
    return;
  }
  const LbtLbf::Inflated inflated = LbtLbf::Inflate(work.compressed, work.room);
  work.length = inflated.code == 0 ? inflated.length : 0;
  work.stored = {};
}

bool BlocksAhead::Work::IsUnderWay() const {
  return done.valid() && done.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

bool BlocksAhead::IsThreadFree() const {
  const auto busy =
      std::ranges::count_if(ahead_, [](const auto& work) { return work->IsUnderWay(); });
  return static_cast<std::size_t>(busy) < helpers_.threads;
}

/// The next block that can be inflated before its turn; null where there is none.
std::unique_ptr<BlocksAhead::Work> BlocksAhead::PrepareNext() {
  std::unique_ptr<Work> work;
  for (; work == nullptr && ahead_.size() < helpers_.most && next_ < wanted_.size(); ++next_) {
    const bool isInHand = place_ && entries_[*place_] == wanted_[next_];
    const bool isLeftOut = isInHand || (isLeftOut_ && isLeftOut_(wanted_[next_]));
    work = isLeftOut ? nullptr : Prepare(wanted_[next_]);
  }
  return work;
}

void BlocksAhead::StartNext() {
  while (IsThreadFree()) {
    std::unique_ptr<Work> work = PrepareNext();
    if (work == nullptr) {
      return;
    }
    Work& started = *work;
    ahead_.push_back(std::move(work));
    try {
      started.done = std::async(std::launch::async, [&started] { Run(started); });
    } catch (const std::exception&) {
      Run(started);  // there are no more threads
    }
  }
}

/// Inflates a block here, since there is nothing else to do.
void BlocksAhead::HelpAhead() {
  if (std::unique_ptr<Work> work = PrepareNext()) {
    Run(*work);
    ahead_.push_back(std::move(work));
  }
}

/// The work on a block that was started, once it is done; null where it was not started.
std::unique_ptr<BlocksAhead::Work> BlocksAhead::Finish(std::size_t entry) {
  const auto found = std::ranges::find(ahead_, entry, [](const auto& work) { return work->entry; });
  if (found == ahead_.end()) {
    return nullptr;
  }
  std::unique_ptr<Work> work = std::move(*found);
  ahead_.erase(found);
  while (work->IsUnderWay() && ahead_.size() < helpers_.most && next_ < wanted_.size()) {
    HelpAhead();
  }
  if (work->done.valid()) {
    work->done.get();
  }
  return work;
}

}  // namespace LbtTev::Analysis
