// Space in the file: the free-page map on page 1 grows with the file and records every page,
// pages the engine gives back (old index pages at a rebuild, long values replaced or deleted)
// are taken again, and a new office database written, changed and deleted over three
// open-write-commit cycles with a page cache of a few pages (which then bound the memory the
// engine keeps) reads the same in our reader, mdb-reader and mdb-export.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "common/os.h"
#include "common/utf8.h"
#include "jet/database.h"
#include "readers.h"
#include "test_support/mdb_export.h"
#include "work_files.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;
constexpr std::uint64_t kPage = 4096;

using test::NewOffice;
using test::OpenForWriting;

std::uint64_t FileSize(const std::string& path) { return std::filesystem::file_size(path); }

// The checker passes the file, finds every page of it in the free-page map on page 1 and no
// page that is neither used nor free.
void ExpectJetcheckPasses(const std::string& path) {
  std::string report;
  EXPECT_TRUE(test::Jetcheck(path, &report)) << report;
  EXPECT_NE(report.find("PASS usage.global"), std::string::npos) << report;
  EXPECT_NE(report.find(" 0 unreferenced but not free"), std::string::npos) << report;
}

std::string Padded(const std::string& text, std::size_t length) {
  std::string padded = text;
  while (padded.size() < length) padded += padded.empty() ? "x" : padded.substr(0, length - padded.size());
  return padded;
}

TEST(Space, FreePageMapGrowsWithTheFileAndFreedIndexPagesAreTakenAgain) {
  TempDir dir;
  std::string path = NewOffice(dir);
  constexpr int kRows = 4000;
  auto set_keys = [&](bool long_keys) {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    std::size_t file_number = *property.FindColumn("FileNumber"), client = *property.FindColumn("Client");
    for (RowId row : std::vector<RowId>(property.RowIds())) {
      std::vector<Value> values = property.ReadRow(row);
      std::string id = std::to_string(values[0].integer);
      values[file_number] = Value::String(long_keys ? Padded(id + "-", 10) : id.substr(0, 1));
      values[client] = Value::String(long_keys ? Padded("Client " + id + " ", 40) : id.substr(0, 1));
      property.Update(row, values);
    }
    database->Commit();
  };
  {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    for (int i = 0; i < kRows; ++i) {
      std::vector<Value> row(property.columns().size());
      row[*property.FindColumn("Address")] = Value::String(Padded(std::to_string(i) + " Main Street ", 50));
      row[*property.FindColumn("Owner")] = Value::String(Padded("Owner " + std::to_string(i) + " ", 50));
      row[*property.FindColumn("Legal")] = Value::String(Padded("Lot " + std::to_string(i) + " of block ", 200));
      property.Insert(row);
    }
    database->Commit();
  }
  set_keys(true);
  std::uint64_t pages = FileSize(path) / kPage;
  ASSERT_GT(pages, 600u) << "the file must outgrow the 512 pages of a fresh map";
  ExpectJetcheckPasses(path);

  // Short keys free most index pages; the long keys back take them again, every time.
  std::uint64_t size = FileSize(path);
  for (int cycle = 0; cycle < 3; ++cycle) {
    set_keys(false);
    EXPECT_LT(FileSize(path), size + 8 * kPage) << "cycle " << cycle;
    set_keys(true);
    EXPECT_EQ(FileSize(path), size) << "cycle " << cycle;
  }
  ExpectJetcheckPasses(path);
  test::ExpectReadersAgree(path, "Property");
  test::ExpectIndexesMatchRows(path, "Property");
}

