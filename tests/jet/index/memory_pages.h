// Index pages kept in memory for the tree tests: a PageSink that hands out page numbers from 100
// up and a PageSource that reads them back, so trees are built and checked without a database.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "common/error.h"
#include "jet/index/tree.h"

namespace qorvane::jet::index::test {

struct MemoryFile {
  std::map<uint32_t, std::vector<uint8_t>> pages;
  uint32_t next = 100;

  PageSink Sink() {
    return {[this] { return next++; },
            [this](uint32_t page, std::span<const uint8_t> bytes) {
              pages[page].assign(bytes.begin(), bytes.end());
            }};
  }
  PageSource Source() {
    return [this](uint32_t page, std::span<uint8_t> out) {
      auto found = pages.find(page);
      if (found == pages.end()) throw Error(ErrorKind::Corrupt, "no page " + std::to_string(page));
      std::copy(found->second.begin(), found->second.end(), out.begin());
    };
  }
};

}  // namespace qorvane::jet::index::test
