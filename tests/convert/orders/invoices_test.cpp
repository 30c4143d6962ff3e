// The invoice, expense and payment steps end to end, and a second run over the same target:
// invoice amounts and client-expense slots, Assigned rows from appraiser expenses and applied
// payments with their de-duplication, appraisers added on the way, orders overwritten in place
// and invoices left untouched, and a run limited to listed file numbers.
#include "convert/orders/invoices.h"

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

TEST_F(OrdersTest, InvoicesGetTheirAmountsDetailAndExpenseSlots) {
  Write(SmallOffice());
  auto lines = Run(kOrderSteps);
  auto invoices = RowsBy("Invoice", "FileNumber");
  ASSERT_EQ(invoices.size(), 4u);  // 1001, 1002 (once), 12-3, 9999; the empty number is skipped

  test::ExportedRow& first = invoices["1001-A"];
  EXPECT_EQ(first["FileNumber"], "    1001-A");
  EXPECT_EQ(first["InvoiceDate"], "5/6/2010");
  EXPECT_EQ(first["Detail"], "Appraisal\r\n");
  EXPECT_EQ(first["Check1"], "CK 100");
  EXPECT_EQ(first["Check1Date"], "6/1/2010");
  EXPECT_EQ(first["Check2Date"], "1/1/1900");
  EXPECT_EQ(first["Check1Amount"], "80");
  EXPECT_EQ(first["ReportFee"], "300");
  EXPECT_EQ(first["InvoiceAmount"], "325.5");  // inv_exp + inv_fee
  EXPECT_EQ(first["DESC2"], "Photos");         // the last EXP2 wins
  EXPECT_EQ(first["DESC2AMOUNT"], "7.5");
  EXPECT_EQ(first["DESC1"], "Courier");        // "exp1" is upper-cased; its 0 leaves the amount
  EXPECT_EQ(first["DESC1AMOUNT"], "");
  EXPECT_EQ(first["DESC3"], "");
  EXPECT_EQ(invoices["1002-A"]["DESC3"], "Rush");
  EXPECT_EQ(invoices["1002-A"]["DESC3AMOUNT"], "40");
  EXPECT_EQ(invoices["1002-A"]["ReportFee"], "150");  // the first invoice of a number is kept
  EXPECT_EQ(invoices["1002-A"]["Detail"], "\r\n");

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
  EXPECT_TRUE(Has(lines, "Invoice table conversion complete: 6 records"));
  EXPECT_TRUE(Has(lines, "Appraiser Expense data conversion complete: 4 records"));
  EXPECT_TRUE(Has(lines, "Applied table conversion complete: 6 records"));
}

TEST_F(OrdersTest, ExpensesAndPaymentsBecomeAssignedRowsOncePerKey) {
  Write(SmallOffice());
  Run(kOrderSteps);
  auto assigned = RowsBy("Assigned", "FileNumberCodeAppraiser");
  ASSERT_EQ(assigned.size(), 7u);
  // Appraiser expenses: one row per expense of a converted order.
  EXPECT_EQ(assigned["1001-AE1SMITH"]["Amount"], "30");
  EXPECT_EQ(assigned["1001-AE2SMITH"]["Amount"], "15");
  EXPECT_EQ(assigned["1001-AE1SMITH"]["Description"], "1");
  EXPECT_EQ(assigned["1001-AE1SMITH"]["DescCode"], "E1");
  EXPECT_EQ(assigned["1001-AE1SMITH"]["FileNumber"], "    1001-A");
  // Payments: the first of a file number and appraiser wins.
  test::ExportedRow& paid = assigned["1001-A0SMITH"];
  EXPECT_EQ(paid["Amount"], "200");
  EXPECT_EQ(paid["Appraiser"], "SMITH");
  EXPECT_EQ(paid["Description"], "Converted Form Payment");
  EXPECT_EQ(paid["DescCode"], "0");
  EXPECT_EQ(assigned["1001-A0JONES"]["Amount"], "50");
  // An appraiser number the appraiser table does not know names the appraiser, who is added.
  EXPECT_EQ(assigned["1002-A0B99"]["Appraiser"], "B99");
  EXPECT_EQ(assigned["1002-A0"]["Appraiser"], "");
  EXPECT_EQ(assigned["8888-A0JONES"]["Amount"], "1");
  auto appraisers = RowsBy("Appraiser", "Appraiser");
  ASSERT_EQ(appraisers.size(), 1u);
  EXPECT_EQ(appraisers["B99"]["ApprInfo"], "Automatically Added:     1002-A");
  EXPECT_EQ(appraisers["B99"]["Active"], "1");
  EXPECT_EQ(program.main_form->form().lstWasNotConverted, std::vector<std::string>{"Apprexp: 7777-A"});
}

