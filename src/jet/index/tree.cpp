// Index B-trees: building one bottom-up from sorted entries (leaves filled left to right with
// prefix compression, then node levels whose entries repeat the last entry of each child and
// whose rightmost child goes to the tail field), reading one, and verifying one in depth.
#include "jet/index/tree.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "common/error.h"
#include "jet/bytes.h"
#include "jet/format/index_pages.h"
#include "jet/index/page.h"

namespace qorvane::jet::index {
namespace {

using Page = std::array<uint8_t, format::kPageSize>;

EntryRef Ref(const Entry& entry) { return {entry.key, entry.data_page, entry.data_row}; }

// An entry as its on-disk bytes: the key followed by the big-endian row pointer.
struct EntryView {
  std::span<const uint8_t> key;
  uint8_t pointer[format::kRowPointerSize];

  explicit EntryView(const EntryRef& entry) : key(entry.key) {
    pointer[0] = static_cast<uint8_t>(entry.data_page >> 16);
    pointer[1] = static_cast<uint8_t>(entry.data_page >> 8);
    pointer[2] = static_cast<uint8_t>(entry.data_page);
    pointer[3] = entry.data_row;
  }
  size_t size() const { return key.size() + format::kRowPointerSize; }
  uint8_t operator[](size_t i) const { return i < key.size() ? key[i] : pointer[i - key.size()]; }
  void AppendTo(std::vector<uint8_t>& out) const {
    out.insert(out.end(), key.begin(), key.end());
    out.insert(out.end(), pointer, pointer + format::kRowPointerSize);
  }
};

size_t CommonPrefix(const EntryView& left, const EntryView& right) {
  const size_t limit = std::min(left.size(), right.size());
  size_t length = 0;
  const size_t keys = std::min(left.key.size(), right.key.size());
  while (length < keys && left.key[length] == right.key[length]) ++length;
  if (length < keys) return length;
  while (length < limit && left[length] == right[length]) ++length;
  return length;
}

int CompareBytes(std::span<const uint8_t> left, std::span<const uint8_t> right) {
  const size_t common = std::min(left.size(), right.size());
  if (common > 0) {
    int order = std::memcmp(left.data(), right.data(), common);
    if (order != 0) return order;
  }
  return left.size() < right.size() ? -1 : (left.size() > right.size() ? 1 : 0);
}

[[noreturn]] void Corrupt(const std::string& what) { throw Error(ErrorKind::Corrupt, what); }
std::string PageName(uint32_t page) { return "index page " + std::to_string(page); }

// Fills the header and the entry area of one page. ENTRIES are the stored bytes of each entry
// (the first whole, the others without the shared prefix).
void WritePage(const PageSink& sink, uint32_t number, uint8_t type, uint32_t owner,
               uint32_t previous, uint32_t next, uint32_t tail, uint16_t prefix, uint8_t level,
               const std::vector<std::span<const uint8_t>>& entries, Page& page) {
  page.fill(0);
  page[format::kPageTypeOffset] = type;
  page[format::kPageTypeOffset + 1] = format::kPageMarker;
  Put32(page, format::kIndexOwnerOffset, owner);
  Put32(page, format::kIndexPreviousOffset, previous);
  Put32(page, format::kIndexNextOffset, next);
  Put32(page, format::kIndexTailOffset, tail);
  Put16(page, format::kIndexPrefixLengthOffset, prefix);
  page[format::kIndexLevelOffset] = level;
  size_t used = 0;
  for (std::span<const uint8_t> entry : entries) {
    std::memcpy(page.data() + format::kIndexEntryAreaOffset + used, entry.data(), entry.size());
    used += entry.size();
    page[format::kIndexBitmapOffset + used / 8] |= static_cast<uint8_t>(1u << (used % 8));
  }
  Put16(page, format::kIndexFreeSpaceOffset,
                       static_cast<uint16_t>(format::kIndexEntryAreaSize - used));
  sink.write_page(number, page);
}

// A finished page of one level, as its parent sees it.
struct Child {
  uint32_t page;
  std::vector<uint8_t> last_entry;  // key + row pointer of the largest entry below it
};

std::vector<Child> WriteLeaves(size_t count, const EntryAt& sorted, uint32_t owner, const PageSink& sink,
                               BuiltTree& tree) {
  // Split into pages first so that every page knows its neighbours' numbers.
  struct Range {
    size_t begin, end;
    size_t prefix;
  };
  std::vector<Range> ranges;
  for (size_t begin = 0; begin < count;) {
    const EntryView first(sorted(begin));
    size_t prefix = first.size() - 1;
    size_t total_size = first.size();
    size_t end = begin + 1;
    for (; end < count; ++end) {
      const EntryView entry(sorted(end));
      size_t candidate = std::min({prefix, CommonPrefix(first, entry), entry.size() - 1});
      size_t stored = total_size + entry.size() - (end - begin) * candidate;
      if (stored > format::kIndexEntryAreaSize) break;
      prefix = candidate;
      total_size += entry.size();
    }
    ranges.push_back({begin, end, end - begin > 1 ? prefix : 0});
    begin = end;
  }
  if (ranges.empty()) ranges.push_back({0, 0, 0});

  std::vector<uint32_t> numbers;
  for (size_t i = 0; i < ranges.size(); ++i) numbers.push_back(sink.allocate_page());
  tree.pages.insert(tree.pages.end(), numbers.begin(), numbers.end());

  std::vector<Child> children;
  Page page;
  std::vector<uint8_t> buffer;
  std::vector<std::span<const uint8_t>> stored;
  for (size_t i = 0; i < ranges.size(); ++i) {
    const Range& range = ranges[i];
    buffer.clear();
    std::vector<size_t> ends;
    for (size_t k = range.begin; k < range.end; ++k) {
      const EntryView entry(sorted(k));
      size_t skip = k == range.begin ? 0 : range.prefix;
      for (size_t b = skip; b < entry.size(); ++b) buffer.push_back(entry[b]);
      ends.push_back(buffer.size());
    }
    stored.clear();
    size_t start = 0;
    for (size_t end : ends) {
      stored.push_back(std::span<const uint8_t>(buffer).subspan(start, end - start));
      start = end;
    }
    WritePage(sink, numbers[i], format::kPageTypeIndexLeaf, owner, i > 0 ? numbers[i - 1] : 0,
              i + 1 < ranges.size() ? numbers[i + 1] : 0, 0, static_cast<uint16_t>(range.prefix),
              0, stored, page);
    Child child{numbers[i], {}};
    if (range.end > range.begin) EntryView(sorted(range.end - 1)).AppendTo(child.last_entry);
    children.push_back(std::move(child));
  }
  return children;
}

std::vector<Child> WriteNodeLevel(const std::vector<Child>& children, uint8_t level, uint32_t owner,
                                  const PageSink& sink, BuiltTree& tree) {
  // Each node page lists children as entries while they fit; the next child becomes its tail.
  struct Group {
    size_t begin, end;  // children [begin, end): all but the last are entries (unless only one)
  };
  std::vector<Group> groups;
  for (size_t begin = 0; begin < children.size();) {
    size_t used = 0;
    size_t end = begin;
    while (end < children.size()) {
      if (end + 1 == children.size() && end > begin) {
        ++end;  // the last child of the level becomes the tail
        break;
      }
      size_t size = children[end].last_entry.size() + format::kChildPointerSize;
      if (used + size > format::kIndexEntryAreaSize) {
        ++end;  // does not fit as an entry: it becomes the tail
        break;
      }
      used += size;
      ++end;
    }
    groups.push_back({begin, end});
    begin = end;
  }

  std::vector<uint32_t> numbers;
  for (size_t i = 0; i < groups.size(); ++i) numbers.push_back(sink.allocate_page());
  tree.pages.insert(tree.pages.end(), numbers.begin(), numbers.end());

  std::vector<Child> parents;
  Page page;
  std::vector<std::vector<uint8_t>> entries;
  std::vector<std::span<const uint8_t>> stored;
  for (size_t i = 0; i < groups.size(); ++i) {
    const Group& group = groups[i];
    const size_t count = group.end - group.begin;
    const size_t listed = count == 1 ? 1 : count - 1;
    entries.clear();
    stored.clear();
    for (size_t k = group.begin; k < group.begin + listed; ++k) {
      std::vector<uint8_t> entry = children[k].last_entry;
      AppendBig32(entry, children[k].page);
      entries.push_back(std::move(entry));
    }
    for (const auto& entry : entries) stored.push_back(entry);
    const uint32_t tail = count == 1 ? 0 : children[group.end - 1].page;
    WritePage(sink, numbers[i], format::kPageTypeIndexNode, owner, i > 0 ? numbers[i - 1] : 0,
              i + 1 < groups.size() ? numbers[i + 1] : 0, tail, 0, level, stored, page);
    parents.push_back({numbers[i], children[group.end - 1].last_entry});
  }
  return parents;
}

}  // namespace

bool EntryLess(const EntryRef& left, const EntryRef& right) {
  const size_t common = std::min(left.key.size(), right.key.size());
  if (common > 0) {
    int order = std::memcmp(left.key.data(), right.key.data(), common);
    if (order != 0) return order < 0;
  }
  if (left.key.size() == right.key.size()) {
    if (left.data_page != right.data_page) return left.data_page < right.data_page;
    return left.data_row < right.data_row;
  }
  // One key is a prefix of the other: compare the on-disk bytes past it.
  const EntryView a(left), b(right);
  const size_t limit = std::min(a.size(), b.size());
  for (size_t i = common; i < limit; ++i) {
    if (a[i] != b[i]) return a[i] < b[i];
  }
  return a.size() < b.size();
}

bool EntryLess(const Entry& left, const Entry& right) { return EntryLess(Ref(left), Ref(right)); }

void SortEntries(std::vector<Entry>& entries) {
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return EntryLess(a, b); });
}

