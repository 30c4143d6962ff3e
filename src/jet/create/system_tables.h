// The four system tables of a new Jet 4 database (MSysObjects, MSysACEs, MSysQueries,
// MSysRelationships) as the engine lays them out in a blank file: their definitions on pages
// 2..5, their usage maps on page 6, index roots on pages 7..13, and the catalog rows and
// permission entries of the objects every database has (internal to the creator).
#pragma once

#include <cstdint>
#include <vector>

#include "jet/create/table_layout.h"

namespace qorvane::jet::create {

// Fixed pages of the blank layout.
constexpr uint32_t kObjectsTdefPage = 2, kAcesTdefPage = 3, kQueriesTdefPage = 4,
                   kRelationshipsTdefPage = 5, kSystemMapPage = 6, kObjectsDataPage = 14,
                   kAcesDataPage = 15, kFirstFreePage = 16;
constexpr uint8_t kSystemMapRows = 31;  // rows of page 6

// Column ids of the system tables' columns the creator fills.
namespace objects {
constexpr uint16_t kId = 0, kParentId = 1, kName = 2, kType = 3, kDateCreate = 4, kDateUpdate = 5,
                   kOwner = 6, kFlags = 7, kColumnCount = 17;
constexpr int64_t kTablesContainer = 0x0F000001, kDatabasesContainer = 0x0F000002,
                  kRelationshipsContainer = 0x0F000003, kRootContainer = 0x0F000000,
                  kDatabaseObject = 0x10000000;
constexpr int64_t kTypeTable = 1, kTypeDatabase = 2, kTypeContainer = 3;
constexpr int64_t kSystemFlags = static_cast<int32_t>(0x80000000);
}  // namespace objects
namespace aces {
constexpr uint16_t kObjectId = 0, kSid = 1, kAccessMask = 2, kInheritable = 3, kColumnCount = 4;
}

// The four definitions, each with its maps on page 6 and its index roots in place.
std::vector<TableLayout> SystemTableLayouts();

// Which rows of page 6 hold which maps: the pages each row starts with (data and index roots).
std::vector<std::vector<uint32_t>> SystemMapPages();

struct CatalogObject {
  int64_t id, parent_id, type, flags;
  const char16_t* name;
  std::vector<uint8_t> owner;
};
std::vector<CatalogObject> SystemObjects();

struct AccessEntry {
  int64_t object_id;
  std::vector<uint8_t> sid;
  int64_t access_mask;
  bool inheritable;
};
std::vector<AccessEntry> SystemAccessEntries();

// The owner of new user tables (the database object's owner) and the entries a new table gets:
// every account that holds rights on the Tables container, with full rights.
std::vector<uint8_t> DatabaseOwner();
std::vector<AccessEntry> UserTableAccessEntries(int64_t table_id);

}  // namespace qorvane::jet::create
