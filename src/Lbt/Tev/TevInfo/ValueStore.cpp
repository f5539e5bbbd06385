// Loads numbers once, however many variables claim them.

#include "ValueStore.h"

#include <vector>

#include "Lbt/Util/StoredNumbers.h"

namespace LbtTev::Report {

void ValueStore::Expect(const NumericArray& array) {
  if (array.loader != nullptr) {
    ++expected_[array.loader.get()];
  }
}

SharedValues<float> ValueStore::LoadFloats(const NumericArray& array) {
  return Find(floats_, array, [&] { return Load<float>(*array.loader); });
}

SharedValues<unsigned int> ValueStore::LoadIntegers(const NumericArray& array) {
  return Find(integers_, array, [&] { return Load<unsigned int>(*array.loader); });
}

SharedValues<unsigned int> ValueStore::Truncate(const NumericArray& array,
                                                const SharedValues<float>& floats,
                                                ModelStream& heavy) {
  return Find(truncated_, array, [&] {
    heavy.Charge(floats.size() * sizeof(unsigned int));
    std::vector<unsigned int> integers;
    integers.reserve(floats.size());
    for (const float value : floats) {
      integers.push_back(Lbt::Util::Clamped<unsigned int>(value));
    }
    return SharedValues<unsigned int>(std::move(integers));
  });
}

template <class T>
SharedValues<T> ValueStore::Load(const DataLoader& loader) {
  std::vector<T> values;
  loader.LoadTo(values);
  return values;
}

template <class T, class Make>
SharedValues<T> ValueStore::Find(Known<T>& known, const NumericArray& array, Make make) {
  const DataLoader* loader = array.loader.get();
  if (loader == nullptr) {
    return {};
  }
  const auto place = known.lower_bound(loader);
  const bool isKnown = place != known.end() && *place->first == *loader;
  SharedValues<T> values = isKnown ? place->second : make();
  if (IsLastLoad(loader)) {
    known.erase(loader);
  } else if (!isKnown) {
    known.emplace_hint(place, loader, values);
  }
  return values;
}

bool ValueStore::IsLastLoad(const DataLoader* loader) {
  const auto expected = expected_.find(loader);
  return expected != expected_.end() && --expected->second == 0;
}

}  // namespace LbtTev::Report
