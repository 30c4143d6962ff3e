// The table reader: header and descriptor parsing with the tolerance real files need, the
// record window, and field decoding. Record numbers in messages are 1-based, as FoxPro's RECNO().
#include "foxpro/table.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/byte_source.h"
#include "foxpro/format.h"
#include "foxpro/memo.h"

namespace qorvane::foxpro {
namespace {

constexpr std::size_t kWindowBytes = 256 * 1024;
constexpr std::uint32_t kRandomWindowRecords = 4;
// A table read out of order (look-ups by index) and no larger than this is read whole once,
// so that looking records up costs no read of the file each.
constexpr std::size_t kWholeTableBytes = 32u << 20;

bool IsKnownType(char type) {
  return std::string_view("CNFDLMGPIYBTVQW0").find(type) != std::string_view::npos;
}

bool IsSupportedVersion(std::uint8_t version) {
  switch (version) {
    case format::kVersionFoxBase:
    case format::kVersionDbase3:
    case format::kVersionDbase3Memo:
    case format::kVersionFoxPro2Memo:
    case 0xFB:  // FoxBASE
    case format::kVersionVisualFoxPro:
    case format::kVersionVisualFoxProAutoIncrement:
    case format::kVersionVisualFoxProVarchar:
      return true;
    default:
      return false;
  }
}

std::string Hex(unsigned value) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text = "0x";
  text.push_back(kDigits[(value >> 4) & 0xF]);
  text.push_back(kDigits[value & 0xF]);
  return text;
}

std::string Printable(std::string_view bytes) {
  std::string text;
  for (char c : bytes) {
    unsigned char u = static_cast<unsigned char>(c);
    if (u >= 0x20 && u < 0x7F) {
      text.push_back(c);
    } else {
      text += "\\x" + Hex(u).substr(2);
    }
  }
  return text;
}

std::string MemoPathFor(const std::string& dbf_path) {
  std::string directory = ".";
  std::string file = dbf_path;
  if (auto slash = dbf_path.rfind('/'); slash != std::string::npos) {
    directory = slash == 0 ? "/" : dbf_path.substr(0, slash);
    file = dbf_path.substr(slash + 1);
  }
  std::string base = file;
  if (auto dot = file.rfind('.'); dot != std::string::npos) base = file.substr(0, dot);
  auto found = os::FindCaseInsensitive(directory, base + ".fpt");
  return found ? *found : std::string();
}

std::string BaseName(const std::string& path) {
  auto slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// How well records of LENGTH bytes fit a file's DATA_BYTES (everything after the header) that
// the header says holds DECLARED records: exactly that many (with or without the end-of-file
// mark), some whole number of them, or not at all.
enum class Fit { None, Whole, Exact };

Fit FitOf(std::uint64_t length, std::uint64_t data_bytes, std::uint32_t declared) {
  if (length == 0) return Fit::None;
  const std::uint64_t expected = std::uint64_t(declared) * length;
  if (data_bytes == expected || data_bytes == expected + 1) return Fit::Exact;
  const std::uint64_t rest = data_bytes % length;
  return rest == 0 || rest == 1 ? Fit::Whole : Fit::None;
}

// The width a field of TYPE always has, or 0 when it varies.
std::uint32_t FixedWidth(char type, bool visual_foxpro) {
  switch (type) {
    case 'D': return 8;
    case 'L': return 1;
    case 'M':
    case 'G':
    case 'P': return visual_foxpro ? 0 : 10;
    default: return 0;
  }
}

// The header's record length and the sum of the field lengths disagree: one of them was
// damaged. The file's size decides which one the records really have. When it is the header's
// and the fields are too long for it, the positions FoxPro stores in each descriptor give the
// damaged field back its width, provided they describe the record whole and differ from the
// stored widths in one or two fields only (another writer may leave the positions unset).
// Throws qorvane::Error (Corrupt) naming the table when no reading of the header fits.
void ReconcileRecordLength(TableLayout& layout, std::uint64_t sum, const std::vector<std::uint32_t>& displacements,
                           std::uint64_t file_size, const std::string& name,
                           const std::function<void(const std::string&)>& report) {
  TableHeader& header = layout.header;
  const std::uint64_t data_bytes = file_size - header.header_length;
  const std::string size_text = "the file's size (" + std::to_string(file_size) + " bytes, " +
                                std::to_string(header.declared_records) + " records counted)";
  const Fit header_fit = FitOf(header.record_length, data_bytes, header.declared_records);
  const Fit fields_fit = FitOf(sum, data_bytes, header.declared_records);
  if (header_fit == Fit::None && fields_fit == Fit::None) {
    throw Error(ErrorKind::Corrupt, name + ": the header gives records of " + std::to_string(header.record_length) +
                                        " bytes but the fields add up to " + std::to_string(sum) + ", and " +
                                        size_text + " fits neither; the table cannot be read");
  }
  const bool fields_win = fields_fit > header_fit || (fields_fit == header_fit && sum > header.record_length);
  if (fields_win && sum <= format::kMaxRecordLength) {
    report("the header gives records of " + std::to_string(header.record_length) + " bytes but the fields add up to " +
           std::to_string(sum) + ", which " + size_text + " confirms; every record is read as " + std::to_string(sum) +
           " bytes");
    header.record_length = static_cast<std::uint16_t>(sum);
    return;
  }
  if (sum < header.record_length) {
    report("records are " + std::to_string(header.record_length) + " bytes but the fields use " +
           std::to_string(sum) + "; the rest of each record is ignored");
    return;
  }
  // The record length is right and a field is too long for it.
  std::vector<Field>& fields = layout.fields;
  std::vector<std::uint32_t> widths(fields.size());
  bool whole = !fields.empty() && displacements.front() == 1;
  for (std::size_t i = 0; whole && i < fields.size(); ++i) {
    std::uint32_t end = i + 1 < fields.size() ? displacements[i + 1] : header.record_length;
    whole = end > displacements[i] && end <= header.record_length;
    if (!whole) break;
    widths[i] = end - displacements[i];
    std::uint32_t fixed = FixedWidth(fields[i].type, header.visual_foxpro);
    whole = fixed == 0 || widths[i] == fixed;
  }
  std::size_t differing = 0;
  for (std::size_t i = 0; whole && i < fields.size(); ++i) differing += widths[i] != fields[i].length;
  if (!whole || differing == 0 || differing > 2) {
    throw Error(ErrorKind::Corrupt, name + ": the fields add up to " + std::to_string(sum) +
                                        " bytes per record but the header gives records of " +
                                        std::to_string(header.record_length) + " bytes, which " + size_text +
                                        " confirms; a field's width is damaged and the table cannot be read field by field");
  }
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (widths[i] == fields[i].length) continue;
    report("field " + fields[i].name + " is " + std::to_string(fields[i].length) +
           " bytes wide in the header, which runs past the " + std::to_string(header.record_length) +
           "-byte records " + size_text + " confirms; the field positions in the header give it " +
           std::to_string(widths[i]) + " bytes, and it is read so");
    fields[i].length = static_cast<std::uint16_t>(widths[i]);
  }
}

}  // namespace

