// The .fpt reader: header, bounds-checked block reads through a small window.
#include "foxpro/memo.h"

#include <algorithm>
#include <cstring>

#include "foxpro/format.h"

namespace qorvane::foxpro {
namespace {

constexpr std::size_t kWindowSize = 64 * 1024;

}  // namespace

MemoFile::MemoFile(std::unique_ptr<ByteSource> source, std::string file_name, Reporter* reporter)
    : source_(std::move(source)), file_name_(std::move(file_name)), reporter_(reporter) {
  size_ = source_->Size();
  if (size_ < format::kMemoBlockSizeOffset + 2) {
    Report({.kind = DamageKind::Header,
            .what = "the memo file is only " + std::to_string(size_) +
                    " bytes long, shorter than its header; memos read as empty"});
    return;
  }
  std::byte header[8] = {};
  source_->ReadAt(0, header);
  next_free_ = ReadU32BigEndian(header + format::kMemoNextFreeOffset);
  block_size_ = ReadU16BigEndian(header + format::kMemoBlockSizeOffset);
  if (block_size_ == 0) {
    Report({.kind = DamageKind::Header, .what = "the memo file header gives block size 0; memos read as empty"});
  }
}

void MemoFile::Report(Damage damage) const {
  if (!reporter_) return;
  damage.file = file_name_;
  reporter_->Report(damage);
}

bool MemoFile::ReadRange(std::uint64_t offset, std::size_t length, std::string& out) const {
  if (offset > size_ || length > size_ - offset) return false;
  out.resize(length);
  if (auto memory = source_->Memory(); !memory.empty()) {
    std::memcpy(out.data(), memory.data() + offset, length);
    return true;
  }
  if (length > kWindowSize / 2) {
    return source_->ReadAt(offset, std::as_writable_bytes(std::span(out.data(), length))) == length;
  }
  if (offset < window_offset_ || offset + length > window_offset_ + window_length_) {
    window_.resize(kWindowSize);
    window_offset_ = offset;
    window_length_ = source_->ReadAt(offset, window_);
    if (window_length_ < length) return false;
  }
  std::memcpy(out.data(), window_.data() + (offset - window_offset_), length);
  return true;
}

std::optional<Memo> MemoFile::Read(std::uint32_t block, const Damage& place) const {
  auto report = [&](std::uint64_t at, std::uint64_t dropped, std::string what) {
    Damage damage = place;
    damage.kind = DamageKind::LongValue;
    damage.offset = at;
    damage.bytes_dropped = dropped;
    damage.what = std::move(what);
    Report(std::move(damage));
  };
  if (block == 0 || block_size_ == 0) return std::nullopt;
  std::uint64_t offset = static_cast<std::uint64_t>(block) * block_size_;
  std::string header;
  if (!ReadRange(offset, format::kMemoBlockHeaderSize, header)) {
    report(offset, 0,
           "memo block " + std::to_string(block) + " (byte offset " + std::to_string(offset) +
               ") lies past the end of the memo file (" + std::to_string(size_) + " bytes); the memo reads as empty");
    return std::nullopt;
  }
  const auto* bytes = reinterpret_cast<const std::byte*>(header.data());
  Memo memo;
  memo.type = ReadU32BigEndian(bytes + format::kMemoBlockTypeOffset);
  std::uint32_t length = ReadU32BigEndian(bytes + format::kMemoDataLengthOffset);
  std::uint64_t data_offset = offset + format::kMemoBlockHeaderSize;
  if (!ReadRange(data_offset, length, memo.bytes)) {
    std::uint64_t available = size_ > data_offset ? size_ - data_offset : 0;
    report(data_offset, length - available,
           "memo at block " + std::to_string(block) + " claims " + std::to_string(length) + " bytes but only " +
               std::to_string(available) + " remain in the memo file; the bytes that are there are kept");
    if (available > 0 && ReadRange(data_offset, static_cast<std::size_t>(available), memo.bytes)) return memo;
    return std::nullopt;
  }
  if (memo.type != format::kMemoTypeText && memo.type != format::kMemoTypePicture) {
    report(offset, 0,
           "memo block " + std::to_string(block) + " has unknown block type " + std::to_string(memo.type) +
               "; its bytes are read as they are");
  }
  return memo;
}

std::optional<std::uint32_t> ParseMemoPointer(std::string_view stored, bool binary) {
  if (binary) {
    if (stored.size() != format::kBinaryMemoPointerLength) return std::nullopt;
    return ReadU32(reinterpret_cast<const std::byte*>(stored.data()));
  }
  std::uint64_t value = 0;
  bool digits = false;
  bool ended = false;
  for (char c : stored) {
    if (c == ' ' || c == '\0') {
      if (digits) ended = true;
      continue;
    }
    if (c < '0' || c > '9' || ended) return std::nullopt;
    digits = true;
    value = value * 10 + static_cast<unsigned>(c - '0');
    if (value > 0xFFFFFFFFull) return std::nullopt;
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace qorvane::foxpro
