// Writing: rows added, changed and deleted by the engine in a copy of a fixture read back the
// same through our reader, mdb-reader and mdbtools; commits are atomic. (A database open in
// another program is refused in tests/reliability, a duplicate key's message is in keys_test.)
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <optional>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "jet/format/table_definition.h"
#include "readers.h"
#include "work_files.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;

using test::CopyFixture;
using test::OpenForWriting;

std::string Repeat(const std::string& piece, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

TEST(Writing, AddedChangedAndDeletedRowsReadBackWithEveryReader) {
  TempDir dir;
  std::string path = CopyFixture(dir, "northwind-V2000.mdb");
  const std::vector<std::string> memos = {"", "short note", Repeat("Straße café ", 9), Repeat("line of text\r\n", 360),
                                          Repeat("Ελληνικά 漢字 text ", 1200)};
  std::vector<RowId> added;
  {
    auto database = OpenForWriting(path);
    Table& employees = database->GetTable("Employees");
    std::size_t last = *employees.FindColumn("LastName");
    std::size_t first = *employees.FindColumn("FirstName");
    std::size_t notes = *employees.FindColumn("Notes");
    std::size_t birth = *employees.FindColumn("BirthDate");
    std::size_t city = *employees.FindColumn("City");
    for (std::size_t i = 0; i < memos.size(); ++i) {
      std::vector<Value> row(employees.columns().size());
      row[last] = Value::String("Müller-" + std::to_string(i));
      row[first] = Value::String(i % 2 ? "Zoë" : "Ян");
      row[notes] = Value::String(memos[i]);
      row[birth] = Value::Date(i == 0 ? -400.0 : 20000.5 + i);
      added.push_back(employees.Insert(row));
    }
    // Grow an existing row well past its page room, then shrink another, then delete one.
    RowId first_row = employees.RowIds().front();
    std::vector<Value> grown = employees.ReadRow(first_row);
    grown[notes] = Value::String(Repeat("much longer note ", 300));
    grown[city] = Value::String("Kirkland-on-Sea");
    employees.Update(first_row, grown);
    RowId second_row = employees.RowIds()[1];
    std::vector<Value> shrunk = employees.ReadRow(second_row);
    shrunk[city] = Value::String("X");
    employees.Update(second_row, shrunk);
    employees.Delete(employees.RowIds()[2]);
    database->Commit();
  }
  test::ExpectReadersAgree(path, "Employees");
  auto database = Database::Open(path);
  Table& employees = database->GetTable("Employees");
  EXPECT_EQ(employees.stored_row_count(), 9u + memos.size() - 1);
  for (std::size_t i = 0; i < memos.size(); ++i) {
    EXPECT_EQ(employees.ReadValue(added[i], *employees.FindColumn("Notes")).bytes, memos[i]) << "memo " << i;
  }
  EXPECT_EQ(employees.ReadValue(added[0], *employees.FindColumn("BirthDate")).AsText(), "1898-11-25 00:00:00");
  // Before 1899-12-30 the time of day still counts forward (mdb-reader reads this one wrongly).
  EXPECT_EQ(Value::Date(-1.25).AsText(), "1899-12-29 06:00:00");
  // AutoNumber: the new rows continue after the highest id Access handed out.
  EXPECT_EQ(employees.ReadValue(added[0], *employees.FindColumn("EmployeeID")).integer, 10);
}

TEST(Writing, ManyRowsSpreadOverNewPagesAndGrowTheUsageMaps) {
  TempDir dir;
  std::string path = CopyFixture(dir, "northwind-V2000.mdb");
  {
    auto database = OpenForWriting(path);
    Table& details = database->GetTable("Order Details");
    for (int i = 0; i < 20000; ++i) {
      std::vector<Value> row(details.columns().size());
      row[*details.FindColumn("OrderID")] = Value::Int(100000 + i);
      row[*details.FindColumn("ProductID")] = Value::Int(1 + i % 77);
      row[*details.FindColumn("UnitPrice")] = Value::Real(i * 0.25);
      row[*details.FindColumn("Quantity")] = Value::Int(i % 100);
      row[*details.FindColumn("Discount")] = Value::Real(0.05);
      details.Insert(row);
    }
    database->Commit();
  }
  test::ExpectReadersAgree(path, "Order Details");
  EXPECT_EQ(test::MdbCount(path, "Order Details"), 2155 + 20000);
}

TEST(Writing, CommitIsAtomicAndUncommittedWorkIsDropped) {
  TempDir dir;
  std::string path = CopyFixture(dir, "testV2000.mdb");
  auto original = os::ReadWholeFile(path);
  auto add_row = [](Database& database, const std::string& text) {
    Table& table = database.GetTable("Table1");
    std::vector<Value> row(table.columns().size());
    row[0] = Value::String(text);
    row[6] = Value::Date(40000);
    table.Insert(row);
  };
  {
    auto database = OpenForWriting(path);
    add_row(*database, "never committed");
  }
  EXPECT_EQ(os::ReadWholeFile(path), original);
  EXPECT_EQ(os::ListDirectory(dir.path()), std::vector<std::string>{"office.mdb"});  // no work or lock file
  {
    auto database = OpenForWriting(path);
    add_row(*database, "disk full");
    os::FaultInjection::FailNthSync(1, ENOSPC);
    try {
      database->Commit();
      ADD_FAILURE() << "commit succeeded on a full disk";
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), ErrorKind::DiskFull);
    }
    os::FaultInjection::Reset();
    EXPECT_EQ(os::ReadWholeFile(path), original);
    database->Rollback();
    add_row(*database, "first");
    database->Commit();  // a Stop: what was written so far is kept
    add_row(*database, "second, dropped");
  }
  EXPECT_EQ(test::MdbCount(path, "Table1"), 3);
  test::ExpectReadersAgree(path, "Table1");
}

