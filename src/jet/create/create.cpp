// Writes a new database file: lays out the system tables and the user tables of the schema on
// pages, fills the catalog (MSysObjects) and permissions (MSysACEs) with their rows, builds
// every index with the index module, marks used pages in the global map, and writes the header.
#include "jet/create/create.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>

#include "common/error.h"
#include "common/os.h"
#include "jet/bytes.h"
#include "jet/format/pages.h"
#include "jet/format/table_definition.h"
#include "jet/create/system_tables.h"
#include "jet/create/table_layout.h"
#include "jet/index/tree.h"

namespace qorvane::jet::create {
namespace {

using index::KeyValue;
using index::Null;
using Page = std::vector<uint8_t>;

std::u16string Widen(const std::string& utf8, const std::string& what) {
  std::u16string out;
  for (size_t i = 0; i < utf8.size();) {
    unsigned char lead = static_cast<unsigned char>(utf8[i]);
    char32_t code;
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 0 || i + length > utf8.size()) {
      throw Error(ErrorKind::InvalidArgument, what + " is not valid UTF-8");
    }
    code = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) code = code << 6 | (utf8[i + k] & 0x3F);
    if (code >= 0x10000) {
      code -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (code >> 10));
      out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
    } else {
      out += static_cast<char16_t>(code);
    }
    i += length;
  }
  return out;
}

std::u16string Fold(const std::u16string& name) {
  std::u16string out = name;
  for (char16_t& c : out) {
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 32);
  }
  return out;
}

void CheckName(const std::u16string& name, const std::string& what) {
  if (name.empty() || name.size() > 64) {
    throw Error(ErrorKind::InvalidArgument, what + ": names must have 1 to 64 characters");
  }
}

struct TypeFacts {
  jet::ColumnType type;
  uint16_t length;
  bool fixed;
};
TypeFacts FactsOf(const ColumnSchema& column, const std::string& where) {
  using jet::ColumnType;
  if (column.type.autonumber && column.type.type != ColumnType::Long) {
    throw Error(ErrorKind::InvalidArgument, where + ": unknown column type");
  }
  switch (column.type.type) {
    case ColumnType::Boolean: return {ColumnType::Boolean, 1, true};
    case ColumnType::Byte: return {ColumnType::Byte, 1, true};
    case ColumnType::Integer: return {ColumnType::Integer, 2, true};
    case ColumnType::Long: return {ColumnType::Long, 4, true};
    case ColumnType::Currency: return {ColumnType::Currency, 8, true};
    case ColumnType::Single: return {ColumnType::Single, 4, true};
    case ColumnType::Double: return {ColumnType::Double, 8, true};
    case ColumnType::DateTime: return {ColumnType::DateTime, 8, true};
    case ColumnType::Memo: return {ColumnType::Memo, 0, false};
    case ColumnType::Text:
      if (column.size < 1 || column.size > 255) {
        throw Error(ErrorKind::InvalidArgument, where + ": Text size " + std::to_string(column.size) +
                                                    " is not in 1..255");
      }
      return {ColumnType::Text, static_cast<uint16_t>(2 * column.size), false};
    default: break;
  }
  throw Error(ErrorKind::InvalidArgument, where + ": unknown column type");
}