long FindDuplicateKey(std::span<const Entry> sorted) {
  for (size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i].key == sorted[i - 1].key) return static_cast<long>(i);
  }
  return -1;
}

BuiltTree BuildTree(std::span<const Entry> sorted, uint32_t owner_tdef, const PageSink& sink) {
  return BuildTree(sorted.size(), [sorted](size_t i) { return Ref(sorted[i]); }, owner_tdef, sink);
}

BuiltTree BuildTree(size_t count, const EntryAt& entry_at, uint32_t owner_tdef, const PageSink& sink) {
  BuiltTree tree;
  for (size_t i = 0; i < count; ++i) {
    const EntryRef entry = entry_at(i);
    if (entry.key.size() > format::kMaxStoredKeySize) {
      throw Error(ErrorKind::InvalidArgument,
                  "index build: entry " + std::to_string(i) + " has a key of " +
                      std::to_string(entry.key.size()) + " bytes (at most " +
                      std::to_string(format::kMaxStoredKeySize) + ")");
    }
    if (entry.data_page > 0xFFFFFF) {
      throw Error(ErrorKind::InvalidArgument, "index build: entry " + std::to_string(i) +
                                                  " points at page " +
                                                  std::to_string(entry.data_page) +
                                                  ", beyond 24 bits");
    }
    if (i > 0) {
      const EntryRef previous = entry_at(i - 1);
      if (!EntryLess(previous, entry)) {
        throw Error(ErrorKind::InvalidArgument,
                    "index build: entries " + std::to_string(i - 1) + " and " + std::to_string(i) +
                        " are not in index order");
      }
      if (!std::equal(previous.key.begin(), previous.key.end(), entry.key.begin(), entry.key.end())) ++tree.distinct_keys;
    } else {
      ++tree.distinct_keys;
    }
  }
  std::vector<Child> level = WriteLeaves(count, entry_at, owner_tdef, sink, tree);
  uint8_t depth = 0;
  while (level.size() > 1) {
    ++depth;
    level = WriteNodeLevel(level, depth, owner_tdef, sink, tree);
  }
  tree.root = level.front().page;
  tree.levels = depth + 1u;
  return tree;
}

