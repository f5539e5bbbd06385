#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

#include "Lbt/Util/AttributeValue.h"

namespace LbtUtil {

/// Attributes that copies share: most variables of a model have those of many others. Reads
/// like the map that it stands for and is changed as a whole.
class SharedAttributes {
 public:
  using const_iterator = AttributeMap::const_iterator;

  /// No attributes.
  SharedAttributes() = default;
  SharedAttributes(AttributeMap attributes)
      : map_(attributes.empty() ? nullptr
                                : boost::make_shared<const AttributeMap>(std::move(attributes))) {}
  SharedAttributes(std::initializer_list<AttributeMap::value_type> attributes)
      : SharedAttributes(AttributeMap(attributes)) {}

  /// The map itself; it is valid as long as one of the copies is.
  [[nodiscard]] const AttributeMap& Map() const { return map_ == nullptr ? NoAttributes() : *map_; }
  operator const AttributeMap&() const { return Map(); }

  [[nodiscard]] const_iterator begin() const { return Map().begin(); }
  [[nodiscard]] const_iterator end() const { return Map().end(); }
  [[nodiscard]] std::size_t size() const { return Map().size(); }
  [[nodiscard]] bool empty() const { return map_ == nullptr; }
  [[nodiscard]] const_iterator find(const std::string& name) const { return Map().find(name); }
  [[nodiscard]] bool contains(const std::string& name) const { return Map().contains(name); }
  /// Throws std::out_of_range.
  [[nodiscard]] const AttributeValue& at(const std::string& name) const { return Map().at(name); }
  void clear() { map_.reset(); }

  /// Whether both stand for the same map in memory; equal attributes need not.
  [[nodiscard]] bool IsSharedWith(const SharedAttributes& other) const {
    return map_ == other.map_;
  }

 private:
  [[nodiscard]] static const AttributeMap& NoAttributes() {
    static const AttributeMap none;
    return none;
  }

  boost::shared_ptr<const AttributeMap> map_;
};

}  // namespace LbtUtil
