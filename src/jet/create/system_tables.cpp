// Facts of the system tables of a blank Jet 4 database: column descriptors in the order the
// engine stores them (by name), their usage-map rows on page 6, index definitions, the catalog
// objects (containers, the database object, the system tables) and their permission entries.
#include "jet/create/system_tables.h"

#include "jet/format/pages.h"
#include "jet/format/table_definition.h"

namespace qorvane::jet::create {
namespace {

using index::SortOrder;

constexpr uint8_t kFixedSystem = 0x13;     // fixed, updatable, system column
constexpr uint8_t kVariableSystem = 0x12;  // variable, updatable, system column
constexpr uint8_t kSidSystem = 0x32;       // variable binary account column

ColumnLayout Fixed(const char16_t* name, jet::ColumnType type, uint16_t id, uint16_t slot, uint16_t offset,
                   uint16_t length) {
  return {name, type, id, slot, 0, kFixedSystem, 0, offset, length};
}
ColumnLayout Variable(const char16_t* name, jet::ColumnType type, uint16_t id, uint16_t slot,
                      uint16_t length, uint8_t flags = kVariableSystem) {
  return {name, type, id, slot, 0, flags, 0, 0, length};
}
constexpr uint32_t Map(uint8_t row) { return MapPointer(kSystemMapPage, row); }
constexpr jet::ColumnType kLong = jet::ColumnType::Long, kInteger = jet::ColumnType::Integer,
                          kByte = jet::ColumnType::Byte, kBoolean = jet::ColumnType::Boolean,
                          kDate = jet::ColumnType::DateTime, kText = jet::ColumnType::Text,
                          kBinary = jet::ColumnType::Binary, kMemo = jet::ColumnType::Memo, kOle = jet::ColumnType::Ole;

}  // namespace

std::vector<TableLayout> SystemTableLayouts() {
  std::vector<TableLayout> tables(4);
  TableLayout& objects = tables[0];
  objects.name = u"MSysObjects";
  objects.tdef_page = kObjectsTdefPage;
  objects.table_type = format::kTableTypeSystem;
  objects.max_columns = 17;
  objects.variable_columns = 11;
  objects.owned_map = Map(0);
  objects.free_map = Map(1);
  objects.columns = {
      Variable(u"Connect", kMemo, 9, 3, 0),           Variable(u"Database", kMemo, 8, 2, 0),
      Fixed(u"DateCreate", kDate, 4, 1, 10, 8),       Fixed(u"DateUpdate", kDate, 5, 1, 18, 8),
      Fixed(u"Flags", kLong, 7, 2, 26, 4),            Variable(u"ForeignName", kText, 10, 4, 510),
      Fixed(u"Id", kLong, 0, 0, 0, 4),                Variable(u"Lv", kOle, 13, 7, 0),
      Variable(u"LvExtra", kOle, 16, 10, 0),          Variable(u"LvModule", kOle, 15, 9, 0),
      Variable(u"LvProp", kOle, 14, 8, 0),            Variable(u"Name", kText, 2, 0, 510),
      Variable(u"Owner", kBinary, 6, 1, 510, kSidSystem), Fixed(u"ParentId", kLong, 1, 0, 4, 4),
      Variable(u"RmtInfoLong", kOle, 12, 6, 0),       Variable(u"RmtInfoShort", kBinary, 11, 5, 510),
      Fixed(u"Type", kInteger, 3, 1, 8, 2),
  };
  objects.real_indexes = {
      {{{1, SortOrder::Ascending}, {2, SortOrder::Ascending}}, Map(16), 7, 0x81, 0},
      {{{0, SortOrder::Ascending}}, Map(17), 8, 0x81, 0},
  };
  objects.logical_indexes = {{1, 1, 1, u"Id"}, {0, 0, 0, u"ParentIdName"}};
  objects.long_values = {{9, Map(4), Map(5)},   {8, Map(2), Map(3)},   {16, Map(8), Map(9)},
                         {15, Map(14), Map(15)}, {14, Map(12), Map(13)}, {13, Map(10), Map(11)},
                         {12, Map(6), Map(7)}};

  TableLayout& aces = tables[1];
  aces.name = u"MSysACEs";
  aces.tdef_page = kAcesTdefPage;
  aces.table_type = format::kTableTypeSystem;
  aces.max_columns = 4;
  aces.variable_columns = 1;
  aces.owned_map = Map(18);
  aces.free_map = Map(19);
  aces.columns = {Fixed(u"ACM", kLong, 2, 1, 4, 4), Fixed(u"FInheritable", kBoolean, 3, 1, 0, 1),
                  Fixed(u"ObjectId", kLong, 0, 0, 0, 4), Variable(u"SID", kBinary, 1, 0, 510, kSidSystem)};
  aces.real_indexes = {{{{0, SortOrder::Ascending}}, Map(20), 9, 0x88, 0}};
  aces.logical_indexes = {{0, 0, 0, u"ObjectId"}};

  TableLayout& queries = tables[2];
  queries.name = u"MSysQueries";
  queries.tdef_page = kQueriesTdefPage;
  queries.table_type = format::kTableTypeSystem;
  queries.max_columns = 8;
  queries.variable_columns = 4;
  queries.owned_map = Map(21);
  queries.free_map = Map(22);
  queries.columns = {Fixed(u"Attribute", kByte, 1, 0, 4, 1), Variable(u"Expression", kMemo, 5, 3, 0),
                     Fixed(u"Flag", kInteger, 6, 4, 5, 2),   Fixed(u"LvExtra", kLong, 7, 4, 7, 4),
                     Variable(u"Name1", kText, 3, 1, 510),   Variable(u"Name2", kText, 4, 2, 510),
                     Fixed(u"ObjectId", kLong, 0, 0, 0, 4),  Variable(u"Order", kBinary, 2, 0, 510)};
  queries.real_indexes = {
      {{{0, SortOrder::Ascending}, {1, SortOrder::Ascending}, {2, SortOrder::Ascending}}, Map(25), 10, 0x81, 0}};
  queries.logical_indexes = {{0, 0, 1, u"ObjectIdAttribute"}};
  queries.long_values = {{5, Map(23), Map(24)}};

  TableLayout& relationships = tables[3];
  relationships.name = u"MSysRelationships";
  relationships.tdef_page = kRelationshipsTdefPage;
  relationships.table_type = format::kTableTypeSystem;
  relationships.max_columns = 8;
  relationships.variable_columns = 5;
  relationships.owned_map = Map(26);
  relationships.free_map = Map(27);
  relationships.columns = {
      Fixed(u"ccolumn", kLong, 2, 1, 4, 4),        Fixed(u"grbit", kLong, 1, 1, 0, 4),
      Fixed(u"icolumn", kLong, 3, 1, 8, 4),        Variable(u"szColumn", kText, 5, 2, 510),
      Variable(u"szObject", kText, 4, 1, 510),     Variable(u"szReferencedColumn", kText, 7, 4, 510),
      Variable(u"szReferencedObject", kText, 6, 3, 510), Variable(u"szRelationship", kText, 0, 0, 510)};
  relationships.real_indexes = {{{{0, SortOrder::Ascending}}, Map(28), 11, 0x82, 0},
                                {{{4, SortOrder::Ascending}}, Map(29), 12, 0x82, 0},
                                {{{6, SortOrder::Ascending}}, Map(30), 13, 0x82, 0}};
  relationships.logical_indexes = {{1, 1, 0, u"szObject"}, {2, 2, 0, u"szReferencedObject"},
                                   {0, 0, 0, u"szRelationship"}};
  return tables;
}

std::vector<std::vector<uint32_t>> SystemMapPages() {
  std::vector<std::vector<uint32_t>> rows(kSystemMapRows);
  rows[0] = rows[1] = {kObjectsDataPage};
  rows[16] = {7};
  rows[17] = {8};
  rows[18] = rows[19] = {kAcesDataPage};
  rows[20] = {9};
  rows[25] = {10};
  rows[28] = {11};
  rows[29] = {12};
  rows[30] = {13};
  return rows;
}

namespace {
// Accounts of the default workgroup as a blank database lists them (two-byte ids).
const std::vector<uint8_t> kAdmins = {0x64, 0x8B};   // owner of the database object
const std::vector<uint8_t> kUsers = {0x65, 0x8B};
const std::vector<uint8_t> kCreator = {0x65, 0x8E};
const std::vector<uint8_t> kEngine = {0x65, 0x89};   // owner of containers and system tables
}  // namespace

std::vector<CatalogObject> SystemObjects() {
  using namespace objects;
  return {
      {kTablesContainer, kRootContainer, kTypeContainer, kSystemFlags, u"Tables", kEngine},
      {kDatabasesContainer, kRootContainer, kTypeContainer, kSystemFlags, u"Databases", kEngine},
      {kRelationshipsContainer, kRootContainer, kTypeContainer, kSystemFlags, u"Relationships", kEngine},
      {kDatabaseObject, kDatabasesContainer, kTypeDatabase, kSystemFlags, u"MSysDb", kAdmins},
      {kObjectsTdefPage, kTablesContainer, kTypeTable, kSystemFlags, u"MSysObjects", kEngine},
      {kAcesTdefPage, kTablesContainer, kTypeTable, kSystemFlags, u"MSysACEs", kEngine},
      {kQueriesTdefPage, kTablesContainer, kTypeTable, kSystemFlags, u"MSysQueries", kEngine},
      {kRelationshipsTdefPage, kTablesContainer, kTypeTable, kSystemFlags, u"MSysRelationships", kEngine},
  };
}

std::vector<AccessEntry> SystemAccessEntries() {
  using namespace objects;
  return {
      {2, kAdmins, 0x60000, false},          {3, kAdmins, 0x60000, false},
      {4, kAdmins, 0x60000, false},          {5, kAdmins, 0xE0000, false},
      {kTablesContainer, kCreator, 0xF00FE, true}, {kTablesContainer, kAdmins, 0x60001, false},
      {kRelationshipsContainer, kCreator, 0xF00FE, true}, {kRelationshipsContainer, kAdmins, 0x60001, false},
      {kDatabasesContainer, kAdmins, 0x60000, false}, {kDatabaseObject, kAdmins, 0x6000E, false},
      {kDatabaseObject, kUsers, 14, false},  {4, kUsers, 20, false},
      {5, kUsers, 20, false},                {2, kUsers, 20, false},
      {kTablesContainer, kUsers, 0xFFEFF, true}, {kRelationshipsContainer, kUsers, 0xFFFFF, true},
  };
}

std::vector<uint8_t> DatabaseOwner() { return kAdmins; }

std::vector<AccessEntry> UserTableAccessEntries(int64_t table_id) {
  return {{table_id, kCreator, 0xFFFFF, false}, {table_id, kAdmins, 0xFFFFF, false},
          {table_id, kUsers, 0xFFFFF, false}};
}

}  // namespace qorvane::jet::create