// The layout of one user table; map rows on HOLDER, index roots from ROOTS.
TableLayout LayOut(const TableSchema& schema, uint32_t tdef_page, uint32_t holder,
                   const std::vector<uint32_t>& roots) {
  TableLayout table;
  table.name = Widen(schema.name, "table name");
  CheckName(table.name, "table " + schema.name);
  if (schema.columns.empty() || schema.columns.size() > 255) {
    throw Error(ErrorKind::InvalidArgument, "table " + schema.name + ": needs 1 to 255 columns");
  }
  if (schema.indexes.size() > 32) {
    throw Error(ErrorKind::InvalidArgument, "table " + schema.name + ": more than 32 indexes");
  }
  table.tdef_page = tdef_page;
  table.table_type = format::kTableTypeUser;
  table.owned_map = MapPointer(holder, 0);
  table.free_map = MapPointer(holder, 1);
  uint16_t fixed_offset = 0, variable = 0;
  std::map<std::u16string, uint16_t> ids;
  for (size_t i = 0; i < schema.columns.size(); ++i) {
    const ColumnSchema& column = schema.columns[i];
    const std::string where = "table " + schema.name + ", column " + column.name;
    ColumnLayout layout;
    layout.name = Widen(column.name, where);
    CheckName(layout.name, where);
    if (!ids.emplace(Fold(layout.name), static_cast<uint16_t>(i)).second) {
      throw Error(ErrorKind::InvalidArgument, where + ": the name is used twice");
    }
    const TypeFacts facts = FactsOf(column, where);
    layout.type = facts.type;
    layout.id = layout.column_index = static_cast<uint16_t>(i);
    layout.length = facts.length;
    layout.flags = facts.fixed ? format::kColumnFlagFixed | format::kColumnFlagUpdatable : format::kColumnFlagUpdatable;
    if (column.type.autonumber) layout.flags |= format::kColumnFlagAutoNumber;
    if (facts.type == jet::ColumnType::Text || facts.type == jet::ColumnType::Memo) {
      layout.extended_flags = format::kColumnExtendedFlagCompressed;
    }
    if (facts.fixed) {
      layout.variable_slot = variable;
      if (layout.type != jet::ColumnType::Boolean) {
        layout.fixed_offset = fixed_offset;
        fixed_offset = static_cast<uint16_t>(fixed_offset + facts.length);
      }
    } else {
      layout.variable_slot = variable++;
    }
    table.columns.push_back(layout);
  }
  table.max_columns = static_cast<uint16_t>(schema.columns.size());
  table.variable_columns = variable;
  uint8_t map_row = 2;
  for (size_t i = 0; i < schema.indexes.size(); ++i) {
    const IndexSchema& index = schema.indexes[i];
    const std::string where = "table " + schema.name + ", index " + index.name;
    if (index.columns.empty() || index.columns.size() > 10) {
      throw Error(ErrorKind::InvalidArgument, where + ": needs 1 to 10 columns");
    }
    RealIndexLayout real;
    for (const std::string& name : index.columns) {
      auto found = ids.find(Fold(Widen(name, where)));
      if (found == ids.end()) throw Error(ErrorKind::InvalidArgument, where + ": no column " + name);
      if (table.columns[found->second].type == jet::ColumnType::Memo) throw Error(ErrorKind::NotSupported, where + ": Memo columns are not indexed");
      real.columns.emplace_back(found->second, index::SortOrder::Ascending);
    }
    real.map_pointer = MapPointer(holder, map_row++);
    real.root = roots.at(i);
    real.flags = index.kind == IndexKind::PrimaryKey ? format::kIndexFlagModern | format::kIndexFlagUnique | format::kIndexFlagRequired
                 : index.kind == IndexKind::Unique   ? format::kIndexFlagModern | format::kIndexFlagUnique
                                                     : format::kIndexFlagModern;
    table.real_indexes.push_back(real);
    LogicalIndexLayout logical{static_cast<uint32_t>(i), static_cast<uint32_t>(i),
                               static_cast<uint8_t>(index.kind == IndexKind::PrimaryKey ? 1 : 0),
                               Widen(index.name, where)};
    CheckName(logical.name, where);
    table.logical_indexes.push_back(logical);
  }
  for (const ColumnLayout& column : table.columns) {
    if (column.type != jet::ColumnType::Memo) continue;
    table.long_values.push_back({column.id, MapPointer(holder, map_row), MapPointer(holder, map_row + 1)});
    map_row += 2;
  }
  return table;
}

Page HeaderPage(double creation_date) {
  Page page(format::kPageSize, 0);
  std::memcpy(page.data(), format::kHeaderMagic, 4);
  std::memcpy(page.data() + format::kHeaderFormatIdOffset, "Standard Jet DB", 16);
  page[format::kHeaderVersionOffset] = format::kVersionJet4;
  Put32(page, format::kHeaderConstant1Offset, 0x100);
  Put32(page, format::kHeaderConstant2Offset, 0x101);
  const uint32_t system_tables[] = {kObjectsTdefPage, kAcesTdefPage, kQueriesTdefPage, kRelationshipsTdefPage};
  for (int i = 0; i < 4; ++i) Put32(page, format::kHeaderSystemTablesOffset + 4 * i, system_tables[i]);
  Put16(page, format::kHeaderCodePageOffset, format::kCodePage1252);
  // An empty password is stored as the mask derived from the creation date.
  const uint32_t password_mask = static_cast<uint32_t>(static_cast<int32_t>(std::floor(creation_date)));
  for (size_t i = 0; i < format::kHeaderPasswordLength; i += 4) Put32(page, format::kHeaderPasswordOffset + i, password_mask);
  Put32(page, format::kHeaderUnknownOffset, format::kHeaderUnknownValue);
  Put16(page, format::kHeaderSortOrderOffset, format::kSortOrderGeneral);
  uint64_t date_bits;
  std::memcpy(&date_bits, &creation_date, 8);
  Put64(page, format::kHeaderCreationDateOffset, date_bits);
  const auto& mask = format::kHeaderMask;
  for (size_t i = 0; i < mask.size(); ++i) page[format::kHeaderMaskedOffset + i] ^= mask[i];
  Put32(page, format::kHeaderTrailerOffset, format::kHeaderTrailerValue);
  std::memcpy(page.data() + format::kHeaderTrailerOffset + 4, "4.0", 4);
  for (size_t slot = 0; slot < 256; ++slot) {
    page[format::kHeaderCommitTableOffset + 2 * slot] = slot == 0 ? 0x01 : 0x00;
    page[format::kHeaderCommitTableOffset + 2 * slot + 1] = 0x01;
  }
  return page;
}