namespace {

constexpr uint8_t kMaxLevel = 16;  // far beyond any real index (4 levels hold billions of rows)

DecodedPage ReadPage(const PageSource& source, uint32_t number, Page& buffer) {
  source(number, buffer);
  return DecodeIndexPage(buffer, number);
}

Entry ToEntry(std::span<const uint8_t> bytes, PageKind kind, uint32_t page) {
  SplitEntry split = SplitEntryBytes(bytes, kind, page);
  return Entry{std::vector<uint8_t>(split.key.begin(), split.key.end()), split.data_page,
               split.data_row};
}

}  // namespace

std::vector<Entry> ReadTree(uint32_t root, const PageSource& source) {
  Page buffer;
  uint32_t current = root;
  DecodedPage page = ReadPage(source, current, buffer);
  for (int depth = 0; page.kind == PageKind::Node; ++depth) {
    if (depth >= kMaxLevel) Corrupt("index with root page " + std::to_string(root) + " is too deep");
    uint32_t child = page.entries.empty()
                         ? page.tail
                         : SplitEntryBytes(page.entries.front(), PageKind::Node, current).child_page;
    if (child == 0) Corrupt(PageName(current) + ": node page without children");
    current = child;
    page = ReadPage(source, current, buffer);
  }
  std::vector<Entry> entries;
  std::unordered_set<uint32_t> seen;
  while (true) {
    if (!seen.insert(current).second) Corrupt(PageName(current) + ": the leaf chain loops");
    if (page.kind != PageKind::Leaf) Corrupt(PageName(current) + ": the leaf chain reaches a node page");
    for (const auto& bytes : page.entries) entries.push_back(ToEntry(bytes, PageKind::Leaf, current));
    if (page.next == 0) break;
    current = page.next;
    page = ReadPage(source, current, buffer);
  }
  return entries;
}

