// Reader of .fpt memo files: the block size from the header, then one memo per block number,
// with every pointer and length checked against the file size. Damage is reported and the memo
// reads as empty; nothing here throws for bad bytes. A small read window makes a walk through
// the memos in table order cost one read per window, not one per memo.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/reporter.h"
#include "foxpro/byte_source.h"

namespace qorvane::foxpro {

struct Memo {
  std::uint32_t type = 1;  // 1 text, 0 picture, others from other writers
  std::string bytes;       // as stored, in the table's code page
};

class MemoFile {
 public:
  // Reads the header. file_name names the memo file in messages. A file shorter than its
  // header, or with block size 0, is reported and every memo then reads as empty.
  MemoFile(std::unique_ptr<ByteSource> source, std::string file_name, Reporter* reporter);

  std::uint16_t block_size() const { return block_size_; }
  std::uint32_t next_free_block() const { return next_free_; }
  // The memo at block; nullopt when the pointer or length runs past the end of the file
  // (reported at PLACE, the record and field that point to it).
  std::optional<Memo> Read(std::uint32_t block, const Damage& place) const;

 private:
  // Reads [offset, offset + length) into out, through the window; false when past the end.
  bool ReadRange(std::uint64_t offset, std::size_t length, std::string& out) const;
  void Report(Damage damage) const;

  std::unique_ptr<ByteSource> source_;
  std::string file_name_;
  Reporter* reporter_;
  std::uint64_t size_ = 0;
  std::uint16_t block_size_ = 0;
  std::uint32_t next_free_ = 0;
  mutable std::vector<std::byte> window_;
  mutable std::uint64_t window_offset_ = 0;
  mutable std::size_t window_length_ = 0;
};

// Parses a memo pointer of a record: ASCII digits (FoxPro 2.x, 10 bytes) or a 4-byte binary
// block number (Visual FoxPro). 0 = no memo; nullopt when the bytes are not a pointer.
std::optional<std::uint32_t> ParseMemoPointer(std::string_view stored, bool binary);

}  // namespace qorvane::foxpro