// The look-up hash grows, drops deleted rows and follows changed keys: every key finds exactly
// its live row, case-blind, and the unique check sees the same.
TEST(Writing, LookUpsFollowInsertsDeletesAndChangedKeys) {
  TempDir dir;
  std::string path = CopyFixture(dir, "northwind-V2000.mdb");
  auto database = OpenForWriting(path);
  Table& customers = database->GetTable("Customers");
  std::size_t id = *customers.FindColumn("CustomerID");
  std::size_t company = *customers.FindColumn("CompanyName");
  auto key = [](const char* prefix, int i) { return prefix + std::to_string(1000 + i); };
  std::vector<RowId> rows;
  for (int i = 0; i < 3000; ++i) {
    std::vector<Value> row(customers.columns().size());
    row[id] = Value::String(key("K", i));
    row[company] = Value::String("Company " + std::to_string(i));
    rows.push_back(customers.Insert(row));
  }
  for (int i = 0; i < 3000; i += 3) customers.Delete(rows[i]);
  for (int i = 1; i < 3000; i += 3) {
    std::vector<Value> row = customers.ReadRow(rows[i]);
    row[id] = Value::String(key("M", i));
    customers.Update(rows[i], row);
  }
  for (int i = 0; i < 3000; ++i) {
    std::vector<RowId> by_old = customers.FindEqual({id}, {Value::String(key("k", i) + "  ")});
    std::vector<RowId> by_new = customers.FindEqual({id}, {Value::String(key("m", i))});
    if (i % 3 == 2) {
      EXPECT_EQ(by_old, std::vector<RowId>{rows[i]}) << i;
    } else {
      EXPECT_TRUE(by_old.empty()) << i;
    }
    EXPECT_EQ(by_new, i % 3 == 1 ? std::vector<RowId>{rows[i]} : std::vector<RowId>{}) << i;
  }
  std::vector<Value> row(customers.columns().size());
  row[id] = Value::String(key("K", 0));  // deleted: free again
  row[company] = Value::String("Again");
  EXPECT_NO_THROW(customers.Insert(row));
  row[id] = Value::String(key("m", 1));  // taken by a changed row
  EXPECT_THROW(customers.Insert(row), Error);
  row[id] = Value::String("TOOLONGKEY");  // CustomerID is Text(5): refused, not cut
  EXPECT_THROW(customers.Insert(row), Error);
  EXPECT_EQ(customers.FindEqual({id}, {Value::String("ALFKI")}).size(), 1u);
  EXPECT_EQ(customers.row_count(), 91u + 2000u + 1u);
}