TableLayout ParseTableLayout(std::span<const std::byte> bytes, std::uint64_t file_size,
                             const std::string& name, Reporter* reporter) {
  auto report = [&](const std::string& what) {
    if (reporter) reporter->Report({.kind = DamageKind::Header, .file = name, .what = what});
  };
  if (file_size == 0) {
    throw Error(ErrorKind::Corrupt, name + ": the file is empty (0 bytes): there is no table in it to read");
  }
  if (bytes.size() < format::kTableHeaderSize) {
    throw Error(ErrorKind::Corrupt, name + ": the file is " + std::to_string(file_size) +
                                        " bytes long, shorter than the 32-byte table header; it is not a table or it is truncated");
  }
  TableLayout layout;
  TableHeader& header = layout.header;
  const std::byte* data = bytes.data();
  header.version = std::to_integer<std::uint8_t>(data[format::kVersionOffset]);
  if (!IsSupportedVersion(header.version)) {
    throw Error(ErrorKind::NotSupported,
                name + ": version byte " + Hex(header.version) +
                    " is not a table this program reads (FoxPro 2.x 0x03/0xF5, dBase III 0x83, Visual FoxPro 0x30-0x32)");
  }
  header.visual_foxpro = header.version >= format::kVersionVisualFoxPro && header.version <= format::kVersionVisualFoxProVarchar;
  int year = std::to_integer<int>(data[format::kUpdateYearOffset]);
  header.last_update.year = year >= 100 ? 1900 + year : (year < 80 ? 2000 + year : 1900 + year);
  header.last_update.month = std::to_integer<int>(data[format::kUpdateMonthOffset]);
  header.last_update.day = std::to_integer<int>(data[format::kUpdateDayOffset]);
  header.declared_records = ReadU32(data + format::kRecordCountOffset);
  header.header_length = ReadU16(data + format::kHeaderLengthOffset);
  header.record_length = ReadU16(data + format::kRecordLengthOffset);
  header.flags = std::to_integer<std::uint8_t>(data[format::kTableFlagsOffset]);
  header.code_page_mark = std::to_integer<std::uint8_t>(data[format::kCodePageOffset]);
  if (header.header_length < format::kTableHeaderSize + 1 || header.header_length > file_size) {
    throw Error(ErrorKind::Corrupt, name + ": the header claims to be " + std::to_string(header.header_length) +
                                        " bytes long but the file has " + std::to_string(file_size) +
                                        " bytes; the table is truncated or not a table");
  }
  if (bytes.size() < header.header_length) {
    throw Error(ErrorKind::Corrupt, name + ": the header is cut short (" + std::to_string(bytes.size()) + " of " +
                                        std::to_string(header.header_length) + " bytes)");
  }

  bool terminated = false;
  std::size_t position = format::kTableHeaderSize;
  std::vector<std::uint32_t> displacements;  // each field's position as the descriptor stores it
  while (position < header.header_length) {
    auto first = std::to_integer<std::uint8_t>(data[position]);
    if (first == format::kHeaderTerminator) {
      terminated = true;
      break;
    }
    if (first == format::kDamagedHeaderTerminator || first == 0) break;
    if (position + format::kDescriptorSize > header.header_length) break;
    const std::byte* descriptor = data + position;
    Field field;
    std::string raw_name(reinterpret_cast<const char*>(descriptor + format::kFieldNameOffset), format::kFieldNameSize);
    std::size_t nul = raw_name.find('\0');
    std::string cut = raw_name.substr(0, nul);
    if (nul != std::string::npos) {
      std::string_view rest = std::string_view(raw_name).substr(nul);
      if (rest.find_first_not_of('\0') != std::string_view::npos) {
        report("field name " + Printable(cut) + " has bytes after its terminating NUL (" + Printable(rest) +
               "); they are ignored");
      }
    }
    while (!cut.empty() && cut.back() == ' ') cut.pop_back();
    field.name = cut;
    field.type = static_cast<char>(std::to_integer<unsigned char>(descriptor[format::kFieldTypeOffset]));
    if (field.type >= 'a' && field.type <= 'z') field.type = static_cast<char>(field.type - 'a' + 'A');
    field.length = std::to_integer<std::uint8_t>(descriptor[format::kFieldLengthOffset]);
    field.decimals = std::to_integer<std::uint8_t>(descriptor[format::kFieldDecimalsOffset]);
    field.known_type = IsKnownType(field.type);
    layout.fields.push_back(field);
    displacements.push_back(ReadU32(descriptor + format::kFieldDisplacementOffset));
    position += format::kDescriptorSize;
  }
  if (layout.fields.empty()) {
    throw Error(ErrorKind::Corrupt, name + ": the header describes no fields");
  }
  if (!terminated) {
    if (position < header.header_length &&
        std::to_integer<std::uint8_t>(data[position]) == format::kDamagedHeaderTerminator) {
      report("the field list ends with 0x0A instead of 0x0D (damage from a text-mode copy); the header length is trusted");
    } else {
      report("the field list has no 0x0D terminator; the header length is trusted");
    }
  }

  // Record length: 1 (deletion flag) + the field lengths; long C fields may keep their high
  // length byte in the decimal count.
  std::uint64_t sum = 1;
  for (const Field& field : layout.fields) sum += field.length;
  if (sum != header.record_length) {
    std::uint64_t extended = 1;
    for (const Field& field : layout.fields) {
      extended += field.type == 'C' ? field.length + 256u * field.decimals : field.length;
    }
    if (extended == header.record_length) {
      for (Field& field : layout.fields) {
        if (field.type == 'C' && field.decimals) {
          field.length = static_cast<std::uint16_t>(field.length + 256u * field.decimals);
          field.decimals = 0;
        }
      }
      sum = extended;
    }
  }
  if (sum != header.record_length) {
    ReconcileRecordLength(layout, sum, displacements, file_size, name, report);
  }
  std::uint32_t offset = 1;
  std::set<std::string> seen;
  std::string lower_case;
  for (Field& field : layout.fields) {
    field.offset = offset;
    offset += field.length;
    if (!field.known_type) {
      report("field " + field.name + " has an unknown type '" + Printable(std::string(1, field.type)) +
             "'; its bytes are read as text");
    }
    if (field.name.empty()) {
      field.name = "FIELD" + std::to_string(&field - layout.fields.data() + 1);
      report("a field has an empty name; it is called " + field.name);
    }
    std::string upper = field.name;
    for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    if (upper != field.name) lower_case += (lower_case.empty() ? "" : ", ") + field.name;
    if (!seen.insert(upper).second) {
      report("the field name " + field.name + " occurs more than once; by name, the first one is read");
    }
  }
  if (!lower_case.empty()) {
    report("field names not in upper case (" + lower_case + "); names are matched without regard to case");
  }
  return layout;
}

