// The data massage end to end, after a conversion: invoice amounts from the fee total with
// their "***" lines, balances and paid flags; paid flags of Assigned rows; the dates, form
// columns, clients and appraisers of orders.
#include "convert/orders/massage.h"

#include "order_office.h"

namespace qorvane::convert::test_orders {
namespace {

using app::MassageStep;
using app::Step;

TEST_F(OrdersTest, TheInvoiceMassageSetsAmountBalanceAndPaidFlag) {
  Source office;
  office.invoice = {
      {{"INV_NUM", Text("1")}, {"INV_EXP", Number(150)}},                                          // fees 0
      {{"INV_NUM", Text("2")}, {"INV_FEE", Number(100)}, {"INV_AMT1", Number(150)}},               // overpaid
      {{"INV_NUM", Text("3")}, {"INV_FEE", Number(100)}, {"INV_AMT1", Number(60)}, {"INV_AMT2", Number(40)}},
      {{"INV_NUM", Text("4")}},                                                                     // zero fee
      {{"INV_NUM", Text("5")}, {"INV_FEE", Number(100)}, {"INV_AMT1", Number(99.99)}},
  };
  office.cliexp = {{{"INV_NUM", Text("3")}, {"EXP_TYPE", Text("EXP1")}, {"EXP_AMT", Number(20)}}};
  Write(office);
  auto lines = Run({Step::Invoice}, {MassageStep::Invoice});
  auto invoices = RowsBy("Invoice", "FileNumber");
  ExpectCells(invoices["1-A"], {{"InvoiceAmount", "0"}, {"PaidInFull", "1"}});
  ExpectCells(invoices["2-A"], {{"BalanceDue", "-50"}, {"PaidInFull", "0"}});
  ExpectCells(invoices["3-A"], {{"InvoiceAmount", "120"}, {"BalanceDue", "20"}});  // report fee and expense slot
  ExpectCells(invoices["4-A"], {{"BalanceDue", "0"}, {"PaidInFull", "1"}});
  EXPECT_EQ(invoices["5-A"]["PaidInFull"], "0");

  std::vector<std::string> expected = {
      "***             Filenumber:        1-A - Invoice Amount of 150 did not match Fee Total 0",
      "***             Filenumber:        3-A - Invoice Amount of 100 did not match Fee Total 120",
  };
  EXPECT_EQ(LinesStarting(lines, "***             "), expected);
  EXPECT_TRUE(Has(lines, "Invoice data massage complete: 5 records"));
  EXPECT_TRUE(Has(lines, "Data massage (ALL) complete:"));
}

TEST_F(OrdersTest, TheAssignedMassageMarksExactlyPaidRowsWithAnAppraiser) {
  Source office;
  office.property = {{{"FILE_NUM", Text("1")}}};
  office.appraisers = {{{"APP_NUM", Text("A1")}, {"APP_LNAME", Text("Ames")}}};
  office.applied = {{{"FILE_NUM", Text("1")}, {"APP_NUM", Text("A1")}, {"PAY_FEE", Number(100)}},
                    {{"FILE_NUM", Text("1")}, {"APP_NUM", Text("A2")}, {"PAY_FEE", Number(100)}},
                    {{"FILE_NUM", Text("1")}, {"APP_NUM", Text("")}, {"PAY_FEE", Number(0)}}};
  Write(office);
  Run({Step::Property, Step::Applied});
  SetCell("Assigned", "FileNumberCodeAppraiser", "1-A0AMES", "AmountPaid", jet::Value::Float(100));
  SetCell("Assigned", "FileNumberCodeAppraiser", "1-A0A2", "AmountPaid", jet::Value::Float(99.99f));
  SetCell("Assigned", "FileNumberCodeAppraiser", "1-A0", "AmountPaid", jet::Value::Float(0));
  auto lines = Run({}, {MassageStep::Assigned});
  auto rows = RowsBy("Assigned", "FileNumberCodeAppraiser");
  EXPECT_EQ(rows["1-A0AMES"]["PaidInFull"], "1");
  EXPECT_EQ(rows["1-A0A2"]["PaidInFull"], "0");
  EXPECT_EQ(rows["1-A0"]["PaidInFull"], "0");  // no appraiser: left as it is
  // This massage shows no counter.
  EXPECT_TRUE(Has(lines, "Assigned data massage complete:  records"));
}

TEST_F(OrdersTest, ThePropertyMassageFillsDatesFormsClientsAndAppraisers) {
  Source office;
  office.property = {
      {{"FILE_NUM", Text("1")}, {"PR_DASSIGN", Day(2015, 2, 3)}, {"PR_DREVIEW", Day(2015, 3, 1)}},
      {{"FILE_NUM", Text("2")}, {"PR_DRECEIV", Day(2015, 1, 9)}},
  };
  office.applied = {{{"FILE_NUM", Text("1")}, {"APP_NUM", Text("Z9")}, {"PAY_FEE", Number(10)}}};
  Write(office);
  Run({Step::FormTypes, Step::Property, Step::Applied});
  SetCell("Property", "FileNumber", "       1-A", "form", jet::Value::Null());
  SetCell("Property", "FileNumber", "       2-A", "FormType", jet::Value::Null());
  // The property step gave the order without a client the placeholder; an office that emptied
  // it since gets "INDIVIDUAL" from the massage.
  SetCell("Property", "FileNumber", "       1-A", "Client", jet::Value::String(""));
  SetCell("Property", "FileNumber", "       1-A", "BillTo", jet::Value::String(""));
  SetCell("Appraiser", "Appraiser", "Z9", "Appraiser", jet::Value::String("gone"));
  auto lines = Run({}, {MassageStep::Property});

  auto rows = RowsBy("Property", "FileNumber");
  // The received date is missing, and the inspection date too; "NONE" is the form of the form
  // type NONE.
  ExpectCells(rows["1-A"], {{"Dateassigned", "2/3/2015"}, {"DateReceived", "2/3/2015"}, {"DateDue", "2/3/2015"},
                            {"DateReviewed", "3/1/2015"}, {"DateClosed", "1/1/1900"}, {"form", "NONE"},
                            {"Client", "INDIVIDUAL"}, {"BillTo", "INDIVIDUAL"}});
  // A missing assignment date is 1/1/1900, itself a usable date: it becomes the reference, and
  // the missing inspection date has the received date overwritten with it.
  ExpectCells(rows["2-A"], {{"DateReceived", "1/1/1900"}, {"DateDue", "1/1/1900"}, {"FormType", "NONE"}});
  // The appraiser an order's payment names is in Appraiser again.
  EXPECT_EQ(RowsBy("Appraiser", "Appraiser").count("Z9"), 1u);
  EXPECT_TRUE(Has(lines, "Property data massage complete: 2 records"));
}

TEST_F(OrdersTest, AMassageLimitedToListedNumbersTouchesOnlyThose) {
  Source office;
  office.invoice = {{{"INV_NUM", Text("1")}, {"INV_EXP", Number(5)}}, {{"INV_NUM", Text("2")}, {"INV_EXP", Number(5)}}};
  Write(office);
  Run({Step::Invoice});
  auto lines = Run({}, {MassageStep::Invoice}, {"2"});
  auto invoices = RowsBy("Invoice", "FileNumber");
  EXPECT_EQ(invoices["1-A"]["InvoiceAmount"], "5");
  EXPECT_EQ(invoices["2-A"]["InvoiceAmount"], "0");
  EXPECT_EQ(LinesStarting(lines, "***").size(), 1u);
}

}  // namespace
}  // namespace qorvane::convert::test_orders
