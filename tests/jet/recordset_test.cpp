// Record sets over the SQL shapes the converters send: keyed selects, ORDER BY, where 1=2,
// Find, AddNew/Update/Delete with their edit modes, and bulk DELETE statements, with names and
// text compared without regard to case.
#include <gtest/gtest.h>

#include "common/error.h"
#include "common/os.h"
#include "jet/recordset.h"
#include "test_support/temp_dir.h"
#include "work_files.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;

class RecordsetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = test::CopyFixture(dir_, "northwind-V2000.mdb");
    database_ = test::OpenForWriting(path_);
  }
  TempDir dir_;
  std::string path_;
  std::unique_ptr<Database> database_;
};

TEST_F(RecordsetTest, KeyedSelectsAreCaseBlindAndSeeOnlyTheirRows) {
  Recordset one(*database_, "Select * from CUSTOMERS where customerid='alfki'");
  ASSERT_FALSE(one.eof());
  EXPECT_EQ(one.RecordCount(), 1u);
  EXPECT_EQ(one.Get("CompanyName").AsText(), "Robert E. Rees");
  one.MoveNext();
  EXPECT_TRUE(one.eof());

  Recordset several(*database_, "Select OrderID from [Order Details] where ProductID=11 AND Quantity>=20");
  std::size_t count = 0;
  for (several.MoveFirst(); !several.eof(); several.MoveNext()) ++count;
  EXPECT_EQ(count, several.RecordCount());
  EXPECT_GT(count, 0u);
  EXPECT_THROW(several.Get("Quantity"), Error);  // not selected

  Recordset none(*database_, "Select * from Customers where 1=2");
  EXPECT_TRUE(none.eof());
  EXPECT_EQ(none.RecordCount(), 0u);
  EXPECT_EQ(none.fields().size(), 11u);
  EXPECT_EQ(none.Field("Fax").type, ColumnType::Text);
  EXPECT_EQ(none.Field("fax").defined_size, 24);

  Recordset ordered(*database_, "Select * from Products order by ProductName");
  EXPECT_EQ(ordered.Get("ProductName").AsText(), "Alice Mutton");
  ordered.MoveLast();
  EXPECT_EQ(ordered.Get("ProductName").AsText(), "Zaanse koeken");
  Recordset descending(*database_, "select * from products ORDER BY unitprice DESC");
  EXPECT_EQ(descending.Get("ProductName").AsText(), "Côte de Blaye");

  Recordset booleans(*database_, "Select * from Products where Discontinued=-1");
  EXPECT_EQ(booleans.RecordCount(), 9u);
  EXPECT_THROW(Recordset(*database_, "Select * from Nowhere"), Error);
  EXPECT_THROW(Recordset(*database_, "Select * from Customers where Nothing='x'"), Error);
}

TEST_F(RecordsetTest, FindMovesForwardFromTheCurrentRow) {
  Recordset customers(*database_, "Select * from Customers");
  customers.MoveFirst();
  EXPECT_TRUE(customers.Find("CompanyName='around the horn'"));
  EXPECT_EQ(customers.Get("CustomerID").AsText(), "AROUT");
  EXPECT_TRUE(customers.Find("Country='UK'"));  // the current row matches: it stays
  EXPECT_EQ(customers.Get("CustomerID").AsText(), "AROUT");
  customers.MoveNext();
  EXPECT_TRUE(customers.Find("Country='uk'"));
  EXPECT_EQ(customers.Get("CustomerID").AsText(), "BSBEV");
  EXPECT_FALSE(customers.Find("CompanyName='No such company'"));
  EXPECT_TRUE(customers.eof());
  customers.MoveFirst();
  EXPECT_TRUE(customers.Find("ContactName LIKE 'maria*'"));
  EXPECT_EQ(customers.Get("CustomerID").AsText(), "ALFKI");
}

TEST_F(RecordsetTest, AddNewUpdateDeleteAndEditModes) {
  Recordset categories(*database_, "Select * from Categories");
  std::size_t before = categories.RecordCount();
  EXPECT_EQ(categories.edit_mode(), EditMode::None);
  categories.AddNew();
  EXPECT_EQ(categories.edit_mode(), EditMode::Add);
  categories.Set("CategoryName", Value::String("O'Neil #5"));
  categories.Set("Description", Value::String("memo text"));
  categories.Update();
  EXPECT_EQ(categories.edit_mode(), EditMode::None);
  EXPECT_EQ(categories.RecordCount(), before + 1);
  std::int64_t id = categories.Get("CategoryID").integer;
  EXPECT_EQ(id, 9);  // AutoNumber after the 8 Access assigned

  Recordset found(*database_, "Select * from categories where CategoryName='o''neil #5'");
  ASSERT_FALSE(found.eof());
  found.Set("Description", Value::String("changed"));
  EXPECT_EQ(found.edit_mode(), EditMode::InProgress);
  found.MoveNext();  // moving saves the edit, as ADO does
  found.Refresh();
  EXPECT_EQ(found.Get("Description").AsText(), "changed");
  found.Delete();
  found.Refresh();
  EXPECT_TRUE(found.eof());

  // Clearing a whole table the converters' way: delete, move next until EOF.
  Recordset shippers(*database_, "Select * from Shippers");
  for (shippers.MoveFirst(); !shippers.eof(); shippers.MoveNext()) shippers.Delete();
  shippers.Refresh();
  EXPECT_EQ(shippers.RecordCount(), 0u);
  database_->Commit();
  EXPECT_EQ(Database::Open(path_)->GetTable("Shippers").stored_row_count(), 0u);
}

TEST_F(RecordsetTest, BulkDeleteOfBlankKeys) {
  Recordset customers(*database_, "Select * from Customers where CustomerID='BERGS'");
  customers.Set("Fax", Value::String("   "));
  customers.Update();
  std::string sql = "DELETE FROM [" + path_ + "].[customers] WHERE trim(fax)=''";
  EXPECT_EQ(Execute(*database_, sql), 1u);
  EXPECT_EQ(Execute(*database_, sql), 0u);
  EXPECT_EQ(database_->GetTable("Customers").row_count(), 90u);
  EXPECT_THROW(Execute(*database_, "DELETE FROM [x].[NoTable] WHERE trim(a)=''"), Error);
}

}  // namespace
}  // namespace qorvane::jet
