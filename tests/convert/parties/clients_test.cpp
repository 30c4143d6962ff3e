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
  const app::Ledger& ledger = step.ledger;
  EXPECT_EQ(ledger.read(), 9);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Added), 6);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Added) + ledger.count(app::RecordOutcome::Updated) +
                ledger.count(app::RecordOutcome::Unchanged) + ledger.count(app::RecordOutcome::Skipped) +
                ledger.count(app::RecordOutcome::Refused),
            9);
  EXPECT_TRUE(ledger.Complete());
}

TEST_F(ClientTest, AddressesBillToClientsAndContacts) {
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
                {.number = "700", .name = "Orphan Lender", .bill_to = "999", .street = "3 Elm"}});
  Run({CheckBox::ckbClient});

  auto clients = RowsBy("Client", "Client");
  test::ExportedRow first = clients["FIRST SAVINGS"];
  EXPECT_EQ(first["OldCliNum"], "100");
  EXPECT_EQ(first["Duns"], "123456789");
  EXPECT_EQ(first["ClientPhone"], "555-1234 12");
  EXPECT_EQ(first["BillTo"], "HEAD OFFICE");
  // Four lines, the empty second line kept.
  EXPECT_EQ(first["ClientAddr"], "FIRST SAVINGS BANK\r\n1 Main St\r\n\r\nSpringfield IL\r\n");
  EXPECT_EQ(first["BilltoAddr"], "HQ OF FIRST SAVINGS\r\n9 Tower Rd\r\nSuite 4\r\nChicago IL\r\n");
  EXPECT_EQ(first["MultipleInvoice"], "0");  // preferred billing inverted
  EXPECT_EQ(first["Active"], "1");
  EXPECT_EQ(first["ApplyFinanceCharge"], "1");
  EXPECT_EQ(clients["HEAD OFFICE"]["MultipleInvoice"], "1");
  EXPECT_EQ(clients["HEAD OFFICE"]["ClientPhone"], "555-0000");
  // A bill-to number that names no client: the client is its own bill-to.
  EXPECT_EQ(clients["ORPHAN LENDER"]["BillTo"], "ORPHAN LENDER");
  EXPECT_EQ(clients["ORPHAN LENDER"]["BilltoAddr"], "\r\n3 Elm\r\n\r\n\r\n");
  EXPECT_EQ(clients["FIRST SAVINGS 600"]["BillTo"], "FIRST SAVINGS 600");

  auto contacts = RowsBy("ClientContact", "Client");
  ASSERT_EQ(contacts.size(), 4u);
  EXPECT_EQ(contacts["FIRST SAVINGS"]["ClientContact"], "MARY JONES");
  EXPECT_EQ(contacts["FIRST SAVINGS"]["Contact"], "Mary Jones");
  EXPECT_EQ(contacts["FIRST SAVINGS"]["Phone"], "555-1234 12");
  EXPECT_EQ(contacts["FIRST SAVINGS"]["Fax"], "555-9999");
  EXPECT_EQ(contacts["FIRST SAVINGS 600"]["Contact"], "Someone Else");
}

TEST_F(ClientTest, ASecondRunOverTheSameTargetAddsNothing) {
  WriteClients(
      {{.number = "100", .name = "Acme"}, {.number = "200", .name = "Acme"}, {.number = "300", .name = "Beta"}});
  Run({CheckBox::ckbClient});
  Run({CheckBox::ckbClient});
  EXPECT_EQ(Rows("Client").size(), 3u);
  EXPECT_EQ(Rows("ClientContact").size(), 3u);
  EXPECT_EQ(StepLedger().count(app::RecordOutcome::Added), 0);
  EXPECT_EQ(StepLines("Begin conversion: Client.mdb").back(),
            "Formtypes table (standard) conversion complete: 3 records");
}

TEST_F(ClientTest, NamesInAnotherCodePageAreReadAndUpperCased) {
  WriteClients({{.number = "1", .name = "Банк Москва", .printed_name = "Банк Москва", .street = "ул. Ленина 5"},
                {.number = "2", .name = "банк москва"}},
               866);
  Run({CheckBox::ckbClient});
  auto clients = RowsBy("Client", "Client");
  ASSERT_EQ(clients.size(), 2u);
  EXPECT_EQ(clients["БАНК МОСКВА"]["ClientAddr"], "БАНК МОСКВА\r\nул. Ленина 5\r\n\r\n\r\n");
  EXPECT_EQ(clients["БАНК МОСКВА 2"]["OldCliNum"], "2");
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
  EXPECT_EQ(orders["F1"]["Client"], "FIRST SAVINGS");
  EXPECT_EQ(orders["F1"]["BillTo"], "HEAD OFFICE");
  // Empty address lines are left out here (unlike the Client row's four-line address).
  EXPECT_EQ(orders["F1"]["ReferenceAddress"], "First Savings Bank\r\n1 Main St\r\nSpringfield\r\n");
  EXPECT_EQ(orders["F1"]["InvoiceAddr"], "HQ\r\n9 Tower Rd\r\n");
  for (const char* number : {"F2", "F4", "F6"}) {
    EXPECT_EQ(orders[number]["Client"], "UNKNOWN CLIENT") << number;
    EXPECT_EQ(orders[number]["BillTo"], "UNKNOWN CLIENT") << number;
    EXPECT_EQ(orders[number]["ReferenceAddress"], "UNKNOWN ADDRESS") << number;
    EXPECT_EQ(orders[number]["InvoiceAddr"], "UNKNOWN ADDRESS") << number;
  }
  // A private person, billed to themselves; and a client that pays for a private person.
  EXPECT_EQ(orders["F3"]["Client"], "INDIVIDUAL");
  EXPECT_EQ(orders["F3"]["BillTo"], "INDIVIDUAL");
  EXPECT_EQ(orders["F3"]["InvoiceAddr"], "John Smith\r\n4 Oak Ave\r\n");
  EXPECT_EQ(orders["F7"]["BillTo"], "INDIVIDUAL");
  // The massage fill: only the empty bill-to is filled.
  EXPECT_EQ(orders["F5"]["Client"], "HEAD OFFICE");
  EXPECT_EQ(orders["F5"]["BillTo"], "INDIVIDUAL");

  auto clients = Rows("Client");
  ASSERT_EQ(clients.size(), 1u);
  EXPECT_EQ(clients[0]["Client"], "UNKNOWN CLIENT");
  EXPECT_EQ(clients[0]["ClientAddr"], "UNKNOWN ADDRESS");
  EXPECT_EQ(clients[0]["BilltoAddr"], "UNKNOWN ADDRESS");
  EXPECT_EQ(clients[0]["Active"], "1");
}

TEST(NameWithNumber, JoinsBelowThirtyEightAndCutsTheNameAtOrAbove) {
  EXPECT_EQ(NameWithNumber("ACME", "12"), "ACME 12");
  EXPECT_EQ(NameWithNumber(std::string(26, 'A'), "1234567890"), std::string(26, 'A') + " 1234567890");  // 37
  EXPECT_EQ(NameWithNumber(std::string(27, 'A'), "1234567890"), std::string(27, 'A') + " 1234567890");  // 38: cut, same
  EXPECT_EQ(NameWithNumber(std::string(30, 'A'), "1234567890"), std::string(27, 'A') + " 1234567890");
  EXPECT_EQ(NameWithNumber("ZÜRICH HÖNGG BANKVEREIN AG GENOSSEN", "12345"), "ZÜRICH HÖNGG BANKVEREIN AG GENOS 12345");
}

}  // namespace
}  // namespace qorvane::convert
