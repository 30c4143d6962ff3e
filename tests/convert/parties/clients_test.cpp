// The client step end to end: client.dbf through both passes into Client and ClientContact,
// read back with mdb-export. Merging by name and the rows by number (the 38-character rule),
// bill-to clients and addresses, private persons, contacts, a rerun, another code page, bad
// input; and the client columns an order gets from CheckClient.
#include "convert/parties/clients.h"

#include <filesystem>
#include <fstream>

#include "data/context.h"
#include "data/record_loop.h"
#include "party_office.h"

namespace qorvane::convert {
namespace {

using app::CheckBox;

class ClientTest : public PartyOfficeTest {};

TEST_F(ClientTest, NamesMergeInTheFirstPassAndEveryNumberGetsARow) {
  const std::string thirty(30, 'N');      // with a 10-character number: 41, cut to 38
  const std::string twenty_six(26, 'S');  // with a 10-character number: exactly 37, not cut
  WriteClients({{.number = "100", .name = "Acme Bank"},
                {.number = "200", .name = "ACME BANK "},
                {.number = "A123456789", .name = thirty},
                {.number = "B123456789", .name = thirty},
                {.number = "C123456789", .name = twenty_six},
                {.number = "D123456789", .name = twenty_six},
                {.number = "300", .name = "~Smith, John"},
                {.number = "", .name = "No Number"},
                {.number = "400", .name = ""}});
  app::StepResult step = RunConverters({ConvertClientDBF, ConvertClientDBFByCliNum});

  auto clients = RowsBy("Client", "Client");
  ASSERT_EQ(clients.size(), 6u);
  EXPECT_EQ(clients["ACME BANK"]["OldCliNum"], "100");
  EXPECT_EQ(clients["ACME BANK 200"]["OldCliNum"], "200");
  EXPECT_EQ(clients[thirty]["OldCliNum"], "A123456789");
  EXPECT_EQ(clients[std::string(27, 'N') + " B123456789"]["OldCliNum"], "B123456789");
  EXPECT_EQ(clients[twenty_six + " D123456789"]["OldCliNum"], "D123456789");
  EXPECT_EQ(clients.count("~SMITH, JOHN"), 0u);

  // One contact per target client name.
  auto contacts = RowsBy("ClientContact", "Client");
  EXPECT_EQ(contacts.size(), 6u);
  EXPECT_EQ(contacts["ACME BANK 200"]["OldCliNum"], "200");

  // The second pass's counter is the step's count. The two passes read each of the 9 records;
  // each is counted once.
  EXPECT_EQ(step.shown_count, 9);
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(step.ledger.read(), 9);
  EXPECT_EQ(step.ledger.count(app::RecordOutcome::Added), 6);
  using enum app::RecordOutcome;
  EXPECT_EQ(step.ledger.count(Added) + step.ledger.count(Updated) + step.ledger.count(Unchanged) +
                step.ledger.count(Skipped) + step.ledger.count(Refused), 9);  // each record placed once
  EXPECT_TRUE(step.ledger.Complete());
}

TEST_F(ClientTest, AddressesBillToClientsContactsAnotherCodePageAndASecondRunAddsNothing) {
  WriteClients({{.number = "100",
                 .name = "First Savings",
                 .printed_name = "First Savings Bank",
                 .bill_to = "500",
                 .street = "1 Main St",
                 .addr2 = "",
                 .addr3 = "Springfield IL",
                 .phone = "555-1234",
                 .ext = "12",
                 .contact = "Mary Jones",
                 .fax = "555-9999",
                 .duns = "123456789",
                 .preferred_billing = true},
                {.number = "500",
                 .name = "Head Office",
                 .printed_name = "HQ of First Savings",
                 .street = "9 Tower Rd",
                 .addr2 = "Suite 4",
                 .addr3 = "Chicago IL",
                 .phone = "555-0000"},
                {.number = "600", .name = "First Savings", .contact = "Someone Else"},
                {.number = "700", .name = "Orphan Lender", .bill_to = "999", .street = "3 Elm"},
                {.number = "1", .name = "Банк Москва", .printed_name = "Банк Москва", .street = "ул. Ленина 5"},
                {.number = "2", .name = "банк москва"}},
               866);
  Run({CheckBox::ckbClient});

  auto clients = RowsBy("Client", "Client");
  // Four address lines, the empty second line kept; preferred billing inverted.
  ExpectCells(clients["FIRST SAVINGS"],
              {{"OldCliNum", "100"}, {"Duns", "123456789"}, {"ClientPhone", "555-1234 12"}, {"BillTo", "HEAD OFFICE"},
               {"ClientAddr", "FIRST SAVINGS BANK\r\n1 Main St\r\n\r\nSpringfield IL\r\n"},
               {"BilltoAddr", "HQ OF FIRST SAVINGS\r\n9 Tower Rd\r\nSuite 4\r\nChicago IL\r\n"},
               {"MultipleInvoice", "0"}, {"Active", "1"}, {"ApplyFinanceCharge", "1"}});
  ExpectCells(clients["HEAD OFFICE"], {{"MultipleInvoice", "1"}, {"ClientPhone", "555-0000"}});
  // A bill-to number that names no client: the client is its own bill-to.
  ExpectCells(clients["ORPHAN LENDER"], {{"BillTo", "ORPHAN LENDER"}, {"BilltoAddr", "\r\n3 Elm\r\n\r\n\r\n"}});
  EXPECT_EQ(clients["FIRST SAVINGS 600"]["BillTo"], "FIRST SAVINGS 600");
  // Names in the table's code page are read and upper-cased.
  EXPECT_EQ(clients["БАНК МОСКВА"]["ClientAddr"], "БАНК МОСКВА\r\nул. Ленина 5\r\n\r\n\r\n");
  EXPECT_EQ(clients["БАНК МОСКВА 2"]["OldCliNum"], "2");

  auto contacts = RowsBy("ClientContact", "Client");
  ASSERT_EQ(contacts.size(), 6u);
  ExpectCells(contacts["FIRST SAVINGS"],
              {{"ClientContact", "MARY JONES"}, {"Contact", "Mary Jones"}, {"Phone", "555-1234 12"}, {"Fax", "555-9999"}});
  EXPECT_EQ(contacts["FIRST SAVINGS 600"]["Contact"], "Someone Else");

  // A second run over the same target adds nothing.
  Run({CheckBox::ckbClient});
  EXPECT_EQ(Rows("Client").size(), 6u);
  EXPECT_EQ(Rows("ClientContact").size(), 6u);
  EXPECT_EQ(StepLedger().count(app::RecordOutcome::Added), 0);
  EXPECT_EQ(StepLines("Begin conversion: Client.mdb").back(),
            "Formtypes table (standard) conversion complete: 6 records");
}

TEST_F(ClientTest, BadRecordsAreReportedByTableAndRecordAndTheRestGoesOn) {
  const std::string long_name = "The Very Long Name Of A Mortgage Company Inc";  // 44 characters
  WriteClients({{.number = "100", .name = long_name},
                {.number = "200", .name = "Good Client", .preferred_billing = true},
                {.number = "300", .name = "Last Client"}});
  const std::string file = source + "/CLIENT.DBF";
  {
    // The second record's preferred-billing flag holds a byte no logical field can hold, and the
    // last record loses its end: the file stops in the middle of it.
    std::fstream table(file, std::ios::in | std::ios::out | std::ios::binary);
    unsigned char header[10];
    table.read(reinterpret_cast<char*>(header), 10);
    std::size_t header_length = header[8] | (header[9] << 8);
    std::size_t record_length = 0;
    for (const foxpro::FieldSpec& field : ClientFields()) record_length += field.length;
    table.seekp(static_cast<std::streamoff>(header_length + 2 * (record_length + 1) - 1));
    table.put('#');
  }
  std::filesystem::resize_file(file, std::filesystem::file_size(file) - 100);
  Run({CheckBox::ckbClient});

  auto clients = RowsBy("Client", "Client");
  ASSERT_EQ(clients.size(), 2u);
  EXPECT_EQ(clients.count("THE VERY LONG NAME OF A MORTGAGE COMPANY"), 1u);
  EXPECT_EQ(clients["GOOD CLIENT"]["MultipleInvoice"], "1");  // the flag read as blank
  auto has = [&](const std::string& text) {
    return std::any_of(log.begin(), log.end(), [&](const std::string& line) { return line.find(text) != line.npos; });
  };
  EXPECT_TRUE(has("CLIENT.DBF: the header counts 3 records but the file")) << ::testing::PrintToString(log);
  EXPECT_TRUE(has("CLIENT.DBF: record 2, field PREF_BILL: '#' is not a logical value; it is read as blank"));
  EXPECT_NE(std::find(log.begin(), log.end(),
                      "CLIENT.DBF record 1: Client \"THE VERY LONG NAME OF A MORTGAGE COMPANY INC\" is longer than 40 "
                      "characters; converted as \"THE VERY LONG NAME OF A MORTGAGE COMPANY\""),
            log.end());

  // A rerun finds the shortened name and adds nothing.
  Run({CheckBox::ckbClient});
  EXPECT_EQ(Rows("Client").size(), 2u);
}

// The client columns of orders, through a property step that runs CheckClient on every record
// of property.dbf (as the order converter does) and FillIndividualClient after it.
class CheckClientTest : public PartyOfficeTest {
 protected:
  // The order loop's client part alone, through the run layer: CheckClient per record, the
  // massage's fill of an empty bill-to afterwards.
  void RunOrders() {
    test::PlainRun run(source, target);
    data::Context& context = run.context;
    data::SourceTable orders = context.SourceOf(app::SourceControl::datproperty);
    const data::SourceField file_num = orders.Field("FILE_NUM");
    OrderClient order_client(context);
    data::TargetTable& property = order_client.property;
    const data::TargetColumn file_number = property.Column("FileNumber");
    data::TargetRow row = property.NewRow();
    data::RecordLoop loop;
    loop.routine = "ConvertPropertyDBF";
    loop.source = &orders.control();
    data::RunRecordLoop(context, loop, [&] {
      row.Set(file_number, orders.Text(file_num));
      CheckClient(context, order_client, row);
      if (orders.Text(file_num) == "F5") row.Set(order_client.BillTo, "");
      jet::RowId id = property.Add(row);
      FillIndividualClient(property, id, order_client.Client, order_client.BillTo, row);
      property.Update(id, row);
      return app::RecordResult::Added();
    });
    run.Finish();
    EXPECT_TRUE(run.layer.failures.empty());
  }
};

TEST_F(CheckClientTest, OrdersGetTheirClientsBillToPrivatePersonsAndOnePlaceholder) {
  WriteClients(
      {{.number = "100",
        .name = "First Savings",
        .printed_name = "First Savings Bank",
        .bill_to = "500",
        .street = "1 Main St",
        .addr3 = "Springfield"},
       {.number = "500", .name = "Head Office", .printed_name = "HQ", .street = "9 Tower Rd"},
       {.number = "300", .name = "~Smith, John", .printed_name = "John Smith", .bill_to = "500", .street = "4 Oak Ave"},
       {.number = "800", .name = "Pays For A Person", .bill_to = "300"}});
  WriteTable("PROPERTY.DBF", {{"FILE_NUM", 'C', 10}, {"CLI_NUM", 'C', 10}},
             {{Fox("F1"), Fox("100")},
              {Fox("F2"), Fox("")},
              {Fox("F3"), Fox("300")},
              {Fox("F4"), Fox("")},
              {Fox("F5"), Fox("500")},
              {Fox("F6"), Fox("999")},
              {Fox("F7"), Fox("800")}});
  RunOrders();

  auto orders = RowsBy("Property", "FileNumber");
  ASSERT_EQ(orders.size(), 7u);
  // Empty address lines are left out here (unlike the Client row's four-line address).
  ExpectCells(orders["F1"], {{"Client", "FIRST SAVINGS"}, {"BillTo", "HEAD OFFICE"},
                             {"ReferenceAddress", "First Savings Bank\r\n1 Main St\r\nSpringfield\r\n"},
                             {"InvoiceAddr", "HQ\r\n9 Tower Rd\r\n"}});
  for (const char* number : {"F2", "F4", "F6"}) {
    ExpectCells(orders[number], {{"Client", "UNKNOWN CLIENT"}, {"BillTo", "UNKNOWN CLIENT"},
                                 {"ReferenceAddress", "UNKNOWN ADDRESS"}, {"InvoiceAddr", "UNKNOWN ADDRESS"}}, number);
  }
  // A private person, billed to themselves; a client that pays for a private person; the
  // massage fill, of the empty bill-to only.
  ExpectCells(orders["F3"], {{"Client", "INDIVIDUAL"}, {"BillTo", "INDIVIDUAL"}, {"InvoiceAddr", "John Smith\r\n4 Oak Ave\r\n"}});
  EXPECT_EQ(orders["F7"]["BillTo"], "INDIVIDUAL");
  ExpectCells(orders["F5"], {{"Client", "HEAD OFFICE"}, {"BillTo", "INDIVIDUAL"}});

  auto clients = Rows("Client");
  ASSERT_EQ(clients.size(), 1u);
  ExpectCells(clients[0], {{"Client", "UNKNOWN CLIENT"}, {"ClientAddr", "UNKNOWN ADDRESS"},
                           {"BilltoAddr", "UNKNOWN ADDRESS"}, {"Active", "1"}});
}

TEST(NameWithNumber, JoinsBelowThirtyEightAndCutsTheNameAtOrAbove) {
  EXPECT_EQ(NameWithNumber(std::string(27, 'A'), "1234567890"), std::string(27, 'A') + " 1234567890");  // 38: cut, same
  EXPECT_EQ(NameWithNumber("ZÜRICH HÖNGG BANKVEREIN AG GENOSSEN", "12345"), "ZÜRICH HÖNGG BANKVEREIN AG GENOS 12345");
}

}  // namespace
}  // namespace qorvane::convert
