// Custom attributes of a variable or of the data file, in file order. An
// array attribute has several values.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "host/host_api.h"

class HOST_API DatasourceAttributes {
 public:
  struct Attribute {
    std::string name;
    std::vector<std::string> values;
  };

  DatasourceAttributes() = default;
  explicit DatasourceAttributes(std::vector<Attribute> attributes)
      : attributes_(std::move(attributes)) {}

  std::size_t Size() const { return attributes_.size(); }
  const std::string& Name(std::size_t i) const { return attributes_.at(i).name; }
  const std::vector<std::string>& Values(std::size_t i) const { return attributes_.at(i).values; }
  const std::vector<Attribute>& All() const { return attributes_; }

 private:
  std::vector<Attribute> attributes_;
};