Table::~Table() = default;

std::unique_ptr<Table> Table::Open(const std::string& path, const TableOptions& options) {
  auto table = std::unique_ptr<Table>(new Table());
  table->path_ = path;
  table->name_ = BaseName(path);
  os::File file = os::File::Open(path, os::OpenMode::ReadOnly);
  table->opened_ = file.Status();
  auto source = std::make_unique<FileSource>(std::move(file));
  std::unique_ptr<MemoFile> memo;
  std::string memo_path = MemoPathFor(path);
  if (!memo_path.empty()) {
    memo = std::make_unique<MemoFile>(std::make_unique<FileSource>(os::File::Open(memo_path, os::OpenMode::ReadOnly)),
                                      BaseName(memo_path), options.reporter);
  }
  table->Load(std::move(source), std::move(memo), memo_path.empty(), options);
  return table;
}

std::unique_ptr<Table> Table::FromBytes(const std::string& name, std::vector<std::byte> bytes,
                                        std::optional<std::vector<std::byte>> memo_bytes,
                                        const TableOptions& options) {
  auto table = std::unique_ptr<Table>(new Table());
  table->path_ = name;
  table->name_ = name;
  std::unique_ptr<MemoFile> memo;
  if (memo_bytes) {
    memo = std::make_unique<MemoFile>(std::make_unique<MemorySource>(std::move(*memo_bytes)),
                                      name + " (memo)", options.reporter);
  }
  table->Load(std::make_unique<MemorySource>(std::move(bytes)), std::move(memo), !memo_bytes, options);
  return table;
}

