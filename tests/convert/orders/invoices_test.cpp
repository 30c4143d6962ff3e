// The invoice, expense and payment steps end to end, and a second run over the same target:
// invoice amounts and client-expense slots, Assigned rows from appraiser expenses and applied
// payments with their de-duplication, appraisers added on the way, orders overwritten in place
// and invoices left untouched, and a run limited to listed file numbers.
#include "convert/orders/invoices.h"

#include <set>

#include "../parties/party_office.h"
#include "order_office.h"

namespace qorvane::convert::test_orders {
namespace {

using app::Step;

const std::vector<Step> kOrderSteps = {Step::FormTypes, Step::Property, Step::Invoice, Step::ApprExp, Step::Applied};

Source SmallOffice() {
  Source office;
  office.property = {{{"FILE_NUM", Text("1001")}, {"PR_STREET", Text("1 Oak")}},
                     {{"FILE_NUM", Text("1002")}, {"PR_STREET", Text("2 Oak")}},
                     {{"FILE_NUM", Text("12#3")}, {"PR_STREET", Text("3 Oak")}}};
  office.invoice = {
      {{"INV_NUM", Text("1001")}, {"INV_DATE", Day(2010, 5, 6)}, {"INV_DETL1", Text("Appraisal")},
       {"INV_CHK1", Text("CK 100")}, {"INV_DATE1", Day(2010, 6, 1)}, {"INV_AMT1", Number(80)},
       {"INV_FEE", Number(300)}, {"INV_EXP", Number(25.5)}},
      {{"INV_NUM", Text("1002")}, {"INV_FEE", Number(150)}},
      {{"INV_NUM", Text("12#3")}, {"INV_FEE", Number(10)}},
      {{"INV_NUM", Text("")}, {"INV_FEE", Number(1)}},
      {{"INV_NUM", Text("9999")}, {"INV_FEE", Number(5)}},
      {{"INV_NUM", Text("1002")}, {"INV_FEE", Number(999)}},
  };
  office.cliexp = {
      {{"INV_NUM", Text("1001")}, {"EXP_TYPE", Text("EXP2")}, {"EXP_DESC", Text("Mileage")}, {"EXP_AMT", Number(12)}},
      {{"INV_NUM", Text("1001")}, {"EXP_TYPE", Text("EXP2")}, {"EXP_DESC", Text("Photos")}, {"EXP_AMT", Number(7.5)}},
      {{"INV_NUM", Text("1001")}, {"EXP_TYPE", Text("exp1")}, {"EXP_DESC", Text("Courier")}, {"EXP_AMT", Number(0)}},
      {{"INV_NUM", Text("1001")}, {"EXP_TYPE", Text("")}, {"EXP_DESC", Text("ignored")}, {"EXP_AMT", Number(3)}},
      {{"INV_NUM", Text("1002")}, {"EXP_TYPE", Text("EXP3")}, {"EXP_DESC", Text("Rush")}, {"EXP_AMT", Number(40)}},
  };
  office.appraisers = {{{"APP_NUM", Text("A17")}, {"APP_LNAME", Text("Smith ")}},
                       {{"APP_NUM", Text("A18")}, {"APP_LNAME", Text("jones")}}};
  office.apprexp = {
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A17")}, {"EXP_NUM", Text("1")}, {"EXP_AMT", Number(30)}},
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A17")}, {"EXP_NUM", Text("2")}, {"EXP_AMT", Number(15)}},
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A17")}, {"EXP_NUM", Text("2")}, {"EXP_AMT", Number(99)}},
      {{"FILE_NUM", Text("7777")}, {"APP_NUM", Text("A17")}, {"EXP_NUM", Text("1")}, {"EXP_AMT", Number(5)}},
  };
  office.applied = {
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A17")}, {"PAY_FEE", Number(200)}},
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A17")}, {"PAY_FEE", Number(111)}},
      {{"FILE_NUM", Text("1001")}, {"APP_NUM", Text("A18")}, {"PAY_FEE", Number(50)}},
      {{"FILE_NUM", Text("1002")}, {"APP_NUM", Text("B99")}, {"PAY_FEE", Number(75)}},
      {{"FILE_NUM", Text("1002")}, {"APP_NUM", Text("")}, {"PAY_FEE", Number(5)}},
      {{"FILE_NUM", Text("8888")}, {"APP_NUM", Text("A18")}, {"PAY_FEE", Number(1)}},
  };
  return office;
}

// One run of the small office, checked for every invoice, expense and payment; then a second
// run over the same target after the office changed an order and an invoice.
TEST_F(OrdersTest, InvoicesExpensesAndPaymentsConvertOnceAndASecondRunAddsNothing) {
  Source office = SmallOffice();
  Write(office);
  auto lines = Run(kOrderSteps);
  auto invoices = RowsBy("Invoice", "FileNumber");
  ASSERT_EQ(invoices.size(), 4u);  // 1001, 1002 (once), 12-3, 9999; the empty number is skipped
  // inv_exp + inv_fee; the last EXP2 wins; "exp1" is upper-cased and its 0 leaves the amount.
  ExpectCells(invoices["1001-A"], {{"FileNumber", "    1001-A"}, {"InvoiceDate", "5/6/2010"}, {"Detail", "Appraisal\r\n"},
                                   {"Check1", "CK 100"}, {"Check1Date", "6/1/2010"}, {"Check2Date", "1/1/1900"},
                                   {"Check1Amount", "80"}, {"ReportFee", "300"}, {"InvoiceAmount", "325.5"},
                                   {"DESC2", "Photos"}, {"DESC2AMOUNT", "7.5"}, {"DESC1", "Courier"},
                                   {"DESC1AMOUNT", ""}, {"DESC3", ""}});
  // The first invoice of a number is kept.
  ExpectCells(invoices["1002-A"], {{"DESC3", "Rush"}, {"DESC3AMOUNT", "40"}, {"ReportFee", "150"}, {"Detail", "\r\n"}});
  EXPECT_TRUE(Has(lines, "CORRECTION: illegal INVOICE # (12#3) converted = 12-3"));
  std::vector<std::string> data = {
      "DATA: invoice.dbf invoice # 9999 has no order 9999-A in Property; the invoice is converted without it",
      "DATA: invoice.dbf invoice # 1002 appears again in invoice.dbf; the invoice converted first is kept",
      "DATA: apprexp.dbf file number 1001-A expense 2 of SMITH appears again in apprexp.dbf; the expense converted "
      "first is kept",
      "DATA: apprexp.dbf file number 7777-A has no order in Property; the expense is not converted",
      "DATA: applied.dbf file number 1001-A payment to SMITH appears again in applied.dbf; the payment converted "
      "first is kept",
      "DATA: applied.dbf file number 8888-A has no order in Property; the payment is converted without it",
  };
  EXPECT_EQ(LinesStarting(lines, "DATA: "), data);
  for (const char* line : {"Invoice table conversion complete: 6 records",
                           "Appraiser Expense data conversion complete: 4 records",
                           "Applied table conversion complete: 6 records"}) {
    EXPECT_TRUE(Has(lines, line)) << line;
  }

  // Appraiser expenses: one row per expense of a converted order; payments: the first of a file
  // number and appraiser wins. An appraiser number the appraiser table does not know names the
  // appraiser, who is added.
  auto assigned = RowsBy("Assigned", "FileNumberCodeAppraiser");
  ASSERT_EQ(assigned.size(), 7u);
  ExpectCells(assigned["1001-AE1SMITH"], {{"Amount", "30"}, {"Description", "1"}, {"DescCode", "E1"},
                                          {"FileNumber", "    1001-A"}});
  ExpectCells(assigned["1001-A0SMITH"], {{"Amount", "200"}, {"Appraiser", "SMITH"},
                                         {"Description", "Converted Form Payment"}, {"DescCode", "0"}});
  EXPECT_EQ(assigned["1001-AE2SMITH"]["Amount"], "15");
  EXPECT_EQ(assigned["1001-A0JONES"]["Amount"], "50");
  EXPECT_EQ(assigned["1002-A0B99"]["Appraiser"], "B99");
  EXPECT_EQ(assigned["1002-A0"]["Appraiser"], "");
  EXPECT_EQ(assigned["8888-A0JONES"]["Amount"], "1");
  auto appraisers = RowsBy("Appraiser", "Appraiser");
  ASSERT_EQ(appraisers.size(), 1u);
  ExpectCells(appraisers["B99"], {{"ApprInfo", "Automatically Added:     1002-A"}, {"Active", "1"}});
  EXPECT_EQ(program.main_form->form().lstWasNotConverted, std::vector<std::string>{"Apprexp: 7777-A"});

  // The second run overwrites orders in place, leaves invoices and adds nothing twice.
  auto before = RowsBy("Property", "FileNumber");
  office.property[0]["PR_STREET"] = Text("1 Oak Changed");
  office.invoice[0]["INV_FEE"] = Number(1);
  Write(office);
  lines = Run(kOrderSteps);
  auto after = RowsBy("Property", "FileNumber");
  ASSERT_EQ(after.size(), 3u);
  EXPECT_EQ(after["1001-A"]["ID"], before["1001-A"]["ID"]);
  EXPECT_EQ(after["1001-A"]["Address"], "1 Oak Changed");
  invoices = RowsBy("Invoice", "FileNumber");
  EXPECT_EQ(invoices.size(), 4u);
  EXPECT_EQ(invoices["1001-A"]["ReportFee"], "300");
  EXPECT_EQ(Rows("Assigned").size(), 7u);
  EXPECT_EQ(Rows("Appraiser").size(), 1u);
  // The corrected order's number is now an invoice number: the order is refused.
  EXPECT_TRUE(Has(lines, "WARNING: illegal filenumber NOT converted =     12#3-A"));
  EXPECT_TRUE(Has(program.main_form->form().lstWasNotConverted, "Property:     12#3-A"));
  EXPECT_TRUE(LinesStarting(lines, "DATA: invoice.dbf invoice # 1002 appears").empty());
  EXPECT_EQ(Ledger("invoice").count(app::RecordOutcome::Added), 0);
}

// Listed numbers select their records as the old program stores them (left-justified), or
// right-justified: it used to pad the listed number and find nothing, after deleting its rows.
TEST_F(OrdersTest, ARunLimitedToListedNumbersConvertsOnlyThoseWhateverTheirJustification) {
  Source office = SmallOffice();
  office.property[1]["FILE_NUM"] = Text("      1002");
  office.invoice[1]["INV_NUM"] = Text("      1002");
  Write(office);
  auto lines = Run(kOrderSteps, {}, {"5555", "1001", "1002"});
  auto orders = RowsBy("Property", "FileNumber");
  ASSERT_EQ(orders.size(), 2u);
  EXPECT_EQ(orders.count("1001-A") + orders.count("1002-A"), 2u);
  auto invoices = RowsBy("Invoice", "FileNumber");
  EXPECT_EQ(invoices.size(), 2u);
  EXPECT_EQ(invoices["1002-A"]["ReportFee"], "150");
  // A listed number the source does not hold is said, and the numbers after it still convert.
  EXPECT_TRUE(Has(lines, "No records found in property.dbf"));
  EXPECT_TRUE(Has(lines, "(file number 5555 is not in property.dbf: its order in office.mdb was deleted and nothing "
                         "converted it again)"));
  EXPECT_EQ(program.main_form->form().FileNumbersNotFound, std::vector<std::string>{"5555"});
  EXPECT_TRUE(std::any_of(view.messages.begin(), view.messages.end(), [](const std::string& message) {
    return message.find("Do you wish to continue?") != std::string::npos &&
           message.find("- 5555 is in neither property.dbf nor invoice.dbf") != std::string::npos;
  }));
  // Payments take only the last listed number, which the order walks leave in txtfilenum.
  EXPECT_EQ(PaidFileNumbers(), std::set<std::string>{"    1002-A"});
  EXPECT_EQ(RowsBy("Assigned", "FileNumberCodeAppraiser").count("1001-AE1SMITH"), 1u);
  // Each pass counts from 1.
  EXPECT_TRUE(Has(lines, "Property table conversion complete: 1 records"));

  // A listed order is converted afresh: its row is deleted and written again.
  auto first_id = orders["1001-A"]["ID"];
  Run({Step::Property}, {}, {"1001"});
  EXPECT_NE(RowsBy("Property", "FileNumber")["1001-A"]["ID"], first_id);
  EXPECT_EQ(Rows("Property").size(), 2u);
}

// The expense step used to walk txtfilenum along the list, so the payment step converted the
// last listed number's payments only when the order steps ran before it.
TEST_F(OrdersTest, ThePaymentStepTakesTheLastListedNumberWhateverStepsRanBefore) {
  Write(SmallOffice());
  Run({Step::FormTypes, Step::Property}, {}, {});
  Run({Step::ApprExp, Step::Applied}, {}, {"1002", "1001"});
  EXPECT_EQ(PaidFileNumbers(), std::set<std::string>{"    1001-A"});
  EXPECT_EQ(RowsBy("Assigned", "FileNumberCodeAppraiser").count("1001-AE1SMITH"), 1u);
}

// Client expenses were looked up by the SQL-quoted number, so a number holding ' or # lost
// every expense; and an expense of an order whose number was corrected was refused against the
// order's own invoice.
TEST_F(OrdersTest, ExpensesOfNumbersHoldingQuotesHashesAndCorrectionsAreKeptAndAListedIllegalNumberFound) {
  Source office = SmallOffice();
  office.property.push_back({{"FILE_NUM", Text("77'1")}, {"PR_STREET", Text("4 Oak")}});
  office.invoice.push_back({{"INV_NUM", Text("77'1")}, {"INV_FEE", Number(20)}});
  office.invoice.push_back({{"INV_NUM", Text("30#90")}, {"INV_FEE", Number(30)}});
  office.cliexp.push_back(
      {{"INV_NUM", Text("77'1")}, {"EXP_TYPE", Text("EXP1")}, {"EXP_DESC", Text("Mileage")}, {"EXP_AMT", Number(9)}});
  office.cliexp.push_back(
      {{"INV_NUM", Text("30#90")}, {"EXP_TYPE", Text("EXP2")}, {"EXP_DESC", Text("Photos")}, {"EXP_AMT", Number(4)}});
  office.apprexp.push_back(
      {{"FILE_NUM", Text("12#3")}, {"APP_NUM", Text("A18")}, {"EXP_NUM", Text("1")}, {"EXP_AMT", Number(8)}});
  Write(office);
  auto lines = Run(kOrderSteps, {app::MassageStep::Invoice});
  auto invoices = RowsBy("Invoice", "FileNumber");
  // The massage keeps the expense in the total.
  ExpectCells(invoices["77'1-A"], {{"DESC1", "Mileage"}, {"DESC1AMOUNT", "9"}, {"InvoiceAmount", "29"}});
  ExpectCells(invoices["30-90-A"], {{"DESC2", "Photos"}, {"DESC2AMOUNT", "4"}});
  ExpectCells(RowsBy("Assigned", "FileNumberCodeAppraiser")["12-3-AE1JONES"],
              {{"Amount", "8"}, {"FileNumber", "    12-3-A"}});
  EXPECT_TRUE(LinesStarting(lines, "WARNING: illegal filenumber NOT converted").empty());
  EXPECT_EQ(program.main_form->form().lstWasNotConverted, std::vector<std::string>{"Apprexp: 7777-A"});

  // With the corrections, a listed number as the office knows it ("12#3") is found in its
  // corrected form, and its earlier row under the corrected key is converted afresh.
  auto first_id = RowsBy("Property", "FileNumber")["12-3-A"]["ID"];
  Run(kOrderSteps, {}, {"12#3"}, true);
  EXPECT_TRUE(program.main_form->form().FileNumbersNotFound.empty());
  auto orders = RowsBy("Property", "FileNumber");
  EXPECT_EQ(orders.size(), 4u);
  EXPECT_NE(orders["12-3-A"]["ID"], first_id);
  EXPECT_EQ(orders["12-3-A"]["Address"], "3 Oak");
  EXPECT_EQ(RowsBy("Invoice", "FileNumber").count("12-3-A"), 1u);
}

// The duplicate-client correction writes the new keys through one control on client.dbf; the
// second control (the bill-to and order-client look-ups) kept its copy read before, so orders
// and bill-tos named clients by keys that no longer existed.
TEST_F(OrdersTest, OrdersAndBillTosSeeTheClientKeysTheCorrectionWrote) {
  Source office = SmallOffice();
  office.property[0]["CLI_NUM"] = Text("100");
  Write(office);
  std::vector<std::vector<foxpro::Value>> client_records;
  for (const ClientRecord& client : {ClientRecord{.number = "100", .name = "SMITH & SONS", .printed_name = "Smith and Sons",
                                                  .bill_to = "200"},
                                     ClientRecord{.number = "200", .name = "HQ & CO", .printed_name = "HQ and Co"}}) {
    client_records.push_back(client.Values());
  }
  test::WriteFoxTable(source + "/CLIENT.DBF", ClientFields(), client_records);
  Run({Step::Client, Step::Property}, {}, {}, true);
  // Sorted by key, HQ & CO (200) comes first and takes the empty key before it; SMITH & SONS
  // (100) takes the key before it, as the correction always made them.
  EXPECT_EQ(program.main_form->form().lstafterdup, (std::vector<std::string>{"200", "100HQ & CO"}));
  ExpectCells(RowsBy("Property", "FileNumber")["1001-A"], {{"Client", "100HQ & CO"}, {"BillTo", "200"}});
  ExpectCells(RowsBy("Client", "OldCliNum")["100"], {{"Client", "100HQ & CO"}, {"BillTo", "200"}});
}

}  // namespace
}  // namespace qorvane::convert::test_orders
