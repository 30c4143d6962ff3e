// The record set: the record sources the conversion uses, navigation, field reads, Index/Seek.
#include <gtest/gtest.h>

#include "common/error.h"
#include "foxpro/record_set.h"
#include "record_text.h"
#include "sample_tables.h"
#include "test_support/temp_dir.h"

namespace qorvane::foxpro {
namespace {

class RecordSetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WritePropertyTable(folder_.path());
    test::WriteClientTable(folder_.path());
  }
  std::unique_ptr<RecordSet> Open(const std::string& source) { return RecordSet::Open(folder_.path(), source, {437, &reporter_}); }
  std::vector<std::string> Column(RecordSet& set, const char* field) {
    std::vector<std::string> values;
    for (set.MoveFirst(); !set.EndOfFile(); set.MoveNext()) values.push_back(test::Text(set, field));
    return values;
  }
  qorvane::test::TempDir folder_;
  CollectingReporter reporter_;
};

TEST_F(RecordSetTest, TableNameSkipsDeletedRecordsAndNavigates) {
  auto set = Open("PROPERTY");
  EXPECT_EQ(set->RecordCount(), 5u);
  EXPECT_EQ(Column(*set, "file_num"), (std::vector<std::string>{"4521", "ab 12", "1#2#3&4", "1000", "4521"}));
  EXPECT_TRUE(set->EndOfFile());
  EXPECT_THROW(test::Text(*set, "FILE_NUM"), qorvane::Error);
  set->MoveLast();
  EXPECT_EQ(test::Text(*set, "INV_NUM"), "INV6");
  EXPECT_EQ(set->GetBookmark(), 5u);  // the sixth record; the fourth is deleted
  set->MovePrevious();
  EXPECT_EQ(test::Text(*set, "INV_NUM"), "INV5");
  auto mark = set->GetBookmark();
  set->MoveFirst();
  set->SetBookmark(mark);
  EXPECT_EQ(test::Text(*set, "INV_NUM"), "INV5");
  EXPECT_EQ(set->FieldSize("Pr_Street"), 30);
  EXPECT_THROW(test::Text(*set, "NO_SUCH"), qorvane::Error);
}

TEST_F(RecordSetTest, TextAsTheConversionReadsIt) {
  auto set = Open("property.dbf");
  EXPECT_EQ(test::Text(*set, "PR_APPRVAL"), "123456.78");
  EXPECT_EQ(test::Text(*set, "PR_DRECEIV"), "12/31/1999");
  EXPECT_EQ(test::Text(*set, "PREF_BILL"), "True");
  EXPECT_EQ(test::Text(*set, "PR_COMM"), "First line\r\nsecond line");
  set->MoveNext();
  for (const char* field : {"PR_APPRVAL", "PR_DRECEIV", "PREF_BILL", "PR_COMM"}) EXPECT_EQ(test::Text(*set, field), "") << field;
  set->MoveNext();
  EXPECT_EQ(test::Text(*set, "PR_STREET"), "Café Straße");
  EXPECT_EQ(test::Text(*set, "PR_APPRVAL"), "-42.5");
  EXPECT_EQ(test::Text(*set, "PREF_BILL"), "False");
}

