// Documents of a dataset: each document is a list of lines.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/host_api.h"

class VELA_DataSource;

class HOST_API DSDocument {
 public:
  DSDocument() = default;
  explicit DSDocument(std::vector<std::string> lines) : lines_(std::move(lines)) {}

  int Size() const { return static_cast<int>(lines_.size()); }
  const std::string& operator[](int i) const { return lines_.at(static_cast<std::size_t>(i)); }

 private:
  std::vector<std::string> lines_;
};

HOST_API std::vector<DSDocument> GetDocuments(const VELA_DataSource& source);
