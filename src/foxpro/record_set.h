// A record set over one FoxPro table that behaves as the conversion expects of a DAO dynaset:
// opened from a folder and a record source (query.h), walked with MoveFirst/MoveNext/EOF,
// fields read by name without regard to case, Index + Seek for look-ups by key, and
// Edit/Update of C, N, D and L fields written back into the table. Deleted records are never
// visible. Writes copy the table's files into the run's backup folder first and keep the
// structural .cdx true to the table (see index_maintenance.h).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/reporter.h"
#include "foxpro/backup.h"
#include "foxpro/table.h"

namespace qorvane::foxpro {

struct RecordSetOptions {
  int default_code_page = 437;      // for tables whose header names no code page
  Reporter* reporter = nullptr;     // damage that was read past
  BackupSession* backup = nullptr;  // required before the first Update that changes a record
};

class RecordSet {
 public:
  using Bookmark = std::uint32_t;  // the record number (0-based); stays valid while open

  // Opens `record_source` in folder; table files are matched without regard to case. Throws
  // qorvane::Error: NotFound (no such table), InvalidArgument (record source not understood or
  // a column the table lacks), or what Table::Open throws. Positioned on the first record.
  static std::unique_ptr<RecordSet> Open(const std::string& folder, const std::string& record_source,
                                         const RecordSetOptions& options);
  // Writes a pending index rebuild (as Flush); a failure then goes to the reporter.
  ~RecordSet();

  void MoveFirst();
  void MoveLast();
  void MoveNext();
  void MovePrevious();
  bool EndOfFile() const;        // past the last record (or no records)
  bool BeginningOfFile() const;  // before the first record (or no records)
  std::uint32_t RecordCount() const;
  Bookmark GetBookmark() const;  // throws InvalidArgument when there is no current record
  void SetBookmark(Bookmark bookmark);

  // Fields of the record source, by name without regard to case. Each throws
  // qorvane::Error (InvalidArgument) naming the table for an unknown name, and reading needs a
  // current record.
  std::uint16_t FieldSize(std::string_view name) const;  // width in the table
  const Field& FieldInfo(std::string_view name) const;
  Value GetValue(std::string_view name) const;
  // The position of a field of the record source among the table's fields (names without
  // regard to case), found once so that reading it record after record costs no name search;
  // nullopt when the record source has no such field. GetValueAt reads the current record's
  // value at that position (the edit buffer while editing).
  std::optional<std::size_t> FieldPosition(std::string_view name) const;
  Value GetValueAt(std::size_t position) const;

  // Chooses the index Seek uses: a tag of the structural .cdx, else a field, by name. The
  // look-up structure is built once per index name (one pass over the table); Seek is then a
  // binary search. Text keys compare without regard to case, as Jet compares them.
  void SetIndex(const std::string& name);
  // Moves to the first record whose key equals key (text: blank-padded to the key length;
  // numbers and dates parsed from text). On no match NoMatch() is true and the cursor stays
  // where it was. Returns !NoMatch().
  bool Seek(std::string_view key);
  bool NoMatch() const;

  // Starts editing the current record. SetValue/SetText change fields of C, N, F, D and L type
  // (text for a date: YYYYMMDD or M/D/YYYY; for a logical: T/F, True/False). Update writes the
  // record when it changed: the first write backs up the table's files and checks that every
  // index tag reading a changed field can be rebuilt (else NotSupported, nothing written).
  void Edit();
  // Whether an Edit is in progress (until Update or CancelUpdate).
  bool EditInProgress() const;
  void SetValue(std::string_view name, const Value& value);
  void SetText(std::string_view name, std::string_view text);
  void Update();
  void CancelUpdate();
  // Rebuilds the .cdx tags the updates touched (temp file + rename) and syncs the table. Call
  // once after a walk that updated records.
  void Flush();

  const Table& table() const;
  // The files of the table: the .dbf, then its .fpt and .cdx when they are there.
  std::vector<std::string> Files() const;
  // Why Update would refuse to write this table whatever the record (its .cdx is there but
  // cannot be read), or nullopt when writes may go ahead.
  std::optional<std::string> WriteRefusal() const;

 private:
  RecordSet();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qorvane::foxpro