void Table::Report(Damage damage) const {
  if (!reporter_) return;
  damage.file = name_;
  reporter_->Report(damage);
}

void Table::ReportValue(std::uint32_t record, const Field& field, const std::string& what) const {
  Report({.kind = DamageKind::Value,
          .record = record + 1,
          .field = field.name,
          .offset = header_.header_length + std::uint64_t(record) * header_.record_length + field.offset,
          .bytes_dropped = field.length,
          .what = what});
}

void Table::ReportInvalidText(std::uint32_t record, const Field& field, const std::string& what) const {
  ReportValue(record, field, what + " is not valid text in code page " + std::to_string(code_page_->number()) +
                                 "; its bytes are kept as the characters of the same numbers");
}

void Table::Load(std::unique_ptr<ByteSource> source, std::unique_ptr<MemoFile> memo, bool memo_missing,
                 const TableOptions& options) {
  reporter_ = options.reporter;
  source_ = std::move(source);
  memo_ = std::move(memo);
  const std::uint64_t size = source_->Size();
  std::vector<std::byte> head(static_cast<std::size_t>(std::min<std::uint64_t>(size, 65535 + 1)));
  head.resize(source_->ReadAt(0, head));
  if (head.size() >= format::kHeaderLengthOffset + 2) {
    head.resize(std::min<std::size_t>(head.size(), std::max<std::size_t>(ReadU16(head.data() + format::kHeaderLengthOffset),
                                                                          format::kTableHeaderSize)));
  }
  TableLayout layout = ParseTableLayout(head, size, name_, reporter_);
  header_ = layout.header;
  fields_ = std::move(layout.fields);

  int code_page = CodePageFromMark(header_.code_page_mark);
  if (code_page == 0) {
    if (header_.code_page_mark != 0) {
      Report({.what = "unknown code page mark " + Hex(header_.code_page_mark) + "; text is read as code page " +
                      std::to_string(options.default_code_page)});
    }
    code_page = options.default_code_page;
  }
  code_page_ = std::make_unique<CodePage>(code_page);

  // Record count: the header's, unless the file disagrees.
  const std::uint64_t data_bytes = size - header_.header_length;
  const std::uint64_t available = data_bytes / header_.record_length;
  const std::uint64_t declared_end = header_.header_length + std::uint64_t(header_.declared_records) * header_.record_length;
  header_.records = header_.declared_records;
  if (available < header_.declared_records) {
    header_.records = static_cast<std::uint32_t>(available);
    const std::uint64_t records_end = header_.header_length + available * header_.record_length;
    Report({.offset = records_end,
            .bytes_dropped = size - records_end,
            .what = "the header counts " + std::to_string(header_.declared_records) + " records but the file (" +
                    std::to_string(size) + " bytes) holds only " + std::to_string(available) +
                    "; the table is truncated and the records that are there are read"});
  } else if (available > header_.declared_records) {
    std::byte flag{};
    source_->ReadAt(declared_end, std::span(&flag, 1));
    auto value = std::to_integer<std::uint8_t>(flag);
    if (value == format::kLiveFlag || value == format::kDeletedFlag) {
      header_.records = static_cast<std::uint32_t>(std::min<std::uint64_t>(available, 0xFFFFFFFFu));
      Report({.what = "the header counts " + std::to_string(header_.declared_records) + " records but the file holds " +
                      std::to_string(available) + "; the file size is trusted and all " +
                      std::to_string(header_.records) + " are read"});
    } else if (value != format::kEndOfFile || data_bytes - std::uint64_t(header_.declared_records) * header_.record_length > header_.record_length) {
      Report({.offset = declared_end,
              .bytes_dropped = size - declared_end,
              .what = "there are " + std::to_string(size - declared_end) + " bytes after the last of the " +
                      std::to_string(header_.declared_records) + " records the header counts; they are ignored"});
    }
  }
  if (header_.records == header_.declared_records) {
    std::byte end{};
    if (source_->ReadAt(declared_end, std::span(&end, 1)) == 0 || std::to_integer<std::uint8_t>(end) != format::kEndOfFile) {
      Report({.offset = declared_end, .what = "the end-of-file mark 0x1A after the last record is missing"});
    }
  }

  bool has_memo_field = false;
  for (const Field& field : fields_) {
    if (field.type == 'M' || field.type == 'G' || field.type == 'P') has_memo_field = true;
  }
  if (has_memo_field && memo_missing) {
    std::string base = name_.substr(0, name_.rfind('.'));
    Report({.kind = DamageKind::LongValue, .what = "the memo file " + base + ".fpt is missing; memo fields read as empty"});
  }
}

