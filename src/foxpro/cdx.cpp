// Reader and writer of .cdx pages. The writer fills leaves left to right with the usual
// compression (shared prefix with the previous key, trailing pad bytes dropped), then builds
// interior levels bottom-up from the last key of each child, and links siblings on every level.
#include "foxpro/cdx.h"

#include <algorithm>
#include <cstring>
#include <set>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/byte_source.h"
#include "foxpro/format.h"

namespace qorvane::foxpro {
namespace {

int BitLength(std::uint64_t value) {
  int bits = 0;
  while (value) {
    ++bits;
    value >>= 1;
  }
  return bits;
}

std::string Trimmed(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.pop_back();
  return text;
}

}  // namespace

CompoundIndex CompoundIndex::Open(const std::string& path) {
  auto bytes = os::ReadWholeFile(path);
  auto slash = path.rfind('/');
  return CompoundIndex(std::move(bytes), slash == std::string::npos ? path : path.substr(slash + 1));
}

CompoundIndex::CompoundIndex(std::vector<std::byte> bytes, std::string name)
    : bytes_(std::move(bytes)), name_(std::move(name)) {
  if (bytes_.size() < format::kTagHeaderSize + format::kPageSize) {
    throw Error(ErrorKind::Corrupt, name_ + ": the index file is " + std::to_string(bytes_.size()) +
                                        " bytes long, too short to hold a tag directory");
  }
  std::uint32_t directory = ReadU32(bytes_.data() + format::kTagRootOffset);
  std::uint16_t key_length = ReadU16(bytes_.data() + format::kTagKeyLengthOffset);
  if (key_length == 0 || key_length > format::kMaxKeyLength) {
    throw Error(ErrorKind::Corrupt, name_ + ": the file header gives tag names of " + std::to_string(key_length) + " bytes");
  }
  for (const IndexEntry& entry : ReadTree(directory, key_length, ' ', "the tag directory")) {
    tags_.push_back(ReadTagHeader(entry.record, Trimmed(entry.key)));
  }
}

IndexTag CompoundIndex::ReadTagHeader(std::uint32_t offset, const std::string& name) const {
  if (offset % format::kPageSize != 0 || std::uint64_t(offset) + format::kTagHeaderSize > bytes_.size()) {
    throw Error(ErrorKind::Corrupt, name_ + ": tag " + name + ": its header offset " + std::to_string(offset) +
                                        " lies outside the file");
  }
  const std::byte* header = bytes_.data() + offset;
  IndexTag tag;
  tag.name = name;
  tag.header_offset = offset;
  tag.root = ReadU32(header + format::kTagRootOffset);
  tag.key_length = ReadU16(header + format::kTagKeyLengthOffset);
  tag.options = std::to_integer<std::uint8_t>(header[format::kTagOptionsOffset]);
  tag.descending = ReadU16(header + format::kTagDescendingOffset) != 0;
  std::string collation(reinterpret_cast<const char*>(header + format::kTagCollationOffset), format::kTagCollationSize);
  tag.collation = Trimmed(collation.substr(0, collation.find('\0')));
  if (tag.collation.empty() && collation.find_first_not_of('\0') != std::string::npos) tag.collation = "?";
  if (tag.key_length == 0 || tag.key_length > format::kMaxKeyLength) {
    throw Error(ErrorKind::Corrupt, name_ + ": tag " + name + ": key length " + std::to_string(tag.key_length) +
                                        " is out of range (1-240)");
  }
  auto pool_string = [&](std::size_t offset_field, std::size_t length_field) {
    std::uint16_t start = ReadU16(header + offset_field);
    std::uint16_t length = ReadU16(header + length_field);
    if (start >= format::kTagPoolSize) return std::string();
    length = static_cast<std::uint16_t>(std::min<std::size_t>(length, format::kTagPoolSize - start));
    std::string text(reinterpret_cast<const char*>(header + format::kTagPoolOffset + start), length);
    return text.substr(0, text.find('\0'));
  };
  tag.key_expression = pool_string(format::kTagKeyOffsetOffset, format::kTagKeyLengthInPoolOffset);
  if (tag.options & format::kTagOptionHasFor) {
    tag.for_expression = pool_string(format::kTagForOffsetOffset, format::kTagForLengthOffset);
  }
  return tag;
}

std::vector<IndexEntry> CompoundIndex::ReadTag(const IndexTag& tag, unsigned char pad) const {
  return ReadTree(tag.root, tag.key_length, pad, "tag " + tag.name);
}

std::vector<IndexEntry> CompoundIndex::ReadTree(std::uint32_t root, std::uint16_t key_length, unsigned char pad,
                                                const std::string& what) const {
  auto broken = [&](std::uint32_t page, const std::string& problem) {
    return Error(ErrorKind::Corrupt, name_ + ": " + what + ": page at byte " + std::to_string(page) + ": " + problem);
  };
  auto page_at = [&](std::uint32_t offset) {
    if (offset % format::kPageSize != 0 || std::uint64_t(offset) + format::kPageSize > bytes_.size()) {
      throw broken(offset, "the page lies outside the file");
    }
    return bytes_.data() + offset;
  };
  // Down the left edge to the first leaf.
  std::uint32_t page = root;
  std::size_t depth = 0;
  while (true) {
    const std::byte* node = page_at(page);
    std::uint16_t attributes = ReadU16(node + format::kNodeAttributesOffset);
    if (attributes & format::kNodeLeaf) break;
    std::uint16_t keys = ReadU16(node + format::kNodeKeyCountOffset);
    if (keys == 0) throw broken(page, "an interior page without keys");
    if (std::size_t(keys) * (key_length + 8u) > format::kInteriorSpace) throw broken(page, "too many keys for the page");
    page = ReadU32BigEndian(node + format::kInteriorEntriesOffset + key_length + 4);
    if (++depth > 64) throw broken(page, "the tree is deeper than any real index");
  }
  std::vector<IndexEntry> entries;
  std::set<std::uint32_t> visited;
  std::string previous(key_length, static_cast<char>(pad));
  while (page != format::kNoSibling) {
    if (!visited.insert(page).second) throw broken(page, "the leaf chain loops");
    const std::byte* node = page_at(page);
    std::uint16_t attributes = ReadU16(node + format::kNodeAttributesOffset);
    if (!(attributes & format::kNodeLeaf)) throw broken(page, "an interior page in the leaf chain");
    std::uint16_t keys = ReadU16(node + format::kNodeKeyCountOffset);
    std::uint32_t record_mask = ReadU32(node + format::kLeafRecordMaskOffset);
    unsigned duplicate_mask = std::to_integer<unsigned>(node[format::kLeafDuplicateMaskOffset]);
    unsigned trail_mask = std::to_integer<unsigned>(node[format::kLeafTrailMaskOffset]);
    unsigned record_bits = std::to_integer<unsigned>(node[format::kLeafRecordBitsOffset]);
    unsigned duplicate_bits = std::to_integer<unsigned>(node[format::kLeafDuplicateBitsOffset]);
    unsigned trail_bits = std::to_integer<unsigned>(node[format::kLeafTrailBitsOffset]);
    unsigned entry_bytes = std::to_integer<unsigned>(node[format::kLeafEntryBytesOffset]);
    // The three bit fields must fit the entry, or the shifts below would run past 64 bits.
    if (entry_bytes < 1 || entry_bytes > 8 || record_bits > 32 ||
        record_bits + duplicate_bits + trail_bits > entry_bytes * 8 ||
        std::size_t(keys) * entry_bytes > format::kLeafSpace) {
      throw broken(page, "impossible leaf parameters");
    }
    std::size_t end = format::kPageSize;
    previous.assign(key_length, static_cast<char>(pad));
    for (std::uint16_t i = 0; i < keys; ++i) {
      std::uint64_t value = 0;
      const std::byte* entry = node + format::kLeafEntriesOffset + std::size_t(i) * entry_bytes;
      for (unsigned b = 0; b < entry_bytes; ++b) value |= std::to_integer<std::uint64_t>(entry[b]) << (8 * b);
      std::uint32_t record = static_cast<std::uint32_t>(value & record_mask);
      unsigned duplicate = static_cast<unsigned>((value >> record_bits) & duplicate_mask);
      unsigned trail = static_cast<unsigned>((value >> (record_bits + duplicate_bits)) & trail_mask);
      if (duplicate + trail > key_length) throw broken(page, "key " + std::to_string(i + 1) + " is longer than the key length");
      std::size_t fresh = key_length - duplicate - trail;
      std::size_t entries_end = format::kLeafEntriesOffset + std::size_t(keys) * entry_bytes;
      if (fresh > end || end - fresh < entries_end) throw broken(page, "key bytes overlap the entries");
      end -= fresh;
      std::string key = previous.substr(0, duplicate);
      key.append(reinterpret_cast<const char*>(node + end), fresh);
      key.append(trail, static_cast<char>(pad));
      previous = key;
      entries.push_back({std::move(key), record});
    }
    page = ReadU32(node + format::kNodeRightOffset);
    if (visited.size() > bytes_.size() / format::kPageSize) throw broken(page, "more leaves than pages");
  }
  return entries;
}

namespace {

class PageWriter {
 public:
  explicit PageWriter(std::vector<std::byte>& file) : file_(file) {}
  std::uint32_t Append() {
    std::uint32_t offset = static_cast<std::uint32_t>(file_.size());
    file_.resize(file_.size() + format::kPageSize);
    return offset;
  }
  std::byte* At(std::uint32_t offset) { return file_.data() + offset; }