TEST(Space, ReplacedAndDeletedMemosGiveTheirPagesBack) {
  TempDir dir;
  std::string path = NewOffice(dir);
  constexpr std::size_t kLength = 100000;
  auto memo = [](int k) { return Padded("Note " + std::to_string(k) + " on the appraisal. ", kLength); };
  std::size_t notes = 0;
  {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    notes = *property.FindColumn("GeneralNotes");
    std::vector<Value> row(property.columns().size());
    row[*property.FindColumn("FileNumber")] = Value::String("F1");
    row[notes] = Value::String(memo(0));
    property.Insert(row);
    database->Commit();
  }
  std::uint64_t first = FileSize(path);
  // At most one more copy of the memo (stored as two bytes a character) is ever needed.
  std::uint64_t bound = first + 2 * kLength + 8 * kPage;
  auto change = [&](int k) {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    RowId row = property.RowIds().at(0);
    std::vector<Value> values = property.ReadRow(row);
    values[notes] = Value::String(memo(k));
    property.Update(row, values);
    database->Commit();
  };
  for (int k = 1; k <= 10; ++k) change(k);
  EXPECT_LE(FileSize(path), bound) << "ten updates, one commit each";
  {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    for (int k = 11; k <= 20; ++k) {
      RowId row = property.RowIds().at(0);
      std::vector<Value> values = property.ReadRow(row);
      values[notes] = Value::String(memo(k));
      property.Update(row, values);
    }
    database->Commit();
  }
  EXPECT_LE(FileSize(path), bound) << "ten updates in one commit";
  for (int round = 0; round < 5; ++round) {
    auto database = OpenForWriting(path);
    Table& property = database->GetTable("Property");
    std::vector<Value> values = property.ReadRow(property.RowIds().at(0));
    property.Delete(property.RowIds().at(0));
    values[0] = Value::Null();
    values[notes] = Value::String(memo(30 + round));
    property.Insert(values);
    database->Commit();
  }
  EXPECT_LE(FileSize(path), bound) << "deleted and added again";
  test::ReadTable read = test::ReadWithMdbReader(path, "Property");
  ASSERT_EQ(read.rows.size(), 1u);
  EXPECT_EQ(read.rows[0][notes], memo(34));
  ExpectJetcheckPasses(path);
  test::ExpectReadersAgree(path, "Property");
}

TEST(Space, ASecondConversionOverwritingEveryRowDoesNotDoubleTheFile) {
  TempDir dir;
  std::string path = NewOffice(dir);
  constexpr int kRows = 600;
  const std::size_t kLengths[] = {20, 300, 2000, 6000};  // inline, single page (x2), chained
  auto convert = [&](int run) {
    auto database = OpenForWriting(path);
    Table& invoice = database->GetTable("Invoice");
    std::size_t file_number = *invoice.FindColumn("FileNumber"), detail = *invoice.FindColumn("Detail");
    std::size_t amount = *invoice.FindColumn("InvoiceAmount");
    std::vector<RowId> rows = invoice.RowIds();
    for (int i = 0; i < kRows; ++i) {
      std::vector<Value> values(invoice.columns().size());
      values[file_number] = Value::String("F" + std::to_string(i));
      values[detail] = Value::String(Padded("Run " + std::to_string(run) + " detail " + std::to_string(i) + "; ",
                                            kLengths[i % 4]));
      values[amount] = Value::Float(static_cast<float>(i) * 0.25f + static_cast<float>(run));
      if (rows.empty()) {
        invoice.Insert(values);
      } else {
        values[0] = invoice.ReadValue(rows[i], 0);
        invoice.Update(rows[i], values);
      }
    }
    database->Commit();
  };
  convert(0);
  std::uint64_t first = FileSize(path);
  convert(1);
  EXPECT_LT(FileSize(path), first + first / 8) << "first run " << first;
  convert(2);
  EXPECT_LT(FileSize(path), first + first / 8) << "first run " << first;
  ExpectJetcheckPasses(path);
  test::ExpectReadersAgree(path, "Invoice");
}

// ---- the whole office database over three write cycles ----

// Random rows for the tables of the office schema, and what every reader must read back.
class OfficeWorkload {
 public:
  explicit OfficeWorkload(Database& database) : database_(&database) {}
  void set_database(Database& database) { database_ = &database; }

  // Rows of the live set by table, ID -> expected cells in the dump script's forms.
  std::map<std::string, std::map<std::string, std::vector<test::Cell>>> expected;