std::optional<std::size_t> Table::FindField(std::string_view name) const {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const std::string& candidate = fields_[i].name;
    if (candidate.size() != name.size()) continue;
    bool equal = true;
    for (std::size_t k = 0; k < name.size() && equal; ++k) {
      char a = candidate[k], b = name[k];
      if (a >= 'a' && a <= 'z') a = static_cast<char>(a - 32);
      if (b >= 'a' && b <= 'z') b = static_cast<char>(b - 32);
      equal = a == b;
    }
    if (equal) return i;
  }
  return std::nullopt;
}

void Table::CheckFileUnchanged() const {
  if (!opened_) return;
  const std::uint64_t needed = header_.header_length + std::uint64_t(header_.records) * header_.record_length;
  const std::string advice = "; the step stops here and what it has not read is not converted. Put the table back "
                             "as it was and run the step again";
  std::optional<os::FileStatus> now = os::StatusOf(path_);
  if (!now) throw Error(ErrorKind::NotFound, name_ + ": the table was removed while the run was reading it" + advice);
  if (!now->SameFile(*opened_)) {
    throw Error(ErrorKind::IoError, name_ + ": the table was replaced by another file while the run was reading it" + advice);
  }
  if (now->size < needed) {
    throw Error(ErrorKind::IoError, name_ + ": the table was cut from " + std::to_string(opened_->size) + " to " +
                                        std::to_string(now->size) + " bytes while the run was reading it (its " +
                                        std::to_string(header_.records) + " records need " + std::to_string(needed) + ")" +
                                        advice);
  }
}