double Now() {
  using namespace std::chrono;
  const double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
  return std::floor(seconds) / 86400.0 + 25569.0;  // whole seconds, as Access keeps them
}

class Builder {
 public:
  uint32_t Allocate() {
    pages_.emplace_back(format::kPageSize, 0);
    return static_cast<uint32_t>(pages_.size() - 1);
  }
  Page& operator[](uint32_t page) { return pages_.at(page); }
  size_t size() const { return pages_.size(); }
  std::vector<uint8_t> Bytes() const {
    std::vector<uint8_t> out;
    out.reserve(pages_.size() * format::kPageSize);
    for (const auto& page : pages_) out.insert(out.end(), page.begin(), page.end());
    return out;
  }

 private:
  std::vector<Page> pages_;
};

// Builds one index over ROWS (values by column id, at DATA_PAGE row i) into ROOT plus any pages
// it needs beyond; returns the pages used and sets the layout's root and statistics.
std::vector<uint32_t> BuildIndex(Builder& file, TableLayout& table, RealIndexLayout& real,
                                 const std::vector<std::vector<KeyValue>>& rows, uint32_t data_page) {
  std::vector<index::KeyColumn> columns;
  for (auto [id, order] : real.columns) columns.push_back({*index::KeyTypeFromColumnType(static_cast<uint8_t>(table.Column(id).type)), order});
  std::vector<index::Entry> entries;
  for (size_t r = 0; r < rows.size(); ++r) {
    std::vector<KeyValue> values;
    for (auto [id, order] : real.columns) values.push_back(rows[r][id]);
    auto key = index::MakeKey(columns, values, real.flags & format::kIndexFlagIgnoreNulls ? index::NullKeys::Ignore : index::NullKeys::Store);
    if (key) entries.push_back({std::move(*key), data_page, static_cast<uint8_t>(r)});
  }
  index::SortEntries(entries);
  const uint32_t reserved = real.root;
  bool used_reserved = false;
  index::PageSink sink{[&] {
                         if (!used_reserved) {
                           used_reserved = true;
                           return reserved;
                         }
                         return file.Allocate();
                       },
                       [&](uint32_t page, std::span<const uint8_t> bytes) {
                         std::memcpy(file[page].data(), bytes.data(), bytes.size());
                       }};
  index::BuiltTree tree = index::BuildTree(entries, table.tdef_page, sink);
  real.root = tree.root;
  real.distinct_keys = tree.distinct_keys;
  return tree.pages;
}

void WriteNewFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  if (os::IsRegularFile(path) || os::IsDirectory(path)) {
    throw Error(ErrorKind::InvalidArgument, path + ": already exists; a new database is never written over a file");
  }
  const std::string temporary = path + ".new";
  try {
    os::File file = os::File::Open(temporary, os::OpenMode::CreateNew);
    file.WriteAt(0, std::as_bytes(std::span(bytes)));
    file.Sync();
    file.Close();
    if (os::IsRegularFile(path)) {
      throw Error(ErrorKind::InvalidArgument, path + ": appeared while the new database was written");
    }
    os::Rename(temporary, path);
  } catch (...) {
    try {
      if (os::IsRegularFile(temporary)) os::RemoveFile(temporary);
    } catch (...) {
    }
    throw;
  }
}

}  // namespace

