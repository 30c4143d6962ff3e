// Trees built from sorted entries: empty, one leaf, several levels; read back and verified; and
// the verifier's eye for damage (links, counters, node entries, owner, missing rows).
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "common/error.h"
#include "jet/format/index_pages.h"
#include "jet/index/key.h"
#include "jet/index/page.h"
#include "jet/index/tree.h"
#include "memory_pages.h"

namespace qorvane::jet::index {
namespace {

constexpr uint32_t kOwner = 42;

using test::MemoryFile;

std::vector<Entry> TextEntries(size_t count) {
  std::vector<Entry> entries;
  std::mt19937 random(11);
  const KeyColumn column[] = {{KeyType::Text, SortOrder::Ascending}};
  for (size_t i = 0; i < count; ++i) {
    std::u16string name = u"Customer ";
    for (int k = 0; k < 20; ++k) name += static_cast<char16_t>(u'a' + random() % 3);  // many repeats
    const KeyValue value[] = {name};
    entries.push_back({*MakeKey(column, value, NullKeys::Store), static_cast<uint32_t>(1 + i / 50),
                       static_cast<uint8_t>(i % 50)});
  }
  SortEntries(entries);
  return entries;
}

TEST(TreeTest, EmptyIndexIsOneEmptyLeaf) {
  MemoryFile file;
  BuiltTree tree = BuildTree({}, kOwner, file.Sink());
  ASSERT_EQ(tree.pages, std::vector<uint32_t>{100});
  EXPECT_EQ(tree.root, 100u);
  EXPECT_EQ(tree.levels, 1u);
  const auto& page = file.pages.at(100);
  EXPECT_EQ(page[0], format::kPageTypeIndexLeaf);
  EXPECT_EQ(page[1], 0x01);
  EXPECT_EQ(page[2] | page[3] << 8, 3616);
  EXPECT_EQ(VerifyTree(100, kOwner, file.Source(), {}), std::vector<uint32_t>{100});
  EXPECT_TRUE(ReadTree(100, file.Source()).empty());
}

TEST(TreeTest, LargeTreeHasSeveralLevelsAndReadsBack) {
  MemoryFile file;
  std::vector<Entry> entries = TextEntries(30000);
  BuiltTree tree = BuildTree(entries, kOwner, file.Sink());
  EXPECT_GE(tree.levels, 3u);
  EXPECT_EQ(tree.pages.size(), file.pages.size());
  EXPECT_EQ(ReadTree(tree.root, file.Source()), entries);
  std::vector<uint32_t> reached = VerifyTree(tree.root, kOwner, file.Source(), entries);
  std::sort(reached.begin(), reached.end());
  std::vector<uint32_t> written = tree.pages;
  std::sort(written.begin(), written.end());
  EXPECT_EQ(reached, written);
  // Leaves share their common prefix, and are filled: on average well over half a page.
  size_t leaves = 0, used = 0, compressed = 0;
  for (const auto& [number, bytes] : file.pages) {
    DecodedPage page = DecodeIndexPage(bytes, number);
    if (page.kind != PageKind::Leaf) continue;
    ++leaves;
    used += page.data_bytes;
    compressed += page.prefix_length > 0;
  }
  EXPECT_GT(used / leaves, format::kIndexEntryAreaSize * 9 / 10);
  EXPECT_EQ(compressed, leaves);
  size_t distinct = 1;
  for (size_t i = 1; i < entries.size(); ++i) distinct += entries[i].key != entries[i - 1].key;
  EXPECT_EQ(tree.distinct_keys, distinct);
  EXPECT_GE(FindDuplicateKey(entries), 1);
}

// COUNT entries with keys of KEY_SIZE bytes: SHARED bytes common to all, then a byte that tells
// them apart, then filler. All point at rows of one data page.
std::vector<Entry> SizedEntries(size_t count, size_t key_size, size_t shared) {
  std::vector<Entry> entries;
  for (size_t i = 0; i < count; ++i) {
    std::vector<uint8_t> key(key_size, 0x41);
    std::fill(key.begin(), key.begin() + shared, 0x30);
    key[shared] = static_cast<uint8_t>(0x80 + i);
    entries.push_back({std::move(key), 1, static_cast<uint8_t>(i)});
  }
  return entries;
}

// Pages whose entry data ends on the last byte of the page: the end of the last entry is then
// the final bit the entry area can use, which the reader must accept as an entry end.
TEST(TreeTest, PagesFilledToTheLastByteReadBack) {
  auto check = [](const std::vector<Entry>& entries, size_t full_page_index, size_t entry_count,
                  uint16_t prefix) {
    MemoryFile file;
    BuiltTree tree = BuildTree(entries, kOwner, file.Sink());
    const uint32_t number = tree.pages.at(full_page_index);
    DecodedPage page = DecodeIndexPage(file.pages.at(number), number);
    EXPECT_EQ(page.data_bytes, format::kIndexEntryAreaSize);
    EXPECT_EQ(page.free_space, 0);
    EXPECT_EQ(page.entries.size(), entry_count);
    EXPECT_EQ(page.prefix_length, prefix);
    EXPECT_EQ(ReadTree(tree.root, file.Source()), entries);
    EXPECT_NO_THROW(VerifyTree(tree.root, kOwner, file.Source(), entries));
    return tree;
  };
  {
    SCOPED_TRACE("first leaf: 8 uncompressed entries of 452 bytes");
    check(SizedEntries(9, 448, 0), 0, 8, 0);
  }
  {
    SCOPED_TRACE("first leaf: 12 entries of 393 bytes sharing 100");
    // 12 * 393 - 11 * 100 = 3616; a 13th entry would need 277 more bytes.
    check(SizedEntries(13, 389, 100), 0, 12, 100);
  }
  {
    SCOPED_TRACE("root node: 8 entries of 452 bytes and a tail");
    // Leaves of 8 entries of 448 bytes; their last entries plus child pointers fill the root.
    BuiltTree tree = check(SizedEntries(72, 444, 0), 9, 8, 0);
    EXPECT_EQ(tree.levels, 2u);
    EXPECT_EQ(tree.root, tree.pages.at(9));
  }
}

// The end bit of an entry that reaches the page end lies in the last bitmap byte; bits beyond
// it would put an entry end past the page.
TEST(TreeTest, BitmapBitsBeyondThePageAreRefused) {
  MemoryFile file;
  std::vector<Entry> entries = SizedEntries(8, 448, 0);
  BuiltTree tree = BuildTree(entries, kOwner, file.Sink());
  std::vector<uint8_t> page = file.pages.at(tree.root);
  ASSERT_EQ(page[format::kIndexBitmapOffset + format::kIndexBitmapSize - 1], 0x01);
  EXPECT_EQ(DecodeIndexPage(page, 1).entries.size(), 8u);
  page[format::kIndexBitmapOffset + format::kIndexBitmapSize - 1] = 0x03;
  EXPECT_THROW(DecodeIndexPage(page, 1), Error);
  page[format::kIndexBitmapOffset + format::kIndexBitmapSize - 1] = 0x01;
  page[format::kIndexBitmapOffset] |= 0x01;  // an entry ending where the entry area starts
  EXPECT_THROW(DecodeIndexPage(page, 1), Error);
}

TEST(TreeTest, RefusesUnsortedInput) {
  MemoryFile file;
  std::vector<Entry> entries = TextEntries(10);
  std::swap(entries[2], entries[7]);
  EXPECT_THROW(BuildTree(entries, kOwner, file.Sink()), Error);
  EXPECT_EQ(FindDuplicateKey(std::vector<Entry>{{{1}, 1, 0}, {{2}, 1, 0}}), -1);
}

// Each damage below is one the verifier must name; the undamaged tree passes.
TEST(TreeTest, VerifierFindsDamage) {
  std::vector<Entry> entries = TextEntries(2000);
  auto damaged = [&](const std::function<void(MemoryFile&, const BuiltTree&)>& damage,
                     std::span<const Entry> expected) {
    MemoryFile file;
    BuiltTree tree = BuildTree(entries, kOwner, file.Sink());
    damage(file, tree);
    try {
      VerifyTree(tree.root, kOwner, file.Source(), expected);
      return std::string("no error");
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
      return std::string(error.what());
    }
  };
  auto none = [](MemoryFile&, const BuiltTree&) {};
  EXPECT_EQ(damaged(none, entries), "no error");
  // The leaf chain skips a page.
  EXPECT_NE(damaged([](MemoryFile& f, const BuiltTree& t) { f.pages[t.pages[0]][format::kIndexNextOffset] += 1; }, entries)
                .find("previous/next"), std::string::npos);
  // A free-space counter that does not match the entries.
  EXPECT_NE(damaged([](MemoryFile& f, const BuiltTree& t) { f.pages[t.pages[1]][format::kIndexFreeSpaceOffset] ^= 1; }, entries)
                .find("free space"), std::string::npos);
  // A node entry that no longer repeats its child's last entry.
  EXPECT_NE(damaged([](MemoryFile& f, const BuiltTree& t) { f.pages[t.root][format::kIndexEntryAreaOffset + 3] ^= 0x01; }, entries)
                .find("does not repeat"), std::string::npos);
  // Another table's page.
  EXPECT_NE(damaged([](MemoryFile& f, const BuiltTree& t) { f.pages[t.pages[0]][format::kIndexOwnerOffset] = 7; }, entries)
                .find("table definition"), std::string::npos);
  // One row the index should hold is missing from it.
  std::vector<Entry> more = entries;
  more.push_back({std::vector<uint8_t>(10, 0xEE), 9, 9});
  EXPECT_NE(damaged(none, more).find("expected"), std::string::npos);
  // A leaf that links back to itself is reported when reading, not followed forever.
  MemoryFile file;
  BuiltTree tree = BuildTree(entries, kOwner, file.Sink());
  auto& first = file.pages[tree.pages[0]];
  first[format::kIndexNextOffset] = static_cast<uint8_t>(tree.pages[0]);
  first[format::kIndexNextOffset + 1] = static_cast<uint8_t>(tree.pages[0] >> 8);
  EXPECT_THROW(ReadTree(tree.root, file.Source()), Error);
}

TEST(TreeTest, GarbagePagesGiveErrorsNotCrashes) {
  std::mt19937 random(3);
  std::vector<uint8_t> page(format::kPageSize);
  int errors = 0;
  for (int round = 0; round < 300; ++round) {
    for (auto& byte : page) byte = static_cast<uint8_t>(random());
    page[0] = round % 2 ? format::kPageTypeIndexLeaf : format::kPageTypeIndexNode;
    if (round % 3 == 0) std::fill(page.begin() + 0x1B + 20, page.begin() + 0x1E0, 0);
    try {
      DecodedPage decoded = DecodeIndexPage(page, 5);
      for (const auto& entry : decoded.entries) SplitEntryBytes(entry, decoded.kind, 5);
    } catch (const Error&) {
      ++errors;
    }
  }
  EXPECT_GT(errors, 0);
  page[0] = 0x01;
  EXPECT_THROW(DecodeIndexPage(page, 5), Error);
  EXPECT_THROW(DecodeIndexPage(std::span<const uint8_t>(page).first(100), 5), Error);
}

}  // namespace
}  // namespace qorvane::jet::index