void Table::Invalidate() const { window_count_ = 0; }

void Table::NoteRecordWritten(std::uint32_t record, std::span<const std::byte> bytes) const {
  if (!source_->Memory().empty() || bytes.size() != header_.record_length) {
    Invalidate();
    return;
  }
  if (record >= window_first_ && record - window_first_ < window_count_) {
    std::memcpy(window_.data() + std::size_t(record - window_first_) * header_.record_length, bytes.data(), bytes.size());
  }
}

std::span<const std::byte> Table::RecordBytes(std::uint32_t record) const {
  if (record >= header_.records) {
    throw Error(ErrorKind::InvalidArgument, name_ + ": record " + std::to_string(record + 1) +
                                                " does not exist (the table has " + std::to_string(header_.records) + ")");
  }
  const std::size_t length = header_.record_length;
  const std::uint64_t offset = header_.header_length + std::uint64_t(record) * length;
  if (auto memory = source_->Memory(); !memory.empty()) {
    return memory.subspan(static_cast<std::size_t>(offset), length);
  }
  if (record >= window_first_ && record - window_first_ < window_count_) {
    return std::span(window_.data() + std::size_t(record - window_first_) * length, length);
  }
  const std::uint32_t wanted = record;
  bool sequential = window_count_ > 0 && record == window_first_ + window_count_;
  std::uint32_t count = sequential || window_count_ == 0
                            ? static_cast<std::uint32_t>(std::max<std::size_t>(1, kWindowBytes / length))
                            : kRandomWindowRecords;
  if (!sequential && window_count_ > 0 && std::uint64_t(header_.records) * length <= kWholeTableBytes) {
    // Out of order in a small table: all of it, once.
    record = 0;
    count = header_.records;
  }
  count = std::min(count, header_.records - record);
  const std::uint64_t start = header_.header_length + std::uint64_t(record) * length;
  window_.resize(std::size_t(count) * length);
  std::size_t read = source_->ReadAt(start, window_);
  if (read < length) {
    window_count_ = 0;
    // Cut since it was opened: say so (the walks check it too, see RecordSet).
    CheckFileUnchanged();
    throw Error(ErrorKind::IoError, name_ + ": record " + std::to_string(wanted + 1) +
                                        " cannot be read: the file ends at byte " + std::to_string(start + read));
  }
  window_first_ = record;
  window_count_ = static_cast<std::uint32_t>(read / length);
  if (wanted < window_first_ || wanted - window_first_ >= window_count_) {
    CheckFileUnchanged();
    throw Error(ErrorKind::IoError, name_ + ": record " + std::to_string(wanted + 1) + " cannot be read: the file ends at byte " +
                                        std::to_string(start + read));
  }
  return std::span(window_.data() + std::size_t(wanted - window_first_) * length, length);
}