namespace {

struct Verifier {
  uint32_t owner;
  const PageSource& source;
  std::unordered_set<uint32_t> seen;
  std::vector<std::vector<uint32_t>> pages_by_level;  // index = level
  std::vector<std::vector<uint8_t>> leaf_entries;     // key + row pointer bytes, in order
  std::vector<uint32_t> pages;                        // every page reached, in visiting order
  std::unordered_map<uint32_t, std::pair<uint32_t, uint32_t>> links;  // page -> previous, next

  // Checks the subtree under NUMBER, expected at LEVEL; returns its last entry (key + row
  // pointer), empty for an empty leaf.
  std::vector<uint8_t> Check(uint32_t number, int level, bool is_root) {
    if (!seen.insert(number).second) Corrupt(PageName(number) + ": reached twice in the tree");
    Page buffer;
    DecodedPage page = ReadPage(source, number, buffer);
    if (level < 0 || (page.kind == PageKind::Leaf) != (level == 0)) {
      Corrupt(PageName(number) + ": a " + (page.kind == PageKind::Leaf ? "leaf" : "node") +
              " page where level " + std::to_string(level) + " was expected");
    }
    if (page.level != level) {
      Corrupt(PageName(number) + ": level byte " + std::to_string(page.level) + ", expected " +
              std::to_string(level));
    }
    if (page.owner_tdef != owner) {
      Corrupt(PageName(number) + ": belongs to table definition " +
              std::to_string(page.owner_tdef) + ", expected " + std::to_string(owner));
    }
    if (page.free_space != format::kIndexEntryAreaSize - page.data_bytes) {
      Corrupt(PageName(number) + ": free space says " + std::to_string(page.free_space) +
              " but the entries leave " + std::to_string(format::kIndexEntryAreaSize - page.data_bytes));
    }
    for (size_t i = 1; i < page.entries.size(); ++i) {
      if (CompareBytes(page.entries[i - 1], page.entries[i]) >= 0) {
        Corrupt(PageName(number) + ": entry " + std::to_string(i) + " is out of order");
      }
    }
    if (pages_by_level.size() <= static_cast<size_t>(level)) pages_by_level.resize(level + 1);
    pages_by_level[level].push_back(number);
    pages.push_back(number);
    links[number] = {page.previous, page.next};
    if (page.kind == PageKind::Leaf) {
      if (page.entries.empty()) {
        if (!is_root) Corrupt(PageName(number) + ": empty leaf below a node page");
        return {};
      }
      if (!leaf_entries.empty() && CompareBytes(leaf_entries.back(), page.entries.front()) >= 0) {
        Corrupt(PageName(number) + ": first entry is not above the previous leaf's last entry");
      }
      for (auto& entry : page.entries) leaf_entries.push_back(std::move(entry));
      return leaf_entries.back();
    }
    if (page.entries.empty() && page.tail == 0) Corrupt(PageName(number) + ": node page without children");
    std::vector<uint8_t> last;
    for (size_t i = 0; i < page.entries.size(); ++i) {
      SplitEntry split = SplitEntryBytes(page.entries[i], PageKind::Node, number);
      std::span<const uint8_t> bound =
          std::span<const uint8_t>(page.entries[i]).first(page.entries[i].size() - format::kChildPointerSize);
      last = Check(split.child_page, level - 1, false);
      if (CompareBytes(last, bound) != 0) {
        Corrupt(PageName(number) + ": entry " + std::to_string(i) + " does not repeat the last entry of child page " +
                std::to_string(split.child_page));
      }
    }
    if (page.tail != 0) {
      std::vector<uint8_t> bound = last;
      last = Check(page.tail, level - 1, false);
      if (!bound.empty() && CompareBytes(bound, last) >= 0) {
        Corrupt(PageName(number) + ": tail page " + std::to_string(page.tail) +
                " does not hold the largest entries");
      }
    }
    return last;
  }

