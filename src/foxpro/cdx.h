// Structural compound indexes (.cdx): reading the tag directory and every tag's keys in order,
// and writing a whole index from sorted keys. The format is a set of B+trees of 512-byte pages
// (see format.h); this file knows pages, not expressions. Keys are the stored bytes; record
// numbers are 1-based, as in the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qorvane::foxpro {

struct IndexTag {
  std::string name;             // upper case, as in the tag directory
  std::string key_expression;
  std::string for_expression;   // empty when the tag has no FOR clause
  std::uint16_t key_length = 0;
  std::uint8_t options = 0;     // format::kTagOption* bits
  bool descending = false;
  std::string collation;        // empty for MACHINE
  std::uint32_t header_offset = 0;
  std::uint32_t root = 0;
  bool unique() const { return (options & 0x01) != 0; }
};

struct IndexEntry {
  std::string key;
  std::uint32_t record = 0;  // 1-based
  friend bool operator==(const IndexEntry&, const IndexEntry&) = default;
};

class CompoundIndex {
 public:
  // Parses the file header and the tag directory of bytes (a whole .cdx). Throws qorvane::Error
  // (Corrupt) naming `name` and the byte offset when the structure is broken.
  CompoundIndex(std::vector<std::byte> bytes, std::string name);
  static CompoundIndex Open(const std::string& path);

  const std::string& name() const { return name_; }
  const std::vector<IndexTag>& tags() const { return tags_; }
  // The keys of a tag in stored order. pad is the byte trailing compression stands for: 0x20
  // for character keys, 0x00 for numbers and dates. Throws qorvane::Error (Corrupt) naming the
  // tag and page on a broken tree.
  std::vector<IndexEntry> ReadTag(const IndexTag& tag, unsigned char pad) const;

 private:
  IndexTag ReadTagHeader(std::uint32_t offset, const std::string& name) const;
  std::vector<IndexEntry> ReadTree(std::uint32_t root, std::uint16_t key_length, unsigned char pad,
                                   const std::string& what) const;

  std::vector<std::byte> bytes_;
  std::string name_;
  std::vector<IndexTag> tags_;
};

struct TagContent {
  IndexTag tag;              // name, expressions, key length, options, descending
  unsigned char pad = ' ';
  std::vector<IndexEntry> entries;  // sorted as the tag stores them
};

// A complete .cdx holding the given tags: file header, tag headers, tag directory and one
// B+tree per tag, every unused byte zero.
std::vector<std::byte> BuildCompoundIndex(const std::vector<TagContent>& tags);

}  // namespace qorvane::foxpro