std::vector<std::byte> Table::ReadRecordFromFile(std::uint32_t record) const {
  std::span<const std::byte> cached = RecordBytes(record);  // checks the number, fills the window
  if (!source_->Memory().empty()) return {cached.begin(), cached.end()};
  const std::size_t length = header_.record_length;
  std::vector<std::byte> bytes(length);
  std::size_t read = source_->ReadAt(header_.header_length + std::uint64_t(record) * length, bytes);
  if (read < length) {
    CheckFileUnchanged();
    throw Error(ErrorKind::IoError, name_ + ": record " + std::to_string(record + 1) + " cannot be read");
  }
  NoteRecordWritten(record, bytes);
  return bytes;
}

bool Table::IsDeleted(std::uint32_t record) const {
  return std::to_integer<std::uint8_t>(RecordBytes(record)[0]) == format::kDeletedFlag;
}

std::string_view Table::RawField(std::uint32_t record, std::size_t field) const {
  auto bytes = RecordBytes(record);
  const Field& f = fields_.at(field);
  return std::string_view(reinterpret_cast<const char*>(bytes.data()) + f.offset, f.length);
}

Value Table::ReadValue(std::uint32_t record, std::size_t field) const {
  return DecodeField(RecordBytes(record), record, field);
}

void Table::AppendText(std::span<const std::byte> record_bytes, std::size_t field, std::string& out) const {
  const Field& f = fields_[field];
  std::string_view raw(reinterpret_cast<const char*>(record_bytes.data()) + f.offset, f.length);
  code_page_->Decode(TrimRightBlanks(raw), out);
}

