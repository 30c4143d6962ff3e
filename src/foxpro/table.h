// A FoxPro table (.dbf with its .fpt memo file) opened for reading: the header and field list,
// and each record's bytes and decoded values. Records are read through a window of the file,
// so memory does not grow with the table. Damage that can be skipped (a wrong record count,
// an unreadable number, a broken memo pointer) goes to the Reporter; a file that cannot be read
// as a table at all throws qorvane::Error naming the file and the problem.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/os.h"
#include "common/reporter.h"
#include "foxpro/codepage.h"
#include "foxpro/value.h"

namespace qorvane::foxpro {

class ByteSource;
class MemoFile;

struct Field {
  std::string name;           // as stored, cut at the first NUL
  char type = 'C';            // type letter: C N F D L M G P, Visual FoxPro I Y B T V Q W 0
  std::uint16_t length = 0;   // bytes in the record
  std::uint8_t decimals = 0;
  std::uint32_t offset = 0;   // from the start of the record (byte 0 is the deletion flag)
  bool known_type = true;     // false: an unknown letter, read as text
};

struct TableHeader {
  std::uint8_t version = 0;
  Date last_update;
  std::uint32_t declared_records = 0;  // the header's count
  std::uint32_t records = 0;           // the records the file holds (the count readers use)
  std::uint16_t header_length = 0;
  std::uint16_t record_length = 0;
  std::uint8_t flags = 0;
  std::uint8_t code_page_mark = 0;
  bool visual_foxpro = false;          // 4-byte binary memo pointers
  bool has_structural_index() const { return (flags & 0x01) != 0; }
};

struct TableOptions {
  int default_code_page = 437;   // for tables whose header mark is 0
  Reporter* reporter = nullptr;  // skippable damage; may be null
};

class Table {
 public:
  // Opens path (a .dbf); its .fpt is found beside it by base name without regard to case.
  static std::unique_ptr<Table> Open(const std::string& path, const TableOptions& options);
  // A table held in memory (tests, fuzzing). name is used in messages.
  static std::unique_ptr<Table> FromBytes(const std::string& name, std::vector<std::byte> table,
                                          std::optional<std::vector<std::byte>> memo,
                                          const TableOptions& options);
  ~Table();

  const std::string& path() const { return path_; }
  const std::string& name() const { return name_; }  // file name, for messages
  const TableHeader& header() const { return header_; }
  const std::vector<Field>& fields() const { return fields_; }
  const CodePage& code_page() const { return *code_page_; }
  std::uint32_t record_count() const { return header_.records; }
  // The index of the first field of that name, without regard to case.
  std::optional<std::size_t> FindField(std::string_view name) const;

  // The bytes of record (0-based), deletion flag first. Valid until the next call on this
  // table. Throws qorvane::Error when the file cannot be read.
  std::span<const std::byte> RecordBytes(std::uint32_t record) const;
  bool IsDeleted(std::uint32_t record) const;
  // The stored bytes of one field of a record (for index keys and raw comparisons).
  std::string_view RawField(std::uint32_t record, std::size_t field) const;
  // The decoded value of one field. Bad bytes give Null and a report naming the record.
  Value ReadValue(std::uint32_t record, std::size_t field) const;
  // Decodes a field from a record's bytes (as RecordBytes returns them).
  Value DecodeField(std::span<const std::byte> record_bytes, std::uint32_t record, std::size_t field) const;
  // Character field text, UTF-8, trailing blanks removed, appended to out (no allocation when
  // out has room): the fast path for readers that walk every record.
  void AppendText(std::span<const std::byte> record_bytes, std::size_t field, std::string& out) const;

  // Throws qorvane::Error naming the table when its file was removed (NotFound), replaced by
  // another file or cut shorter than the records it was opened with (IoError) since it was
  // opened: another program changed the source under the run. Cheap (one stat); a table held
  // in memory always passes.
  void CheckFileUnchanged() const;

  // Forgets the read window, so that bytes written since are read again.
  void Invalidate() const;
  // The record's bytes as the file holds them now (another record set on the table may have
  // written it), read on their own; the read window keeps its other records.
  std::vector<std::byte> ReadRecordFromFile(std::uint32_t record) const;
  // Tells the reader that record now holds bytes on disk (after an in-place write), so the
  // read window stays true without reading the file again.
  void NoteRecordWritten(std::uint32_t record, std::span<const std::byte> bytes) const;

 private:
  Table() = default;
  void Load(std::unique_ptr<ByteSource> source, std::unique_ptr<MemoFile> memo, bool memo_missing,
            const TableOptions& options);
  // Reports DAMAGE as this table's (its file set here); a value's damage with its place.
  void Report(Damage damage) const;
  void ReportValue(std::uint32_t record, const Field& field, const std::string& what) const;
  // A text or memo whose bytes the code page does not define (kept, see CodePage::Decode).
  void ReportInvalidText(std::uint32_t record, const Field& field, const std::string& what) const;

  std::string path_;
  std::string name_;
  Reporter* reporter_ = nullptr;
  TableHeader header_;
  std::vector<Field> fields_;
  std::unique_ptr<CodePage> code_page_;
  std::unique_ptr<ByteSource> source_;
  std::optional<os::FileStatus> opened_;  // the file it was opened from (none: in memory)
  std::unique_ptr<MemoFile> memo_;
  mutable std::vector<std::byte> window_;
  mutable std::uint32_t window_first_ = 0;
  mutable std::uint32_t window_count_ = 0;
};

// The .dbf header and field descriptors parsed from the first bytes of a table (at least the
// header length). Throws qorvane::Error (Corrupt/NotSupported) naming `name` when the bytes
// cannot describe a table; reports the damage it can read past.
struct TableLayout {
  TableHeader header;
  std::vector<Field> fields;
};
TableLayout ParseTableLayout(std::span<const std::byte> bytes, std::uint64_t file_size,
                             const std::string& name, Reporter* reporter);

}  // namespace qorvane::foxpro