// Changing some columns of a row: numbers, dates and flags no index reads are written where
// they lie (a null one made present, a present one null), other columns keep their values,
// memos included, and a change to a text or indexed column rewrites the row; every reader
// agrees. FindFirst finds what FindEqual finds, first in table order.
TEST(Writing, ChangedColumnsLeaveTheRestOfTheRowAsItWas) {
  TempDir dir;
  std::string path = CopyFixture(dir, "northwind-V2000.mdb");
  std::vector<std::vector<Value>> before;
  {
    auto database = OpenForWriting(path);
    Table& employees = database->GetTable("Employees");
    std::size_t birth = *employees.FindColumn("BirthDate");
    std::size_t hired = *employees.FindColumn("HireDate");
    std::size_t city = *employees.FindColumn("City");
    std::size_t last = *employees.FindColumn("LastName");
    const std::vector<RowId> rows = employees.RowIds();
    for (RowId row : rows) before.push_back(employees.ReadRow(row));
    employees.UpdateValues(rows[0], {{birth, Value::Date(30000.25)}, {hired, Value::Null()}});
    employees.UpdateValues(rows[1], {{city, Value::String("Tacoma Heights")}, {birth, Value::Date(20000)}});
    employees.UpdateValues(rows[2], {{last, Value::String("Leverling-Smith")}});
    before[0][birth] = Value::Date(30000.25);
    before[0][hired] = Value::Null();
    before[1][city] = Value::String("Tacoma Heights");
    before[1][birth] = Value::Date(20000);
    before[2][last] = Value::String("Leverling-Smith");
    EXPECT_EQ(employees.FindFirst(last, Value::String("leverling-smith  ")), rows[2]);
    EXPECT_EQ(employees.FindFirst(last, Value::String("Leverling")), std::nullopt);
    EXPECT_EQ(employees.FindFirst(city, Value::String("SEATTLE")),
              employees.FindEqual({city}, {Value::String("Seattle")}).front());

    Table& products = database->GetTable("Products");
    std::size_t discontinued = *products.FindColumn("Discontinued");
    std::size_t price = *products.FindColumn("UnitPrice");
    RowId product = products.RowIds().front();
    bool was = products.ReadValue(product, discontinued).AsBool();
    products.UpdateValues(product, {{discontinued, Value::Bool(!was)}, {price, Value::Money(123456)}});
    EXPECT_EQ(products.ReadValue(product, discontinued).AsBool(), !was);
    EXPECT_EQ(products.ReadValue(product, price).integer, 123456);
    database->Commit();
  }
  test::ExpectReadersAgree(path, "Employees");
  test::ExpectReadersAgree(path, "Products");
  auto database = Database::Open(path);
  Table& employees = database->GetTable("Employees");
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_EQ(employees.ReadRow(employees.RowIds()[i]), before[i]) << i;
}

// New AutoNumbers are never a stored id: after the highest id, after an id written explicitly,
// and also when the table's counter lags behind its rows (a damaged counter), where the next
// number would repeat a stored one and the row is refused instead.
TEST(Writing, NewAutoNumbersNeverRepeatAStoredId) {
  TempDir dir;
  std::string path = CopyFixture(dir, "northwind-V2000.mdb");
  auto add = [](Table& employees, std::optional<std::int32_t> id) {
    std::vector<Value> row(employees.columns().size());
    if (id) row[*employees.FindColumn("EmployeeID")] = Value::Int(*id);
    row[*employees.FindColumn("LastName")] = Value::String("Added");
    row[*employees.FindColumn("FirstName")] = Value::String(id ? std::to_string(*id) : "new");
    RowId added = employees.Insert(row);
    return employees.ReadValue(added, *employees.FindColumn("EmployeeID")).integer;
  };
  std::uint32_t definition_page = 0;
  {
    auto database = OpenForWriting(path);
    Table& employees = database->GetTable("Employees");
    definition_page = employees.definition_page();
    EXPECT_EQ(add(employees, std::nullopt), 10);
    EXPECT_EQ(add(employees, 50), 50);
    EXPECT_EQ(add(employees, std::nullopt), 51);
    EXPECT_THROW(add(employees, 10), Error);
    database->Commit();
  }
  test::ExpectReadersAgree(path, "Employees");
  EXPECT_NO_THROW(test::ExpectIndexesMatchRows(path, "Employees"));

  // The counter set back to 5: the next number, 6, is stored already.
  {
    os::File file = os::File::Open(path, os::OpenMode::ReadWrite);
    std::array<std::byte, 4> counter{std::byte{5}, std::byte{0}, std::byte{0}, std::byte{0}};
    file.WriteAt(std::uint64_t{definition_page} * 4096 + format::kTdefAutoNumberOffset, counter);
  }
  auto database = OpenForWriting(path);
  Table& employees = database->GetTable("Employees");
  try {
    add(employees, std::nullopt);
    ADD_FAILURE() << "a stored id was handed out again";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::Constraint);
    EXPECT_NE(std::string(error.what()).find("PrimaryKey"), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find("'6'"), std::string::npos) << error.what();
  }
  EXPECT_EQ(employees.row_count(), 9u + 3u);
}

}  // namespace
}  // namespace qorvane::jet