Value Table::DecodeField(std::span<const std::byte> record_bytes, std::uint32_t record, std::size_t field) const {
  const Field& f = fields_.at(field);
  std::string_view raw(reinterpret_cast<const char*>(record_bytes.data()) + f.offset, f.length);
  Value value;
  switch (f.type) {
    case 'N':
    case 'F': {
      ParsedNumber number = ParseNumber(raw);
      if (number.status == ParseStatus::Good) {
        value.kind = Value::Kind::Number;
        value.number = number.value;
        value.text = std::move(number.text);
      } else if (number.status == ParseStatus::Invalid) {
        bool overflow = raw.find('*') != std::string_view::npos;
        ReportValue(record, f, "'" + Printable(raw) + "' " + (overflow ? "is a numeric overflow" : "is not a number") +
                                   "; it is read as blank");
      }
      return value;
    }
    case 'D': {
      ParsedDate date = ParseDate(raw);
      if (date.status == ParseStatus::Good) {
        value.kind = Value::Kind::Date;
        value.date = date.date;
      } else if (date.status == ParseStatus::Invalid) {
        ReportValue(record, f, "'" + Printable(raw) + "' is not a date; it is read as blank");
      }
      return value;
    }
    case 'L': {
      ParsedLogical logical = ParseLogical(raw.empty() ? ' ' : static_cast<unsigned char>(raw[0]));
      if (logical.status == ParseStatus::Good) {
        value.kind = Value::Kind::Logical;
        value.logical = logical.value;
      } else if (logical.status == ParseStatus::Invalid) {
        ReportValue(record, f, "'" + Printable(raw) + "' is not a logical value; it is read as blank");
      }
      return value;
    }
    case 'M':
    case 'G':
    case 'P': {
      bool binary_pointer = header_.visual_foxpro && f.length == format::kBinaryMemoPointerLength;
      auto block = ParseMemoPointer(raw, binary_pointer);
      if (!block) {
        ReportValue(record, f, "'" + Printable(raw) + "' is not a memo block number; the memo reads as empty");
        return value;
      }
      if (*block == 0 || !memo_) return value;
      auto memo = memo_->Read(*block, {.record = record + 1, .field = f.name});
      if (!memo) return value;
      if (f.type == 'M' && memo->type == format::kMemoTypeText) {
        value.kind = Value::Kind::Text;
        if (!code_page_->Decode(memo->bytes, value.text)) ReportInvalidText(record, f, "the memo");
      } else {
        value.kind = Value::Kind::Binary;
        value.text = std::move(memo->bytes);
      }
      return value;
    }
    case 'I':
      if (f.length == 4) {
        value.kind = Value::Kind::Number;
        value.number = static_cast<std::int32_t>(ReadU32(reinterpret_cast<const std::byte*>(raw.data())));
        value.text = FormatNumber(value.number);
      }
      return value;
    case 'Y':
      if (f.length == 8) {
        std::uint64_t bits = ReadU32(reinterpret_cast<const std::byte*>(raw.data())) |
                             std::uint64_t(ReadU32(reinterpret_cast<const std::byte*>(raw.data()) + 4)) << 32;
        value.kind = Value::Kind::Number;
        value.number = static_cast<double>(static_cast<std::int64_t>(bits)) / 10000.0;
        value.text = FormatNumber(value.number);
      }
      return value;
    case 'B':
      if (f.length == 8) {
        std::uint64_t bits = ReadU32(reinterpret_cast<const std::byte*>(raw.data())) |
                             std::uint64_t(ReadU32(reinterpret_cast<const std::byte*>(raw.data()) + 4)) << 32;
        double number;
        std::memcpy(&number, &bits, sizeof number);
        value.kind = Value::Kind::Number;
        value.number = number;
        value.text = FormatNumber(number);
      }
      return value;
    case 'T':
      if (f.length == 8) {
        std::uint32_t day = ReadU32(reinterpret_cast<const std::byte*>(raw.data()));
        std::uint32_t milliseconds = ReadU32(reinterpret_cast<const std::byte*>(raw.data()) + 4);
        if (day != 0 && day < 5373484 && milliseconds < 86400000u) {
          value.kind = Value::Kind::Date;
          value.date = DateFromJulianDay(day);
          value.date.hour = static_cast<int>(milliseconds / 3600000);
          value.date.minute = static_cast<int>(milliseconds / 60000 % 60);
          value.date.second = static_cast<int>(milliseconds / 1000 % 60);
        }
      }
      return value;
    case 'Q':
    case 'W':
    case '0':
      value.kind = Value::Kind::Binary;
      value.text.assign(raw);
      return value;
    default:  // C, V and unknown letters: text
      value.kind = Value::Kind::Text;
      if (!code_page_->Decode(TrimRightBlanks(raw), value.text)) {
        ReportInvalidText(record, f, "'" + Printable(TrimRightBlanks(raw)) + "'");
      }
      return value;
  }
}

}  // namespace qorvane::foxpro
