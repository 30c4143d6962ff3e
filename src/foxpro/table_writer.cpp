// The table creator (buffered appends, memo blocks, header and index at Finish) and the
// encoding of field values.
#include "foxpro/table_writer.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "common/error.h"
#include "foxpro/byte_source.h"
#include "foxpro/format.h"

namespace qorvane::foxpro {
namespace {

constexpr std::size_t kFlushBytes = 1 << 20;

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

std::string Directory(const std::string& path) {
  auto slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string WithExtension(const std::string& path, const char* extension) {
  auto slash = path.rfind('/');
  auto dot = path.rfind('.');
  std::string base = dot != std::string::npos && (slash == std::string::npos || dot > slash) ? path.substr(0, dot) : path;
  return base + extension;
}

// Buffered sequential writer over os::File.
class Appender {
 public:
  Appender(const std::string& path) : file_(os::File::Open(path, os::OpenMode::CreateTruncate)) {}
  void Write(const void* data, std::size_t size) {
    const char* bytes = static_cast<const char*>(data);
    buffer_.insert(buffer_.end(), bytes, bytes + size);
    if (buffer_.size() >= kFlushBytes) Flush();
  }
  void Flush() {
    if (buffer_.empty()) return;
    file_.WriteAt(offset_, std::as_bytes(std::span(buffer_)));
    offset_ += buffer_.size();
    buffer_.clear();
  }
  std::uint64_t position() const { return offset_ + buffer_.size(); }
  os::File& file() { return file_; }

 private:
  os::File file_;
  std::vector<char> buffer_;
  std::uint64_t offset_ = 0;
};

}  // namespace

std::string EncodeFieldValue(const Field& field, const Value& value, const CodePage& code_page) {
  auto refuse = [&](const std::string& why) {
    return Error(ErrorKind::Constraint, "field " + field.name + " (" + std::string(1, field.type) + "(" +
                                            std::to_string(field.length) + ")): " + why);
  };
  std::string stored(field.length, ' ');
  if (value.is_null()) return stored;
  // Binary is the stored bytes themselves, written unchecked: how sample offices and tests
  // reproduce the damaged dates and numbers that real tables hold.
  if (value.kind == Value::Kind::Binary && field.type != 'M') {
    if (value.text.size() > stored.size()) throw refuse(std::to_string(value.text.size()) + " stored bytes do not fit");
    stored.replace(0, value.text.size(), value.text);
    return stored;
  }
  switch (field.type) {
    case 'C': {
      if (value.kind != Value::Kind::Text) throw refuse("a text value is needed");
      auto bytes = code_page.Encode(value.text);
      if (!bytes) throw refuse("'" + value.text + "' has a character that code page " + std::to_string(code_page.number()) + " cannot hold");
      // Trailing blanks may be cut; anything else that does not fit would change the value.
      std::size_t length = bytes->find_last_not_of(' ') == std::string::npos ? 0 : bytes->find_last_not_of(' ') + 1;
      if (length > stored.size()) {
        throw refuse("'" + value.text + "' is " + std::to_string(length) + " characters long and does not fit");
      }
      stored.replace(0, length, bytes->substr(0, length));
      return stored;
    }
    case 'N':
    case 'F': {
      double number = value.number;
      if (value.kind == Value::Kind::Text) {
        ParsedNumber parsed = ParseNumber(value.text);
        if (parsed.status == ParseStatus::Invalid) throw refuse("'" + value.text + "' is not a number");
        if (parsed.status == ParseStatus::Blank) return stored;
        number = parsed.value;
      } else if (value.kind != Value::Kind::Number) {
        throw refuse("a number is needed");
      }
      if (!std::isfinite(number)) throw refuse("the number is not finite");
      double scale = std::pow(10.0, field.decimals);
      double rounded = std::round(number * scale) / scale;
      if (rounded == 0) rounded = 0;
      char buffer[400];
      std::snprintf(buffer, sizeof buffer, "%.*f", static_cast<int>(field.decimals), rounded);
      std::string text = buffer;
      if (text.size() > field.length) throw refuse(text + " does not fit");
      stored.replace(field.length - text.size(), text.size(), text);
      return stored;
    }
    case 'D': {
      Date date = value.date;
      if (value.kind == Value::Kind::Text) {
        ParsedDate parsed = ParseDate(value.text);
        if (parsed.status == ParseStatus::Invalid) throw refuse("'" + value.text + "' is not a date (YYYYMMDD)");
        date = parsed.date;
      } else if (value.kind != Value::Kind::Date) {
        throw refuse("a date is needed");
      }
      if (date.empty()) return stored;
      if (!IsValidDate(date.year, date.month, date.day)) throw refuse("the date does not exist");
      char buffer[16];
      std::snprintf(buffer, sizeof buffer, "%04d%02d%02d", date.year, date.month, date.day);
      return std::string(buffer, 8).substr(0, field.length);
    }
    case 'L':
      if (value.kind != Value::Kind::Logical) throw refuse("a logical value is needed");
      stored[0] = value.logical ? 'T' : 'F';
      return stored;
    default:
      throw refuse("values of this type cannot be written");
  }
}

struct TableCreator::State {
  std::string path;
  NewTableOptions options;
  std::vector<Field> fields;
  std::unique_ptr<CodePage> code_page;
  std::uint16_t record_length = 1;
  std::uint16_t header_length = 0;
  std::uint32_t records = 0;
  Appender table;
  std::unique_ptr<Appender> memo;
  std::uint32_t next_block = 0;
  bool finished = false;
  State(const std::string& dbf_path) : path(dbf_path), table(dbf_path) {}
};

TableCreator::TableCreator(const std::string& dbf_path, std::vector<FieldSpec> specs, NewTableOptions options) {
  state_ = std::make_unique<State>(dbf_path);
  State& s = *state_;
  s.options = std::move(options);
  s.code_page = std::make_unique<CodePage>(s.options.code_page);
  bool has_memo = false;
  for (const FieldSpec& wanted : specs) {
    Field field;
    field.name = Upper(wanted.name.substr(0, 10));
    field.type = static_cast<char>(wanted.type >= 'a' ? wanted.type - 32 : wanted.type);
    field.length = wanted.length;
    field.decimals = wanted.decimals;
    if (field.type == 'D') field.length = 8;
    if (field.type == 'L') field.length = 1;
    if (field.type == 'M') field.length = format::kMemoPointerLength, has_memo = true;
    if (std::string_view("CNFDLM").find(field.type) == std::string_view::npos || field.length == 0 || field.length > 254) {
      throw Error(ErrorKind::InvalidArgument, dbf_path + ": field " + field.name + " cannot be created with type " +
                                                  std::string(1, field.type) + " and length " + std::to_string(field.length));
    }
    field.offset = s.record_length;
    s.record_length = static_cast<std::uint16_t>(s.record_length + field.length);
    s.fields.push_back(field);
  }
  s.header_length = static_cast<std::uint16_t>(format::kTableHeaderSize + format::kDescriptorSize * s.fields.size() + 1);
  // The header is written again at Finish with the final count; write it now to reserve room.
  std::vector<char> header(s.header_length, 0);
  s.table.Write(header.data(), header.size());
  if (has_memo) {
    s.memo = std::make_unique<Appender>(WithExtension(dbf_path, ".fpt"));
    std::vector<char> memo_header(format::kMemoHeaderSize, 0);
    s.memo->Write(memo_header.data(), memo_header.size());
    std::uint16_t block_size = s.options.memo_block_size ? s.options.memo_block_size : format::kDefaultMemoBlockSize;
    s.options.memo_block_size = block_size;
    s.next_block = static_cast<std::uint32_t>((format::kMemoHeaderSize + block_size - 1) / block_size);
    std::vector<char> pad(std::size_t(s.next_block) * block_size - format::kMemoHeaderSize, 0);
    s.memo->Write(pad.data(), pad.size());
  }
}

TableCreator::~TableCreator() = default;

void TableCreator::Append(const std::vector<Value>& values, RecordState state) {
  State& s = *state_;
  std::string record(s.record_length, ' ');
  record[0] = state == RecordState::Deleted ? '*' : ' ';
  for (std::size_t i = 0; i < s.fields.size() && i < values.size(); ++i) {
    const Field& field = s.fields[i];
    const Value& value = values[i];
    std::string stored;
    if (field.type == 'M') {
      stored.assign(field.length, ' ');
      if (!value.is_null() && !value.text.empty()) {
        auto bytes = value.kind == Value::Kind::Binary ? std::optional<std::string>(value.text) : s.code_page->Encode(value.text);
        if (!bytes) throw Error(ErrorKind::Constraint, s.path + ": memo field " + field.name + " holds a character code page " +
                                                           std::to_string(s.code_page->number()) + " cannot hold");
        std::byte block_header[format::kMemoBlockHeaderSize] = {};
        WriteU32BigEndian(block_header + format::kMemoBlockTypeOffset, format::kMemoTypeText);
        WriteU32BigEndian(block_header + format::kMemoDataLengthOffset, static_cast<std::uint32_t>(bytes->size()));
        s.memo->Write(block_header, sizeof block_header);
        s.memo->Write(bytes->data(), bytes->size());
        std::size_t used = format::kMemoBlockHeaderSize + bytes->size();
        std::size_t blocks = (used + s.options.memo_block_size - 1) / s.options.memo_block_size;
        std::vector<char> pad(blocks * s.options.memo_block_size - used, 0);
        s.memo->Write(pad.data(), pad.size());
        std::string number = std::to_string(s.next_block);
        stored.replace(field.length - number.size(), number.size(), number);
        s.next_block += static_cast<std::uint32_t>(blocks);
      }
    } else {
      try {
        stored = EncodeFieldValue(field, value, *s.code_page);
      } catch (const Error& error) {
        throw Error(error.kind(), s.path + ": record " + std::to_string(s.records + 1) + ": " + error.what());
      }
    }
    record.replace(field.offset, field.length, stored);
  }
  s.table.Write(record.data(), record.size());
  ++s.records;
}

void TableCreator::Finish() {
  State& s = *state_;
  if (s.finished) return;
  s.finished = true;
  char end = static_cast<char>(format::kEndOfFile);
  s.table.Write(&end, 1);
  s.table.Flush();
  std::vector<std::byte> header(s.header_length, std::byte{0});
  bool has_memo = s.memo != nullptr;
  header[format::kVersionOffset] = std::byte(has_memo ? format::kVersionFoxPro2Memo : format::kVersionDbase3);
  header[format::kUpdateYearOffset] = std::byte(s.options.last_update.year % 100);
  header[format::kUpdateMonthOffset] = std::byte(s.options.last_update.month);
  header[format::kUpdateDayOffset] = std::byte(s.options.last_update.day);
  WriteU32(header.data() + format::kRecordCountOffset, s.records);
  WriteU16(header.data() + format::kHeaderLengthOffset, s.header_length);
  WriteU16(header.data() + format::kRecordLengthOffset, s.record_length);
  header[format::kTableFlagsOffset] = std::byte(s.options.tags.empty() ? 0 : format::kStructuralIndexFlag);
  header[format::kCodePageOffset] = std::byte(s.options.write_code_page_mark ? MarkFromCodePage(s.options.code_page) : 0);
  for (std::size_t i = 0; i < s.fields.size(); ++i) {
    std::byte* descriptor = header.data() + format::kTableHeaderSize + i * format::kDescriptorSize;
    const Field& field = s.fields[i];
    std::memcpy(descriptor + format::kFieldNameOffset, field.name.data(), field.name.size());
    descriptor[format::kFieldTypeOffset] = std::byte(field.type);
    WriteU32(descriptor + format::kFieldDisplacementOffset, field.offset);
    descriptor[format::kFieldLengthOffset] = std::byte(field.length);
    descriptor[format::kFieldDecimalsOffset] = std::byte(field.decimals);
  }
  header[s.header_length - 1] = std::byte(format::kHeaderTerminator);
  s.table.file().WriteAt(0, header);
  s.table.file().Sync();
  if (has_memo) {
    s.memo->Flush();
    std::byte memo_header[8] = {};
    WriteU32BigEndian(memo_header + format::kMemoNextFreeOffset, s.next_block);
    WriteU16BigEndian(memo_header + format::kMemoBlockSizeOffset, s.options.memo_block_size);
    s.memo->file().WriteAt(0, memo_header);
    s.memo->file().Sync();
  }
  if (!s.options.tags.empty()) {
    auto table = Table::Open(s.path, {s.options.code_page, nullptr});
    auto index = BuildIndexFromTable(*table, s.options.tags);
    os::WriteWholeFile(WithExtension(s.path, ".cdx"), index);
  }
  os::SyncDirectory(Directory(s.path));
}

}  // namespace qorvane::foxpro