TEST_F(RecordSetTest, TheSelectFormsOfTheConversion) {
  auto ordered = Open("Select * from Property order by file_num");
  EXPECT_EQ(Column(*ordered, "FILE_NUM"), (std::vector<std::string>{"1#2#3&4", "1000", "4521", "4521", "ab 12"}));
  EXPECT_EQ(Column(*ordered, "INV_NUM")[2], "INV1");  // equal keys keep table order

  auto columns = Open("select file_num, inv_num, Cli_Num from property");
  EXPECT_EQ(columns->RecordCount(), 5u);
  EXPECT_EQ(test::Text(*columns, "CLI_NUM"), "7");
  EXPECT_THROW(test::Text(*columns, "PR_STREET"), qorvane::Error);

  auto clients = Open("Select * from client order by cli_lname");
  EXPECT_EQ(Column(*clients, "CLI_LNAME"), (std::vector<std::string>{"", "A&B", "JONES", "SMITH", "SMITH", "SMITH"}));
  EXPECT_EQ(Column(*clients, "CLI_NUM"), (std::vector<std::string>{"40", "5", "3", "7", "9", "12"}));

  auto one = Open("Select * from property where TRIM(UCASE(file_num))='AB 12'");
  EXPECT_EQ(Column(*one, "INV_NUM"), (std::vector<std::string>{"INV2"}));
  auto padded = Open("Select * from property where FILE_NUM='4521      '");
  EXPECT_EQ(Column(*padded, "INV_NUM"), (std::vector<std::string>{"INV1", "INV6"}));
  auto invoice = Open("Select * from PROPERTY where INV_NUM='inv5'");
  EXPECT_EQ(invoice->RecordCount(), 1u);
  auto none = Open("Select * from property where TRIM(UCASE(file_num))='0999'");  // deleted
  EXPECT_TRUE(none->EndOfFile());
  EXPECT_TRUE(none->BeginningOfFile());
  auto field_list = Open("select CLI_LNAME from client");
  EXPECT_EQ(field_list->RecordCount(), 6u);

  for (const char* refused : {"Select * from client where Active=-1", "select * from a, b", "Select count(*) from client",
                              "Select * from client where cli_num='1' and cli_lname='x'", "delete from client",
                              "Select * from client order by cli_lname desc", "Select * from client where cli_num='x"}) {
    try {
      Open(refused);
      ADD_FAILURE() << refused;
    } catch (const qorvane::Error& error) {
      EXPECT_EQ(error.kind(), ErrorKind::InvalidArgument) << refused;
      EXPECT_NE(std::string(error.what()).find(refused), std::string::npos) << error.what();
    }
  }
  try {
    Open("SELECT * FROM FORMS");
    ADD_FAILURE();
  } catch (const qorvane::Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::NotFound);
    EXPECT_NE(std::string(error.what()).find("FORMS.dbf"), std::string::npos);
  }
  EXPECT_THROW(Open("select NOPE from client"), qorvane::Error);
}

TEST_F(RecordSetTest, SeekFindsByKeyAndKeepsTheCursorOnNoMatch) {
  auto set = Open("CLIENT");
  set->SetIndex("Cli_Num");  // the tag of that name
  set->MoveNext();
  set->MoveNext();
  auto before = set->GetBookmark();
  EXPECT_FALSE(set->Seek("99    "));
  EXPECT_TRUE(set->NoMatch());
  EXPECT_EQ(set->GetBookmark(), before);
  EXPECT_TRUE(set->Seek("40    "));
  EXPECT_FALSE(set->NoMatch());
  EXPECT_EQ(test::Text(*set, "CLI_LNAME"), "");
  EXPECT_TRUE(set->Seek("5"));  // padded to the key length
  EXPECT_EQ(test::Text(*set, "CLI_LNAME"), "A&B");
  set->MoveNext();  // Seek positions the record set; moving on goes on in record-source order
  EXPECT_TRUE(set->EndOfFile());

  auto property = Open("Select * from Property order by file_num");
  property->SetIndex("VALUE");  // numeric tag
  EXPECT_TRUE(property->Seek("-42.5"));
  EXPECT_EQ(test::Text(*property, "FILE_NUM"), "1#2#3&4");
  property->SetIndex("FILE_NUM");  // UPPER(FILE_NUM), compared without regard to case
  EXPECT_TRUE(property->Seek("AB 12"));
  EXPECT_TRUE(property->Seek("4521"));
  EXPECT_EQ(test::Text(*property, "INV_NUM"), "INV1");  // the lowest record of equal keys
  EXPECT_FALSE(property->Seek("0999"));             // deleted records are not found
  property->SetIndex("pr_dreceiv");                 // a field without a tag
  EXPECT_TRUE(property->Seek("2/29/2024"));
  EXPECT_EQ(test::Text(*property, "FILE_NUM"), "1000");
  EXPECT_THROW(property->SetIndex("NOTHING"), qorvane::Error);

  auto restricted = Open("Select * from property where TRIM(UCASE(file_num))='1000'");
  restricted->SetIndex("CLI_NUM");
  EXPECT_FALSE(restricted->Seek("7"));  // in the table, but not in this record set
}

}  // namespace
}  // namespace qorvane::foxpro
