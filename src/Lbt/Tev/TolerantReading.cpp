// Tells observers of what fails while a model is loaded.

#include "TolerantReading.h"

#include "Lbt/Lbf/Inflation.h"

namespace LbtTev {

TolerantReading::TolerantReading(ModelStreams& streams, LoadObserver* observer)
    : streams_(&streams), observer_(observer) {
  if (observer != nullptr) {
    streams.goOn = [this](const std::exception& exception, ModelStream& stream) {
      return Tell(exception, stream);
    };
  }
}

bool TolerantReading::Tell(const std::exception& exception, ModelStream& stream) {
  hasFailed_ = true;
  LoadFailure failure = place_;
  const LbtLbf::Index& index = stream.GetFile().GetIndex();
  if (index.IsEmpty()) {
    failure.part = LoadFailure::Part::Index;
  } else {
    failure.stream = stream.GetName();
    failure.position = stream.Position();
  }
  if (LbtLbf::IsRefusal(exception)) {
    failure.refusedBlock = stream.RefusedBlock();
  }
  failure.exception = &exception;
  return observer_->OnFailure(failure);
}

void TolerantReading::TellOfMissedReads() {
  for (ModelStream* stream : {&streams_->light, &streams_->attributes, &streams_->resources}) {
    const std::exception_ptr reason = stream->TakeReasonOfMissedReads();
    if (reason != nullptr && !hasFailed_) {
      TellOfConsequence(reason, *stream);
    }
  }
}

void TolerantReading::TellOfConsequence(const std::exception_ptr& reason, ModelStream& stream) {
  hasFailed_ = true;
  try {
    std::rethrow_exception(reason);
  } catch (const std::exception& exception) {
    LoadFailure failure = place_;
    failure.stream = stream.GetName();
    failure.position = stream.Position();
    failure.exception = &exception;
    failure.isConsequence = true;
    if (!observer_->OnFailure(failure)) {
      throw;
    }
  }
}

}  // namespace LbtTev