  void Insert(std::mt19937& random, const std::string& name) {
    Table& table = database_->GetTable(name);
    std::vector<Value> values = RandomRow(random, table, ++last_id_[name]);
    RowId row = table.Insert(values);
    values[0] = Value::Int(last_id_[name]);
    Remember(table, row, values);
  }
  void Update(std::mt19937& random, const std::string& name) {
    auto& rows = live_[name];
    if (rows.empty()) return;
    Table& table = database_->GetTable(name);
    std::size_t pick = random() % rows.size();
    std::int64_t id = rows[pick].first;
    std::vector<Value> values = RandomRow(random, table, id);
    values[0] = Value::Int(id);
    table.Update(rows[pick].second, values);
    expected[name][std::to_string(id)] = Cells(table, values);
  }
  void Delete(std::mt19937& random, const std::string& name) {
    auto& rows = live_[name];
    if (rows.empty()) return;
    std::size_t pick = random() % rows.size();
    database_->GetTable(name).Delete(rows[pick].second);
    expected[name].erase(std::to_string(rows[pick].first));
    rows[pick] = rows.back();
    rows.pop_back();
  }

 private:
  static std::string Text(std::mt19937& random, std::size_t max_length) {
    static const char* const kWords[] = {"Main", "Oak", "Street", "Appraisal", "Müller", "Société", "Zürich",
                                         "lot", "block", "North", "ÉTÉ", "O'Neil", "2nd", "Avenue", "review"};
    std::string text;
    std::size_t length = 1 + random() % max_length;
    while (Utf8ToUtf16(text).size() < length) {
      if (!text.empty()) text += ' ';
      text += kWords[random() % std::size(kWords)];
    }
    std::u16string wide = Utf8ToUtf16(text);
    wide.resize(length);
    while (!wide.empty() && wide.back() == u' ') wide.pop_back();
    return wide.empty() ? "x" : Utf16ToUtf8(wide);
  }

  std::vector<Value> RandomRow(std::mt19937& random, Table& table, std::int64_t id) {
    std::vector<Value> values(table.columns().size());
    for (std::size_t c = 1; c < values.size(); ++c) {
      const ColumnDefinition& column = table.columns()[c];
      if (column.type != ColumnType::Boolean && random() % 8 == 0) continue;  // null
      switch (column.type) {
        case ColumnType::Text: {
          std::size_t chars = column.length / 2;
          // Unique indexes hold the ID itself.
          values[c] = Value::String(table.name() == "Appraiser" && column.name == "Appraiser"
                                        ? "Appraiser " + std::to_string(id)
                                        : Text(random, std::min<std::size_t>(chars, 40)));
          break;
        }
        case ColumnType::Memo: {
          std::uint32_t roll = random() % 100;
          std::size_t length = roll < 60 ? 40 : roll < 95 ? 400 : roll < 99 ? 3000 : 9000;
          values[c] = Value::String(Text(random, length));
          break;
        }
        case ColumnType::Single: values[c] = Value::Float(static_cast<float>(random() % 400000) / 4); break;
        case ColumnType::DateTime:
          values[c] = Value::Date(OleDateFromParts(static_cast<int>(1990 + random() % 35), static_cast<int>(1 + random() % 12),
                                                   static_cast<int>(1 + random() % 28),
                                                   static_cast<int>(random() % 24), static_cast<int>(random() % 60),
                                                   static_cast<int>(random() % 60)));
          break;
        case ColumnType::Boolean: values[c] = Value::Bool(random() % 2); break;
        default: break;
      }
    }
    return values;
  }

  static std::vector<test::Cell> Cells(Table& table, const std::vector<Value>& values) {
    std::vector<test::Cell> cells;
    for (std::size_t c = 0; c < values.size(); ++c) cells.push_back(test::ScriptForm(table.columns()[c], values[c]));
    return cells;
  }
  void Remember(Table& table, RowId row, const std::vector<Value>& values) {
    live_[table.name()].emplace_back(values[0].integer, row);
    expected[table.name()][std::to_string(values[0].integer)] = Cells(table, values);
  }

  Database* database_;
  std::map<std::string, std::int64_t> last_id_;
  std::map<std::string, std::vector<std::pair<std::int64_t, RowId>>> live_;
};