void CreateDatabase(const std::string& path, std::span<const TableSchema> tables, const CreateOptions& options) {
  const double now = options.creation_date != 0 ? options.creation_date : Now();
  {
    std::map<std::u16string, std::string> names;
    for (const TableSchema& table : tables) {
      std::u16string folded = Fold(Widen(table.name, "table name"));
      if (folded.rfind(u"MSYS", 0) == 0 || !names.emplace(folded, table.name).second) {
        throw Error(ErrorKind::InvalidArgument, "table " + table.name + ": the name is used twice or reserved");
      }
    }
  }
  Builder file;
  for (uint32_t page = 0; page < kFirstFreePage; ++page) file.Allocate();
  std::vector<TableLayout> system = SystemTableLayouts();

  // User tables: definition page, usage-map page, one root leaf per index.
  std::vector<TableLayout> user;
  std::vector<uint32_t> holders;
  for (const TableSchema& schema : tables) {
    uint32_t tdef = file.Allocate();
    uint32_t holder = file.Allocate();
    std::vector<uint32_t> roots;
    for (size_t i = 0; i < schema.indexes.size(); ++i) roots.push_back(file.Allocate());
    user.push_back(LayOut(schema, tdef, holder, roots));
    holders.push_back(holder);
  }

  // Catalog rows and permissions.
  std::vector<std::vector<KeyValue>> object_rows, ace_rows;
  auto add_object = [&](const CatalogObject& object) {
    std::vector<KeyValue> row(objects::kColumnCount, Null{});
    row[objects::kId] = object.id;
    row[objects::kParentId] = object.parent_id;
    row[objects::kName] = std::u16string(object.name ? object.name : u"");
    row[objects::kType] = object.type;
    row[objects::kDateCreate] = now;
    row[objects::kDateUpdate] = now;
    row[objects::kOwner] = object.owner;
    row[objects::kFlags] = object.flags;
    object_rows.push_back(std::move(row));
  };
  auto add_ace = [&](const AccessEntry& entry) {
    std::vector<KeyValue> row(aces::kColumnCount, Null{});
    row[aces::kObjectId] = entry.object_id;
    row[aces::kSid] = entry.sid;
    row[aces::kAccessMask] = entry.access_mask;
    row[aces::kInheritable] = entry.inheritable;
    ace_rows.push_back(std::move(row));
  };
  for (const CatalogObject& object : SystemObjects()) add_object(object);
  for (const AccessEntry& entry : SystemAccessEntries()) add_ace(entry);
  std::vector<std::u16string> user_names;
  for (const TableLayout& table : user) {
    user_names.push_back(table.name);
    add_object({table.tdef_page, objects::kTablesContainer, objects::kTypeTable, 0, nullptr, DatabaseOwner()});
    object_rows.back()[objects::kName] = table.name;
    for (const AccessEntry& entry : UserTableAccessEntries(table.tdef_page)) add_ace(entry);
  }
  auto fill = [&](TableLayout& table, uint32_t page, const std::vector<std::vector<KeyValue>>& rows) {
    DataPage data(table.tdef_page);
    for (const auto& row : rows) {
      if (data.Add(EncodeRow(table, row)) < 0) {
        throw Error(ErrorKind::NotSupported, "new database: too many tables for one catalog page");
      }
    }
    file[page] = data.bytes();
    table.row_count = static_cast<uint32_t>(rows.size());
  };
  fill(system[0], kObjectsDataPage, object_rows);
  fill(system[1], kAcesDataPage, ace_rows);

  // Indexes: the catalog's over its rows, all others empty.
  std::vector<std::vector<uint32_t>> system_maps = SystemMapPages();
  const uint8_t system_index_rows[4][3] = {{16, 17, 0}, {20, 0, 0}, {25, 0, 0}, {28, 29, 30}};
  for (size_t t = 0; t < system.size(); ++t) {
    const auto& rows = t == 0 ? object_rows : t == 1 ? ace_rows : std::vector<std::vector<KeyValue>>{};
    const uint32_t data_page = t == 0 ? kObjectsDataPage : kAcesDataPage;
    for (size_t i = 0; i < system[t].real_indexes.size(); ++i) {
      system_maps[system_index_rows[t][i]] = BuildIndex(file, system[t], system[t].real_indexes[i], rows, data_page);
    }
  }
  DataPage system_holder(0);
  for (const auto& pages : system_maps) system_holder.Add(UsageMapRow(pages));
  file[kSystemMapPage] = system_holder.bytes();
  for (TableLayout& table : system) file[table.tdef_page] = EncodeTableDefinition(table);

  for (size_t t = 0; t < user.size(); ++t) {
    TableLayout& table = user[t];
    DataPage holder(0);
    holder.Add(UsageMapRow({}));  // owned pages: none until the first row
    holder.Add(UsageMapRow({}));  // pages with free space
    for (RealIndexLayout& real : table.real_indexes) holder.Add(UsageMapRow(BuildIndex(file, table, real, {}, 0)));
    for (size_t k = 0; k < table.long_values.size(); ++k) {
      holder.Add(UsageMapRow({}));
      holder.Add(UsageMapRow({}));
    }
    file[holders[t]] = holder.bytes();
    file[table.tdef_page] = EncodeTableDefinition(table);
  }

  // Page 1: the global map, a set bit meaning a free page (every page past the end).
  if (file.size() > format::kUsageMapInlinePages) {
    throw Error(ErrorKind::NotSupported, "new database: the schema needs more than 512 pages");
  }
  std::vector<uint32_t> free_pages;
  for (uint32_t page = static_cast<uint32_t>(file.size()); page < format::kUsageMapInlinePages; ++page) free_pages.push_back(page);
  DataPage global(1);
  global.Add(UsageMapRow(free_pages));
  global.Add(std::vector<uint8_t>(format::kUsageMapInlineRowSize, 0));
  file[1] = global.bytes();
  file[0] = HeaderPage(now);
  WriteNewFile(path, file.Bytes());
}

}  // namespace qorvane::jet::create