 private:
  std::vector<std::byte>& file_;
};

struct LevelEntry {
  std::string key;
  std::uint32_t record;
  std::uint32_t page;
};

void LinkSiblings(PageWriter& pages, const std::vector<LevelEntry>& level) {
  for (std::size_t i = 0; i < level.size(); ++i) {
    std::byte* node = pages.At(level[i].page);
    WriteU32(node + format::kNodeLeftOffset, i == 0 ? format::kNoSibling : level[i - 1].page);
    WriteU32(node + format::kNodeRightOffset, i + 1 == level.size() ? format::kNoSibling : level[i + 1].page);
  }
}

// Writes one B+tree; returns the root page offset.
std::uint32_t WriteTree(PageWriter& pages, const std::vector<IndexEntry>& entries, std::size_t key_length,
                        unsigned char pad) {
  std::uint32_t largest = 1;
  for (const IndexEntry& entry : entries) largest = std::max(largest, entry.record);
  int needed = std::max(BitLength(largest), 1);
  int compression_bits = BitLength(key_length);
  int entry_bytes = 3;
  while (entry_bytes * 8 - 2 * compression_bits < needed && entry_bytes < 4) ++entry_bytes;
  if (entry_bytes * 8 - 2 * compression_bits < needed) compression_bits = (entry_bytes * 8 - needed) / 2;
  const int record_bits = entry_bytes * 8 - 2 * compression_bits;
  const std::uint32_t record_mask = record_bits >= 32 ? 0xFFFFFFFFu : (1u << record_bits) - 1;
  const unsigned compression_mask = (1u << compression_bits) - 1;

  std::vector<LevelEntry> level;
  std::size_t next = 0;
  do {
    std::uint32_t page = pages.Append();
    std::byte* node = pages.At(page);
    WriteU32(node + format::kLeafRecordMaskOffset, record_mask);
    node[format::kLeafDuplicateMaskOffset] = std::byte(compression_mask);
    node[format::kLeafTrailMaskOffset] = std::byte(compression_mask);
    node[format::kLeafRecordBitsOffset] = std::byte(record_bits);
    node[format::kLeafDuplicateBitsOffset] = std::byte(compression_bits);
    node[format::kLeafTrailBitsOffset] = std::byte(compression_bits);
    node[format::kLeafEntryBytesOffset] = std::byte(entry_bytes);
    std::size_t used = 0;
    std::size_t end = format::kPageSize;
    std::uint16_t count = 0;
    std::string previous;
    while (next < entries.size()) {
      const std::string& key = entries[next].key;
      std::size_t trail = 0;
      while (trail < key_length && trail < compression_mask && static_cast<unsigned char>(key[key_length - 1 - trail]) == pad) ++trail;
      std::size_t duplicate = 0;
      if (count > 0) {
        while (duplicate < key_length - trail && duplicate < compression_mask && key[duplicate] == previous[duplicate]) ++duplicate;
      }
      std::size_t fresh = key_length - duplicate - trail;
      if (used + entry_bytes + fresh > format::kLeafSpace) break;
      std::uint64_t value = entries[next].record | (std::uint64_t(duplicate) << record_bits) |
                            (std::uint64_t(trail) << (record_bits + compression_bits));
      for (int b = 0; b < entry_bytes; ++b) {
        node[format::kLeafEntriesOffset + std::size_t(count) * entry_bytes + b] = std::byte((value >> (8 * b)) & 0xFF);
      }
      end -= fresh;
      std::memcpy(node + end, key.data() + duplicate, fresh);
      used += entry_bytes + fresh;
      previous = key;
      ++count;
      ++next;
    }
    WriteU16(node + format::kNodeAttributesOffset, format::kNodeLeaf);
    WriteU16(node + format::kNodeKeyCountOffset, count);
    WriteU16(node + format::kLeafFreeOffset, static_cast<std::uint16_t>(format::kLeafSpace - used));
    level.push_back({count ? entries[next - 1].key : std::string(key_length, static_cast<char>(pad)),
                     count ? entries[next - 1].record : 0, page});
  } while (next < entries.size());
  LinkSiblings(pages, level);

  const std::size_t per_interior = format::kInteriorSpace / (key_length + 8);
  while (level.size() > 1) {
    std::vector<LevelEntry> parents;
    for (std::size_t start = 0; start < level.size(); start += per_interior) {
      std::size_t stop = std::min(level.size(), start + per_interior);
      std::uint32_t page = pages.Append();
      std::byte* node = pages.At(page);
      WriteU16(node + format::kNodeAttributesOffset, format::kNodeInterior);
      WriteU16(node + format::kNodeKeyCountOffset, static_cast<std::uint16_t>(stop - start));
      for (std::size_t i = start; i < stop; ++i) {
        std::byte* entry = node + format::kInteriorEntriesOffset + (i - start) * (key_length + 8);
        std::memcpy(entry, level[i].key.data(), key_length);
        WriteU32BigEndian(entry + key_length, level[i].record);
        WriteU32BigEndian(entry + key_length + 4, level[i].page);
      }
      parents.push_back({level[stop - 1].key, level[stop - 1].record, page});
    }
    LinkSiblings(pages, parents);
    level = std::move(parents);
  }
  std::byte* root = pages.At(level[0].page);
  WriteU16(root + format::kNodeAttributesOffset,
           static_cast<std::uint16_t>(ReadU16(root + format::kNodeAttributesOffset) | format::kNodeRoot));
  return level[0].page;
}

void WriteTagHeader(std::byte* header, std::uint32_t root, std::uint16_t key_length, std::uint8_t options,
                    bool descending, const std::string& key_expression, const std::string& for_expression) {
  WriteU32(header + format::kTagRootOffset, root);
  WriteU16(header + format::kTagKeyLengthOffset, key_length);
  header[format::kTagOptionsOffset] = std::byte(options);
  header[format::kTagSignatureOffset] = std::byte(format::kTagSignature);
  WriteU16(header + format::kTagDescendingOffset, descending ? 1 : 0);
  std::size_t key_size = std::min<std::size_t>(key_expression.size(), format::kTagPoolSize / 2 - 1);
  std::size_t for_size = std::min<std::size_t>(for_expression.size(), format::kTagPoolSize / 2 - 1);
  std::memcpy(header + format::kTagPoolOffset, key_expression.data(), key_size);
  std::memcpy(header + format::kTagPoolOffset + key_size + 1, for_expression.data(), for_size);
  WriteU16(header + format::kTagKeyOffsetOffset, 0);
  WriteU16(header + format::kTagKeyLengthInPoolOffset, static_cast<std::uint16_t>(key_size + 1));
  WriteU16(header + format::kTagForOffsetOffset, static_cast<std::uint16_t>(key_size + 1));
  WriteU16(header + format::kTagForLengthOffset, static_cast<std::uint16_t>(for_size + 1));
}

}  // namespace

std::vector<std::byte> BuildCompoundIndex(const std::vector<TagContent>& tags) {
  std::vector<std::byte> file(format::kTagHeaderSize + tags.size() * format::kTagHeaderSize);
  PageWriter pages(file);
  std::vector<IndexEntry> directory;
  for (std::size_t i = 0; i < tags.size(); ++i) {
    std::string name = tags[i].tag.name.substr(0, format::kTagNameKeyLength);
    for (char& c : name) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    name.resize(format::kTagNameKeyLength, ' ');
    directory.push_back({name, static_cast<std::uint32_t>(format::kTagHeaderSize * (i + 1))});
  }
  std::sort(directory.begin(), directory.end(), [](const IndexEntry& a, const IndexEntry& b) { return a.key < b.key; });
  std::uint32_t directory_root = WriteTree(pages, directory, format::kTagNameKeyLength, ' ');
  WriteTagHeader(file.data(), directory_root, format::kTagNameKeyLength, format::kFileHeaderOptions, false, "", "");
  for (std::size_t i = 0; i < tags.size(); ++i) {
    const TagContent& content = tags[i];
    std::uint32_t root = WriteTree(pages, content.entries, content.tag.key_length, content.pad);
    std::uint8_t options = static_cast<std::uint8_t>(
        (content.tag.options | format::kTagOptionCompact | format::kTagOptionCompound) & ~format::kTagOptionHasFor);
    if (!content.tag.for_expression.empty()) options |= format::kTagOptionHasFor;
    WriteTagHeader(file.data() + format::kTagHeaderSize * (i + 1), root, content.tag.key_length, options,
                   content.tag.descending, content.tag.key_expression, content.tag.for_expression);
  }
  return file;
}

}  // namespace qorvane::foxpro
