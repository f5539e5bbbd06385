#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Lbt/Tev/TevInfo/SharedValues.h"

/// The numbers of one geometry variable, as the data dump prints them.
struct TevDataset {
  /// Which of the two sequences holds the values.
  static constexpr unsigned int kIntegers = 0;
  static constexpr unsigned int kFloats = 1;

  /// How many values there are.
  [[nodiscard]] std::size_t size() const {
    if (kind == kIntegers) {
      return intValues.size();
    }
    return kind == kFloats ? floatValues.size() : 0;
  }

  std::string group;     ///< part name of the variable's shape: the analysis
  std::string result;    ///< result name
  std::string instance;  ///< instance name; empty where there is none
  unsigned int kind = kFloats;
  bool flag = true;  ///< carried, without a meaning here
  LbtTev::Report::SharedValues<float> floatValues;
  LbtTev::Report::SharedValues<unsigned int> intValues;
  std::vector<std::string> names;  ///< geometries with this data, its owner first
};
