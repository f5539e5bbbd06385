#pragma once

#include <exception>

#include "Lbt/Tev/LoadObserver.h"
#include "Lbt/Tev/ModelStreams.h"

namespace LbtTev {

/// Tells an observer of what fails while a model is read through its streams, and lets the reading
/// go on where the observer wants that. Does nothing without an observer.
class TolerantReading {
 public:
  TolerantReading(ModelStreams& streams, LoadObserver* observer);
  ~TolerantReading() { streams_->goOn = nullptr; }
  TolerantReading(const TolerantReading&) = delete;
  TolerantReading& operator=(const TolerantReading&) = delete;

  /// Says what is read next: all but what was thrown and where.
  void SetPlace(const LoadFailure& place) {
    place_ = place;
    hasFailed_ = false;
  }

  /// Whether there was a failure in this place.
  [[nodiscard]] bool HasFailed() const { return hasFailed_; }

  /// Tells of what was read in this place from streams that had been given up before, unless
  /// something has failed here as well.
  void TellOfMissedReads();

 private:
  [[nodiscard]] bool Tell(const std::exception& exception, ModelStream& stream);
  void TellOfConsequence(const std::exception_ptr& reason, ModelStream& stream);

  ModelStreams* streams_;
  LoadObserver* observer_;
  LoadFailure place_;
  bool hasFailed_ = false;
};

}  // namespace LbtTev