TEST_F(OrdersTest, ASecondRunOverwritesOrdersInPlaceLeavesInvoicesAndAddsNothingTwice) {
  Source office = SmallOffice();
  Write(office);
  Run(kOrderSteps);
  auto before = RowsBy("Property", "FileNumber");
  office.property[0][ "PR_STREET"] = Text("1 Oak Changed");
  office.invoice[0]["INV_FEE"] = Number(1);
  Write(office);
  auto lines = Run(kOrderSteps);

  auto after = RowsBy("Property", "FileNumber");
  ASSERT_EQ(after.size(), 3u);
  EXPECT_EQ(after["1001-A"]["ID"], before["1001-A"]["ID"]);
  EXPECT_EQ(after["1001-A"]["Address"], "1 Oak Changed");
  auto invoices = RowsBy("Invoice", "FileNumber");
  EXPECT_EQ(invoices.size(), 4u);
  EXPECT_EQ(invoices["1001-A"]["ReportFee"], "300");
  EXPECT_EQ(Rows("Assigned").size(), 7u);
  EXPECT_EQ(Rows("Appraiser").size(), 1u);
  // The corrected order's number is now an invoice number: the order is refused.
  EXPECT_TRUE(Has(lines, "WARNING: illegal filenumber NOT converted =     12#3-A"));
  EXPECT_NE(std::find(program.main_form->form().lstWasNotConverted.begin(),
                      program.main_form->form().lstWasNotConverted.end(), "Property:     12#3-A"),
            program.main_form->form().lstWasNotConverted.end());
  EXPECT_TRUE(LinesStarting(lines, "DATA: invoice.dbf invoice # 1002 appears").empty());
  EXPECT_EQ(Ledger("invoice").count(app::RecordOutcome::Added), 0);
}

TEST_F(OrdersTest, ARunLimitedToListedNumbersConvertsOnlyThose) {
  Source office = SmallOffice();
  // The listed pass selects the order by its right-justified number.
  for (Record& order : office.property) order["FILE_NUM"] = Text(std::string(10 - order["FILE_NUM"].text.size(), ' ') + order["FILE_NUM"].text);
  Write(office);
  auto lines = Run(kOrderSteps, {}, {"1001", "1002"});
  auto orders = RowsBy("Property", "FileNumber");
  EXPECT_EQ(orders.size(), 2u);
  EXPECT_EQ(orders.count("12-3-A"), 0u);
  auto invoices = RowsBy("Invoice", "FileNumber");
  EXPECT_EQ(invoices.size(), 2u);
  EXPECT_EQ(invoices["1002-A"]["ReportFee"], "150");
  // Payments take only the number txtfilenum shows last: 1002.
  for (auto& [key, row] : RowsBy("Assigned", "FileNumberCodeAppraiser")) {
    if (row["DescCode"] == "0") {
      EXPECT_EQ(row["FileNumber"], "    1002-A") << key;
    }
  }
  EXPECT_EQ(RowsBy("Assigned", "FileNumberCodeAppraiser").count("1001-AE1SMITH"), 1u);
  // Each pass counts from 1.
  EXPECT_TRUE(Has(lines, "Property table conversion complete: 1 records"));

  // A listed order is converted afresh: its row is deleted and written again.
  auto first_id = orders["1001-A"]["ID"];
  Run({Step::Property}, {}, {"1001"});
  EXPECT_NE(RowsBy("Property", "FileNumber")["1001-A"]["ID"], first_id);
  EXPECT_EQ(Rows("Property").size(), 2u);
}

}  // namespace
}  // namespace qorvane::convert::test_orders
