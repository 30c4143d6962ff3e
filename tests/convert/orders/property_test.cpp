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

  test::ExportedRow& order = rows["1001-A"];
  EXPECT_EQ(order["FileNumber"], "    1001-A");
  EXPECT_EQ(order["RefNum"], "REF-7");
  EXPECT_EQ(order["FhaCase"], "FHA 12");
  EXPECT_EQ(order["CensusTrct"], "0042.01");
  EXPECT_EQ(order["Address"], "12 Elm St");
  EXPECT_EQ(order["City"], "Macon");
  EXPECT_EQ(order["County"], "Bibb");
  EXPECT_EQ(order["St"], "GA");
  EXPECT_EQ(order["Zip"], "31201");
  EXPECT_EQ(order["Neighborhd"], "Oak Hills");
  EXPECT_EQ(order["Owner"], "Ann Owner");
  EXPECT_EQ(order["OwnerPhone"], "555-0002");  // the second borrower phone
  EXPECT_EQ(order["Borrower"], "Bob Borrow");
  EXPECT_EQ(order["BorrowerPhone"], "555-0001");
  EXPECT_EQ(order["TaxMapNum"], "M-9");
  EXPECT_EQ(order["Other"], "other text");
  EXPECT_EQ(order["Refinance"], "1500.5");
  EXPECT_EQ(order["SellingPr"], "250000");
  EXPECT_EQ(order["LoanRequested"], "200000");
  EXPECT_EQ(order["AppraisedValue"], "260000");
  EXPECT_EQ(order["InvoicePrinted"], "1");
  EXPECT_EQ(order["FormType"], "UA2");
  EXPECT_EQ(order["form"], "URAR");
  EXPECT_EQ(order["Contact"], "Carl Contact");
  EXPECT_EQ(order["ClientPhone"], "555-0100 12");
  EXPECT_EQ(order["Legal"], "Lot: 12,Blk: 3,Land Lot: 7,Pg: 88,Pg: 9");
  EXPECT_EQ(order["DateReceived"], "3/4/2009");
  EXPECT_EQ(order["DateDue"], "3/20/2009");
  EXPECT_EQ(order["Dateassigned"], "3/5/2009");
  EXPECT_EQ(order["DateOnHold"], "1/1/1900");
  EXPECT_EQ(order["Status"], "Line one\r\nLine two");
  EXPECT_EQ(order["GeneralNotes"], "General");
  EXPECT_EQ(order["ReasonOnHold"], "");

  // Only the block: "Blk:" and the trimmed value; a blank extension leaves the phone alone.
  EXPECT_EQ(rows["1002-A"]["Legal"], "Blk: 5");
  EXPECT_EQ(rows["1002-A"]["ClientPhone"], "555-0200");
  // A type no code stands for becomes a user form type of its own.
  EXPECT_EQ(rows["1002-A"]["FormType"], "ZZTOP");
  EXPECT_EQ(rows["1002-A"]["form"], "ZZTOP");
  auto types = RowsBy("FormTypes", "FormType");
  EXPECT_EQ(types["ZZTOP"]["FormDesc"], "Custom Type ZZTOP");
  EXPECT_EQ(types["ZZTOP"]["CATEGORY"], "USER");
  EXPECT_EQ(types["ZZTOP"]["STANDARD"], "0");
  // "2055x" maps to 2055, a standard type with its own form.
  EXPECT_EQ(rows["1003-A"]["FormType"], "2055");
  EXPECT_EQ(rows["1003-A"]["form"], "2055 9/96");
  EXPECT_EQ(rows["1003-A"]["Legal"], "");

  EXPECT_TRUE(Has(lines, "Property table conversion complete: 3 records"));
  EXPECT_EQ(Ledger("property").count(app::RecordOutcome::Added), 3);
}

TEST_F(OrdersTest, KeysAreRightJustifiedAndIllegalNumbersCorrectedWithTheirLines) {
  Source office;
  office.property = {{{"FILE_NUM", Text("1001")}}, {{"FILE_NUM", Text("12#3")}}, {{"FILE_NUM", Text("")}},
                     {{"FILE_NUM", Text("ab12")}}, {{"FILE_NUM", Text("123456789")}}};
  Write(office);
  auto lines = Run({Step::Property});
  auto rows = RowsBy("Property", "FileNumber");
  ASSERT_EQ(rows.size(), 5u);
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
  test::ExportedRow& order = rows["2001-A"];
  EXPECT_EQ(order["DateReceived"], "1/1/1900");  // blank: a missing date, no line
  EXPECT_EQ(order["DateDue"], "1/1/1900");
  EXPECT_EQ(order["Dateassigned"], "1/1/1900");
  EXPECT_EQ(order["DateOnHold"], "1/1/1900");
  EXPECT_EQ(order["Refinance"], "0");
  EXPECT_EQ(order["LoanRequested"], "125");
  EXPECT_EQ(order["Address"], std::string(45, 'x') + " Long");
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

TEST_F(OrdersTest, AMissingMemoFileIsReportedAndTheOrdersStillConverted) {
  Source office;
  office.property = {{{"FILE_NUM", Text("3001")}, {"PR_COMM", Text("notes")}, {"PR_CITY", Text("Athens")}}};
  Write(office);
  for (const auto& entry : std::filesystem::directory_iterator(source)) {
    std::string name = entry.path().filename().string();
    if (name.size() > 4 && (name.substr(name.size() - 4) == ".FPT" || name.substr(name.size() - 4) == ".fpt")) {
      std::filesystem::remove(entry.path());
    }
  }
  auto lines = Run({Step::Property});
  auto rows = RowsBy("Property", "FileNumber");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows["3001-A"]["City"], "Athens");
  EXPECT_EQ(rows["3001-A"]["GeneralNotes"], "");
  bool reported = false;
  for (const std::string& line : lines) reported = reported || (line.find("PROPERTY.FPT") != std::string::npos ||
                                                                 line.find("memo") != std::string::npos);
  EXPECT_TRUE(reported);
}

TEST_F(OrdersTest, AnEmptyPropertyTableLeavesItsLine) {
  Write({});
  auto lines = Run({Step::Property});
  EXPECT_TRUE(Has(lines, "No records found in property.dbf"));
  EXPECT_TRUE(Has(lines, "Property table conversion complete: No records found"));
}

TEST(AppendLegalItem, FoldsLabelAndValueWithoutABlankAfterTheComma) {
  EXPECT_EQ(AppendLegalItem("", "Lot:", " 12 "), "Lot: 12");
  EXPECT_EQ(AppendLegalItem("Lot: 12", "Blk:", "3"), "Lot: 12,Blk: 3");
  EXPECT_EQ(AppendLegalItem("Lot: 12", "Blk:", "  "), "Lot: 12");
  EXPECT_EQ(AppendLegalItem("  ", "Pg:", "4"), "Pg: 4");
}

}  // namespace
}  // namespace qorvane::convert::test_orders