// One reader's rows of one table, checked as they come against the rows written (by their ID,
// the first column), so that a large table is never held whole; a few differences are shown.
class RowCheck {
 public:
  RowCheck(std::string reader, std::string table, const std::map<std::string, std::vector<test::Cell>>& expected)
      : reader_(std::move(reader)), table_(std::move(table)), expected_(expected) {}
  ~RowCheck() { EXPECT_EQ(seen_, expected_.size()) << reader_ << " " << table_ << ": rows read"; }

  void Check(const std::vector<std::string>& columns, const std::vector<test::Cell>& row) {
    ++seen_;
    auto found = row.empty() || !row[0] ? expected_.end() : expected_.find(*row[0]);
    if (found == expected_.end()) {
      if (shown_++ < 5) ADD_FAILURE() << reader_ << " " << table_ << ": unexpected row " << row[0].value_or("NULL");
      return;
    }
    for (std::size_t c = 0; c < row.size() && c < found->second.size(); ++c) {
      if (test::SameCell(row[c], found->second[c]) || shown_ >= 5) continue;
      ++shown_;
      std::string got = row[c].value_or("NULL"), want = found->second[c].value_or("NULL");
      std::size_t from = std::mismatch(got.begin(), got.begin() + std::min(got.size(), want.size()), want.begin()).first -
                         got.begin();
      ADD_FAILURE() << reader_ << " " << table_ << " ID " << found->first << " column "
                    << (c < columns.size() ? columns[c] : std::to_string(c)) << ": read " << got.size()
                    << " bytes, written " << want.size() << ", from byte " << from << " read \"" << got.substr(from, 40)
                    << "\", written \"" << want.substr(from, 40) << "\"";
    }
  }

 private:
  std::string reader_, table_;
  const std::map<std::string, std::vector<test::Cell>>& expected_;
  std::size_t seen_ = 0;
  int shown_ = 0;
};

// Every row of TABLE in our reader, mdb-reader (a chunk at a time) and mdb-export, against EXPECTED.
void ExpectEveryReaderReads(const std::string& path, const std::string& name,
                            const std::map<std::string, std::vector<test::Cell>>& expected) {
  {
    RowCheck check("engine", name, expected);
    auto database = Database::Open(path);
    Table& table = database->GetTable(name);
    std::vector<std::string> columns;
    for (const auto& column : table.columns()) columns.push_back(column.name);
    std::vector<test::Cell> cells;
    for (RowId row : table.RowIds()) {
      std::vector<Value> values = table.ReadRow(row);
      cells.clear();
      for (std::size_t c = 0; c < values.size(); ++c) cells.push_back(test::ScriptForm(table.columns()[c], values[c]));
      check.Check(columns, cells);
    }
    EXPECT_EQ(table.stored_row_count(), expected.size()) << name;
  }
  {
    RowCheck check("mdb-reader", name, expected);
    constexpr long kChunk = 25000;
    for (long offset = 0;; offset += kChunk) {
      test::ReadTable read = test::ReadWithMdbReader(path, name, offset, kChunk);
      if (offset == 0) {
        EXPECT_EQ(read.row_count, static_cast<long>(expected.size())) << name;
      }
      for (const auto& row : read.rows) check.Check(read.columns, row);
      if (static_cast<long>(read.rows.size()) < kChunk) break;
    }
  }
  RowCheck check("mdb-export", name, expected);
  qorvane::test::ForEachMdbExportRow(path, name, test::kMdbDateOptions,
                                     [&](const std::vector<std::string>& columns, std::vector<test::Cell>& row) {
                                       check.Check(columns, row);
                                     });
}

const std::vector<std::string> kWorkloadTables = {"Property", "Invoice", "Assigned", "Client",
                                                  "ClientContact", "AppraiserFee", "Appraiser"};