  void CheckLinks() {
    for (size_t level = 0; level < pages_by_level.size(); ++level) {
      const auto& level_pages = pages_by_level[level];
      for (size_t i = 0; i < level_pages.size(); ++i) {
        const auto [previous, next] = links.at(level_pages[i]);
        uint32_t expected_previous = i > 0 ? level_pages[i - 1] : 0;
        uint32_t expected_next = i + 1 < level_pages.size() ? level_pages[i + 1] : 0;
        if (previous != expected_previous || next != expected_next) {
          Corrupt(PageName(level_pages[i]) + ": previous/next " + std::to_string(previous) + "/" +
                  std::to_string(next) + ", expected " + std::to_string(expected_previous) +
                  "/" + std::to_string(expected_next));
        }
      }
    }
  }
};

}  // namespace

std::vector<uint32_t> VerifyTree(uint32_t root, uint32_t owner_tdef, const PageSource& source,
                                 std::span<const Entry> expected) {
  Page buffer;
  DecodedPage top = ReadPage(source, root, buffer);
  if (top.level >= kMaxLevel) Corrupt(PageName(root) + ": root level " + std::to_string(top.level) + " is not plausible");
  Verifier verifier{owner_tdef, source, {}, {}, {}, {}, {}};
  verifier.Check(root, top.level, true);
  verifier.CheckLinks();
  const auto& found = verifier.leaf_entries;
  std::vector<uint8_t> wanted;
  for (size_t i = 0; i < std::max(found.size(), expected.size()); ++i) {
    if (i >= found.size()) {
      Corrupt("index with root page " + std::to_string(root) + ": holds " + std::to_string(found.size()) +
              " entries, expected " + std::to_string(expected.size()));
    }
    if (i >= expected.size()) {
      Corrupt("index with root page " + std::to_string(root) + ": holds " + std::to_string(found.size()) +
              " entries, expected only " + std::to_string(expected.size()));
    }
    wanted.clear();
    EntryView(Ref(expected[i])).AppendTo(wanted);
    if (wanted != found[i]) {
      Entry actual = ToEntry(found[i], PageKind::Leaf, root);
      Corrupt("index with root page " + std::to_string(root) + ": entry " + std::to_string(i) +
              " points at row " + std::to_string(actual.data_page) + ":" + std::to_string(actual.data_row) +
              ", expected row " + std::to_string(expected[i].data_page) + ":" +
              std::to_string(expected[i].data_row) + (actual.key == expected[i].key ? "" : " (keys differ)"));
    }
  }
  return verifier.pages;
}

}  // namespace qorvane::jet::index
