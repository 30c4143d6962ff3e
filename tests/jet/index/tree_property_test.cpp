// Trees built from many random entry sets: keys of 1 to 300 bytes, often sharing long prefixes or
// equal (so the shared prefix runs into the row pointer), sets of 1 to 5000 entries. Every tree
// must read back exactly as built and pass the verifier; the sets are shaped so that pages filled
// to the last byte occur and are counted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

#include "jet/format/index_pages.h"
#include "jet/index/page.h"
#include "jet/index/tree.h"
#include "memory_pages.h"

namespace qorvane::jet::index {
namespace {

constexpr uint32_t kOwner = 7;
constexpr size_t kMaxKey = 300;
constexpr size_t kMaxCount = 5000;

size_t Uniform(std::mt19937& random, size_t low, size_t high) {
  return std::uniform_int_distribution<size_t>(low, high)(random);
}

// Log-uniform in 1..kMaxCount, so small sets (one leaf) and large ones (three levels) both come up.
size_t RandomCount(std::mt19937& random) {
  const double exponent = std::uniform_real_distribution<double>(0, std::log(double(kMaxCount)))(random);
  return std::clamp<size_t>(static_cast<size_t>(std::exp(exponent)), 1, kMaxCount);
}

// A random entry set, sorted and without repeated entries. Keys are built from a few shared
// prefixes and a small alphabet so that neighbours share many bytes; some rounds use one key
// length whose entry size divides the entry area, which fills pages exactly.
std::vector<Entry> RandomEntries(std::mt19937& random, size_t count) {
  const size_t alphabet = Uniform(random, 0, 3) == 0 ? 256 : Uniform(random, 2, 6);
  std::vector<std::vector<uint8_t>> prefixes(Uniform(random, 1, 8));
  for (auto& prefix : prefixes) {
    prefix.resize(Uniform(random, 0, kMaxKey - 1));
    for (auto& byte : prefix) byte = static_cast<uint8_t>(0x30 + Uniform(random, 0, alphabet - 1));
  }
  // Leaf entries (key + 4) of 8, 16, 32, 113 or 226 bytes, or node entries (key + 8) of 32, 113
  // or 226 bytes: sizes that divide the 3616-byte entry area.
  constexpr size_t kDividingKeySizes[] = {4, 12, 28, 109, 222, 24, 105, 218};
  const size_t fixed_size = Uniform(random, 0, 2) == 0 ? kDividingKeySizes[Uniform(random, 0, 7)] : 0;
  const uint32_t page_range = Uniform(random, 0, 1) ? 3 : 0xFFFFFF;
  const size_t repeat_percent = Uniform(random, 0, 1) ? 0 : Uniform(random, 10, 90);

  std::vector<Entry> entries;
  entries.reserve(count);
  while (entries.size() < count) {
    Entry entry;
    entry.data_page = static_cast<uint32_t>(Uniform(random, 1, page_range));
    entry.data_row = static_cast<uint8_t>(Uniform(random, 0, 255));
    if (!entries.empty() && Uniform(random, 0, 99) < repeat_percent) {
      entry.key = entries[Uniform(random, 0, entries.size() - 1)].key;  // same key, another row
    } else {
      const size_t size = fixed_size ? fixed_size : Uniform(random, 1, kMaxKey);
      entry.key = prefixes[Uniform(random, 0, prefixes.size() - 1)];
      entry.key.resize(std::min(entry.key.size(), size));
      while (entry.key.size() < size) {
        entry.key.push_back(static_cast<uint8_t>(0x30 + Uniform(random, 0, alphabet - 1)));
      }
    }
    entries.push_back(std::move(entry));
  }
  SortEntries(entries);
  entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
  return entries;
}

TEST(TreePropertyTest, RandomEntrySetsReadBackAndVerify) {
  std::mt19937 random(20240601);
  size_t full_leaves = 0, full_nodes = 0, deepest = 0;
  for (int round = 0; round < 300; ++round) {
    const size_t count = round == 0 ? 1 : round == 1 ? kMaxCount : RandomCount(random);
    const std::vector<Entry> entries = RandomEntries(random, count);
    SCOPED_TRACE("round " + std::to_string(round) + ", " + std::to_string(entries.size()) + " entries");

    test::MemoryFile file;
    BuiltTree tree;
    ASSERT_NO_THROW(tree = BuildTree(entries, kOwner, file.Sink()));
    ASSERT_EQ(tree.pages.size(), file.pages.size());

    std::vector<Entry> read;
    ASSERT_NO_THROW(read = ReadTree(tree.root, file.Source()));
    ASSERT_EQ(read.size(), entries.size());
    const auto mismatch = std::mismatch(read.begin(), read.end(), entries.begin());
    ASSERT_TRUE(mismatch.first == read.end())
        << "entry " << (mismatch.first - read.begin()) << " reads back differently";

    std::vector<uint32_t> reached;
    ASSERT_NO_THROW(reached = VerifyTree(tree.root, kOwner, file.Source(), entries));
    std::sort(reached.begin(), reached.end());
    std::vector<uint32_t> written = tree.pages;
    std::sort(written.begin(), written.end());
    ASSERT_EQ(reached, written);

    uint32_t distinct = 0;
    for (size_t i = 0; i < entries.size(); ++i) distinct += i == 0 || entries[i].key != entries[i - 1].key;
    EXPECT_EQ(tree.distinct_keys, distinct);
    deepest = std::max<size_t>(deepest, tree.levels);
    for (const auto& [number, bytes] : file.pages) {
      DecodedPage page = DecodeIndexPage(bytes, number);
      if (page.data_bytes != format::kIndexEntryAreaSize) continue;
      ++(page.kind == PageKind::Leaf ? full_leaves : full_nodes);
    }
  }
  // The sets must reach the cases that matter: full pages and trees of three levels.
  EXPECT_GT(full_leaves, 0u);
  EXPECT_GT(full_nodes, 0u);
  EXPECT_GE(deepest, 3u);
  RecordProperty("full_leaves", std::to_string(full_leaves));
  RecordProperty("full_nodes", std::to_string(full_nodes));
}

}  // namespace
}  // namespace qorvane::jet::index
