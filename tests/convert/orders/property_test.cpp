// The order step end to end: property.dbf converted into a new office.mdb by a whole run, the
// Property rows read back through mdb-export. Keys (right-justified, corrected, refused, the
// order without a number), every mapped column, dates, memos and legal text, and the DATA lines
// bad values leave in the log.
#include "convert/orders/property.h"

#include "order_office.h"

namespace qorvane::convert::test_orders {
namespace {

using app::Step;

Record RichOrder() {
  return {{"FILE_NUM", Text("1001")},        {"PR_REF_NUM", Text("REF-7")},     {"PR_FHA_NUM", Text("FHA 12")},
          {"PR_CENSUS", Text("0042.01")},    {"PR_STREET", Text("12 Elm St")},   {"PR_CITY", Text("Macon")},
          {"PR_COUNTY", Text("Bibb")},       {"PR_STATE", Text("GA")},          {"PR_ZIP", Text("31201")},
          {"PR_SUBDIV", Text("Oak Hills")},  {"PR_OWNER", Text("Ann Owner")},   {"PR_BPHON2", Text("555-0002")},
          {"PR_BORROWR", Text("Bob Borrow")}, {"PR_BPHON1", Text("555-0001")}, {"PR_MAP_REF", Text("M-9")},
          {"PR_CONT2", Text("other text")},  {"PR_REPCOST", Number(1500.5)},   {"PR_BORREST", Number(250000)},
          {"PR_LOANREQ", Number(200000)},    {"PR_APPRVAL", Number(260000)},   {"ASS_TYPE", Text("urar")},
          {"PR_CONT1", Text("Carl Contact")}, {"PR_C1_PHON", Text("555-0100")}, {"PR_C1_EXT", Text("12")},
          {"PR_LOT", Text("12")},            {"PR_BLOCK", Text("3")},          {"PR_LANDLOT", Text("7")},
          {"PR_DEEDPG", Text("88")},         {"PR_PLATPG", Text("9")},         {"PR_DRECEIV", Day(2009, 3, 4)},
          {"PR_DPROMIS", Day(2009, 3, 20)},  {"PR_DASSIGN", Day(2009, 3, 5)},  {"PR_STCOMM", Text("Line one\r\nLine two")},
          {"PR_COMM", Text("General")}};
}

TEST_F(OrdersTest, EveryMappedColumnOfAnOrderIsWritten) {
  Source office;
  office.property = {RichOrder(),
                     {{"FILE_NUM", Text("1002")}, {"PR_BLOCK", Text(" 5 ")}, {"PR_C1_PHON", Text("555-0200")},
                      {"ASS_TYPE", Text("ZZTOP")}},
                     {{"FILE_NUM", Text("1003")}, {"ASS_TYPE", Text("2055x")}}};
  Write(office);
  auto lines = Run({Step::FormTypes, Step::Property});
  auto rows = RowsBy("Property", "FileNumber");
  ASSERT_EQ(rows.size(), 3u);

  // The owner's phone is the second borrower phone; the legal text folds the parts given.
  ExpectCells(rows["1001-A"],
              {{"FileNumber", "    1001-A"}, {"RefNum", "REF-7"}, {"FhaCase", "FHA 12"}, {"CensusTrct", "0042.01"},
               {"Address", "12 Elm St"}, {"City", "Macon"}, {"County", "Bibb"}, {"St", "GA"}, {"Zip", "31201"},
               {"Neighborhd", "Oak Hills"}, {"Owner", "Ann Owner"}, {"OwnerPhone", "555-0002"},
               {"Borrower", "Bob Borrow"}, {"BorrowerPhone", "555-0001"}, {"TaxMapNum", "M-9"}, {"Other", "other text"},
               {"Refinance", "1500.5"}, {"SellingPr", "250000"}, {"LoanRequested", "200000"},
               {"AppraisedValue", "260000"}, {"InvoicePrinted", "1"}, {"FormType", "UA2"}, {"form", "URAR"},
               {"Contact", "Carl Contact"}, {"ClientPhone", "555-0100 12"},
               {"Legal", "Lot: 12,Blk: 3,Land Lot: 7,Pg: 88,Pg: 9"}, {"DateReceived", "3/4/2009"},
               {"DateDue", "3/20/2009"}, {"Dateassigned", "3/5/2009"}, {"DateOnHold", "1/1/1900"},
               {"Status", "Line one\r\nLine two"}, {"GeneralNotes", "General"}, {"ReasonOnHold", ""}});
  // Only the block: "Blk:" and the trimmed value; a blank extension leaves the phone alone; a
  // type no code stands for becomes a user form type of its own.
  ExpectCells(rows["1002-A"], {{"Legal", "Blk: 5"}, {"ClientPhone", "555-0200"}, {"FormType", "ZZTOP"}, {"form", "ZZTOP"}});
  ExpectCells(RowsBy("FormTypes", "FormType")["ZZTOP"],
              {{"FormDesc", "Custom Type ZZTOP"}, {"CATEGORY", "USER"}, {"STANDARD", "0"}});
  // "2055x" maps to 2055, a standard type with its own form.
  ExpectCells(rows["1003-A"], {{"FormType", "2055"}, {"form", "2055 9/96"}, {"Legal", ""}});

  EXPECT_TRUE(Has(lines, "Property table conversion complete: 3 records"));
  EXPECT_EQ(Ledger("property").count(app::RecordOutcome::Added), 3);
}

TEST_F(OrdersTest, KeysAreRightJustifiedAndIllegalNumbersCorrectedWithTheirLinesWithoutTheMemoFile) {
  Source office;
  office.property = {{{"FILE_NUM", Text("1001")}, {"PR_COMM", Text("notes")}, {"PR_CITY", Text("Athens")}},
                     {{"FILE_NUM", Text("12#3")}}, {{"FILE_NUM", Text("")}},
                     {{"FILE_NUM", Text("ab12")}}, {{"FILE_NUM", Text("123456789")}}};
  Write(office);
  // The memo file is lost too: it is said, and the orders are still converted.
  ASSERT_TRUE(std::filesystem::remove(source + "/PROPERTY.fpt"));
  auto lines = Run({Step::Property});
  EXPECT_TRUE(Has(lines, "PROPERTY.DBF: the memo file PROPERTY.fpt is missing; memo fields read as empty"));
  auto rows = RowsBy("Property", "FileNumber");
  ASSERT_EQ(rows.size(), 5u);
  ExpectCells(rows["1001-A"], {{"City", "Athens"}, {"GeneralNotes", ""}});
  EXPECT_EQ(rows["1001-A"]["FileNumber"], "    1001-A");
  EXPECT_EQ(rows["12-3-A"]["FileNumber"], "    12-3-A");
  EXPECT_EQ(rows["AB12-A"]["FileNumber"], "    AB12-A");
  // An order without a number keeps its padding and becomes a key of its own.
  EXPECT_EQ(rows["-A"]["FileNumber"], "        -A");
  // Ten characters at most: the head of a long number is lost.
  EXPECT_EQ(rows["23456789-A"]["FileNumber"], "23456789-A");

  EXPECT_TRUE(Has(lines, "CORRECTION: illegal filenumber (    12#3-A) converted =     12-3-A"));
  EXPECT_EQ(program.main_form->form().lstIllegalFilenumbers, std::vector<std::string>{"    12#3-A =     12-3-A"});
  EXPECT_TRUE(Has(lines, "Property table conversion complete: 5 records"));
}

TEST_F(OrdersTest, UnusableValuesAreWrittenAsMissingWithADataLineAndTheRunGoesOn) {
  Source office;
  Record bad = {{"FILE_NUM", Text("2001")},        {"PR_DPROMIS", Day(2011, 11, 11)}, {"PR_DASSIGN", Day(2012, 12, 12)},
                {"PR_DONHOLD", Day(1899, 12, 30)}, {"PR_REPCOST", Number(7777.77)},   {"PR_LOANREQ", Number(125)},
                {"PR_STREET", Text(std::string(45, 'x') + " Long Street")}};
  office.property = {bad,
                     {{"FILE_NUM", Text("2002")}, {"PR_STREET", Text("first")}},
                     {{"FILE_NUM", Text("2002")}, {"PR_STREET", Text("second")}}};
  Write(office);
  PatchBytes(source + "/PROPERTY.DBF", "20111111", "20240231");
  PatchBytes(source + "/PROPERTY.DBF", "20121212", "00000000");
  PatchBytes(source + "/PROPERTY.DBF", "7777.77", "*******");
  auto lines = Run({Step::Property});

  auto rows = RowsBy("Property", "FileNumber");
  ASSERT_EQ(rows.size(), 2u);
  // Blank dates are missing dates, without a line.
  ExpectCells(rows["2001-A"], {{"DateReceived", "1/1/1900"}, {"DateDue", "1/1/1900"}, {"Dateassigned", "1/1/1900"},
                               {"DateOnHold", "1/1/1900"}, {"Refinance", "0"}, {"LoanRequested", "125"},
                               {"Address", std::string(45, 'x') + " Long"}});
  EXPECT_EQ(rows["2002-A"]["Address"], "second");

  std::vector<std::string> expected = {
      "DATA: property.dbf file number 2001-A: Pr_Street is longer than Address (50 characters); cut to '" +
          std::string(45, 'x') + " Long'",
      "DATA: property.dbf file number 2001-A: Pr_RepCost '*******' is not a number; 0 written to Refinance",
      "DATA: property.dbf file number 2001-A: Pr_DPromis '20240231' is not a usable date; 1/1/1900 written to DateDue",
      "DATA: property.dbf file number 2001-A: Pr_DAssign '00000000' is not a usable date; 1/1/1900 written to Dateassigned",
      "DATA: property.dbf file number 2001-A: Pr_DOnHold '18991230' is not a usable date; 1/1/1900 written to DateOnHold",
      "DATA: property.dbf file number 2002-A appears again in property.dbf; this record's values overwrite the order "
      "converted before",
  };
  EXPECT_EQ(LinesStarting(lines, "DATA: "), expected);
  EXPECT_TRUE(Has(lines, "Property table conversion complete: 3 records"));
  EXPECT_TRUE(Ledger("property").Complete());
}

TEST_F(OrdersTest, AnEmptyPropertyTableLeavesItsLine) {
  Write({});
  auto lines = Run({Step::Property});
  EXPECT_TRUE(Has(lines, "No records found in property.dbf"));
  EXPECT_TRUE(Has(lines, "Property table conversion complete: No records found"));
}

// A legal text of blanks so far is no text: the first part starts it.
TEST(AppendLegalItem, ABlankTextSoFarIsStartedAfresh) { EXPECT_EQ(AppendLegalItem("  ", "Pg:", "4"), "Pg: 4"); }

}  // namespace
}  // namespace qorvane::convert::test_orders