// TOTAL rows inserted, changed and deleted at random over the tables of the office schema in
// three open-write-commit cycles, each database opened with CACHE_PAGES; AFTER_EACH is called
// with the database after every row operation and every commit.
OfficeWorkload WriteThreeCycles(const std::string& path, long total, std::size_t cache_pages,
                                const std::function<void(Database&)>& after_each) {
  std::discrete_distribution<std::size_t> pick_table({35, 25, 20, 8, 6, 4, 2});
  std::mt19937 random(20240611);
  // Share of the rows inserted, and updates and deletes as shares of all rows, per cycle.
  const double kInserts[] = {0.5, 0.3, 0.2}, kUpdates[] = {0.0, 0.1, 0.1}, kDeletes[] = {0.0, 0.05, 0.05};
  std::unique_ptr<Database> database = OpenForWriting(path, {.cache_pages = cache_pages});
  OfficeWorkload workload(*database);
  for (int cycle = 0; cycle < 3; ++cycle) {
    if (cycle > 0) {
      database.reset();
      database = OpenForWriting(path, {.cache_pages = cache_pages});
      workload.set_database(*database);
    }
    long inserts = static_cast<long>(total * kInserts[cycle]), updates = static_cast<long>(total * kUpdates[cycle]),
         deletes = static_cast<long>(total * kDeletes[cycle]);
    long operations = inserts + updates + deletes;
    for (long k = 0; k < operations; ++k) {
      const std::string& table = kWorkloadTables[pick_table(random)];
      long roll = static_cast<long>(random() % operations);
      if (roll < inserts) {
        workload.Insert(random, table);
      } else if (roll < inserts + updates) {
        workload.Update(random, table);
      } else {
        workload.Delete(random, table);
      }
      after_each(*database);
    }
    database->Commit();
    after_each(*database);
  }
  return workload;
}

// Every table's indexes hold exactly its rows and every reader reads the rows written.
void ExpectWorkloadReadsBack(const std::string& path, OfficeWorkload& workload) {
  for (const std::string& table : kWorkloadTables) {
    SCOPED_TRACE(table);
    test::ExpectIndexesMatchRows(path, table);
    ExpectEveryReaderReads(path, table, workload.expected[table]);
  }
}

// A new office database written, changed and deleted over three open-write-commit cycles with
// a cache of a few pages reads the same in every reader. Every row operation, every look-up, a
// whole-table read and the commit's index rebuild leave at most the limit plus the pages of one
// row in memory. QORVANE_LARGE=1 writes 600,000 rows with the usual cache instead.
TEST(Space, NewOfficeDatabaseReadsTheSameAfterThreeWriteCyclesAndASmallCacheBoundsMemory) {
  const char* large_run = std::getenv("QORVANE_LARGE");
  const bool large = large_run && std::string(large_run) == "1";
  const std::size_t cache = large ? DatabaseOptions{}.cache_pages : 8;
  constexpr std::size_t kOneRow = 16;  // a row, its long values and the maps it changes
  TempDir dir;
  std::string path = NewOffice(dir);
  std::size_t most = 0;
  auto started = std::chrono::steady_clock::now();
  OfficeWorkload workload = WriteThreeCycles(path, large ? 600000 : 6000, cache, [&](Database& database) {
    most = std::max(most, database.cached_pages());
  });
  std::chrono::duration<double> writing = std::chrono::steady_clock::now() - started;
  std::printf("office.mdb: written in %.1f s over three commits, %.1f MB\n", writing.count(),
              static_cast<double>(FileSize(path)) / 1e6);
  if (!large) {
    EXPECT_LE(most, cache + kOneRow);
    auto database = Database::Open(path, {.cache_pages = cache});
    Table& property = database->GetTable("Property");
    std::size_t read = 0;
    most = 0;
    for (RowId row : property.RowIds()) {
      property.ReadRow(row);
      ++read;
      most = std::max(most, database->cached_pages());
    }
    EXPECT_EQ(read, workload.expected["Property"].size());
    EXPECT_LE(most, cache + kOneRow) << "a read-only scan kept its pages";
    property.FindEqual({*property.FindColumn("FileNumber")}, {Value::String("no such file")});
    EXPECT_LE(database->cached_pages(), cache + kOneRow) << "a look-up's hash build kept its pages";
    ExpectJetcheckPasses(path);
  }
  ExpectWorkloadReadsBack(path, workload);
}

}  // namespace
}  // namespace qorvane::jet
