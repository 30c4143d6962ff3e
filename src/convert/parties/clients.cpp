// The client converter (see clients.h). Both passes walk client.dbf on the one record loop and
// differ only in how a record finds its target row: by name in the first pass, by client
// number in the second. Records with no number, no name, or a name marked with "~" (a private
// person) are skipped in both.
#include "convert/parties/clients.h"

#include "common/error.h"
#include "common/text.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/record_loop.h"
#include "data/transfer.h"
#include "foxpro/record_set.h"

namespace qorvane::convert {
namespace {

using app::RecordResult;
using app::SourceControl;

constexpr const char* kUnknownClient = "UNKNOWN CLIENT";
constexpr const char* kUnknownAddress = "UNKNOWN ADDRESS";
constexpr const char* kIndividual = "INDIVIDUAL";
// The joined name of a client number's own row stays below this many characters.
constexpr std::size_t kNameWithNumberLimit = 38;

enum class ClientPass { ByName, ByNumber };

// The four address lines of a new Client row: each followed by CR LF, empty ones included.
std::string FourLineAddress(const data::SourceTable& record, const ClientFields& fields, std::string_view printed_name) {
  std::string address(printed_name);
  address += "\r\n";
  for (const data::SourceField* field : {&fields.Cli_Street, &fields.Cli_Addr2, &fields.Cli_Addr3}) {
    address += data::DATgetfield(record, *field) + "\r\n";
  }
  return address;
}

// The name of the client billed, from the bill-to record BILL_TO stands on: a private person
// is billed as "INDIVIDUAL".
std::string BillToName(const data::SourceTable& bill_to, const ClientFields& fields) {
  std::string name = text::UCaseTrim(data::DATgetfield(bill_to, fields.Cli_LName));
  return IsTildeMarked(name) ? kIndividual : name;
}

// The placeholder client, added unless an active client of that name is there; WRITE fills the
// new row.
template <typename Write>
void EnsureUnknownClient(ClientTable& clients, Write write) {
  for (jet::RowId row : clients.table.FindAll(clients.Client, kUnknownClient)) {
    if (data::adogetfieldtf(clients.table, row, clients.Active)) return;
  }
  data::TargetRow row = clients.table.NewRow();
  write(row);
  clients.table.Add(row);
}

app::StepResult RunClientPass(data::Context& context, ClientPass pass) {
  const char* routine = pass == ClientPass::ByName ? "ConvertClientDBF" : "ConvertClientDBFByCliNum";
  return context.Guard(routine, [&]() -> app::StepResult {
    data::SourceTable clients = context.SourceOf(SourceControl::datClient);
    data::SourceTable bill_to = context.SourceOf(SourceControl::datclienttable);
    // The first pass leaves the table at its end; each pass starts from the first record.
    if (clients.bound()) clients.records().MoveFirst();
    ClientFields fields(clients);
    ClientTable client(context);
    ClientContactTable contact(context);
    data::TargetRow client_row = client.table.NewRow();
    data::TargetRow contact_row = contact.table.NewRow();

    // Adds the contact row of the current record under NAME unless that name has one.
    auto ensure_contact = [&](const std::string& name) {
      if (data::AdoFindRec(contact.table, data::FilterClient(contact.Client, name))) return false;
      SetClientContactFields(clients, fields, contact, name, contact_row);
      contact.table.Add(contact_row);
      return true;
    };
    auto add_client = [&](std::string_view row_name) {
      data::AdoSetField(client_row, client.Client, text::UCase(row_name));
      SetClientFields(clients, bill_to, fields, client, row_name, client_row);
      client.table.Add(client_row);
    };

    data::RecordLoop loop;
    loop.routine = routine;
    loop.source = &clients.control();
    loop.show = [&](std::int64_t) { context.ShowRecord("Client.DBF", data::DATgetfield(clients, fields.Cli_num)); };
    loop.key = [&] { return "Cli_num " + data::DATgetfield(clients, fields.Cli_num); };
    return data::RunSourceTableLoop(context, "client.dbf", loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(clients, fields.Cli_num);
      std::string name = text::UCaseTrim(data::DATgetfield(clients, fields.Cli_LName));
      if (number.empty()) return RecordResult::Skipped("no client number");
      if (name.empty()) return RecordResult::Skipped("no client name");
      if (IsTildeMarked(name)) return RecordResult::Skipped("a private person (name marked with ~)");

      bool added = false;
      std::string filed_under;  // the Client the record's row has, and its contact's
      RecordResult found;
      if (pass == ClientPass::ByName) {
        filed_under = data::KeyAsStored(context, clients, client.Client, name);
        if (data::AdoFindRec(client.table, data::FilterClient(client.Client, filed_under))) {
          // The first record of a name wins; later ones are taken by the pass by number.
          found = RecordResult::Skipped("client already in Client");
        } else {
          add_client(name);
          added = true;
        }
      } else {
        std::string stored_number = data::KeyAsStored(context, clients, client.OldCliNum, number);
        if (data::AdoFindRec(client.table, data::FilterOldCliNum(client.OldCliNum, stored_number))) {
          filed_under = text::TrimToWidth(name, client.Client.width);
          found = RecordResult::Unchanged();
        } else {
          filed_under = text::UCase(NameWithNumber(name, number));
          add_client(filed_under);
          added = true;
        }
      }
      if (ensure_contact(filed_under)) added = true;
      return added ? RecordResult::Added() : found;
    });
  });
}

}  // namespace

ClientFields::ClientFields(const data::SourceTable& clients)
    : Cli_num(clients.Field("Cli_num")),
      Cli_LName(clients.Field("Cli_LName")),
      Plain_Name(clients.Field("Plain_Name")),
      Cli_Bill(clients.Field("Cli_Bill")),
      Cli_Street(clients.Field("Cli_Street")),
      Cli_Addr2(clients.Field("Cli_Addr2")),
      Cli_Addr3(clients.Field("Cli_Addr3")),
      Cli_Phone(clients.Field("Cli_Phone")),
      Cli_ext(clients.Field("Cli_ext")),
      Cli_Cont(clients.Field("Cli_Cont")),
      Cli_Fax(clients.Field("Cli_Fax")),
      Duns(clients.Field("Duns")),
      Pref_Bill(clients.Field("Pref_Bill")) {}

ClientTable::ClientTable(data::Context& context)
    : table(context.Table("Client")),
      Client(table.Column("Client")),
      OldCliNum(table.Column("OldCliNum")),
      Duns(table.Column("Duns")),
      ClientPhone(table.Column("ClientPhone")),
      BillTo(table.Column("BillTo")),
      ClientAddr(table.Column("ClientAddr")),
      BilltoAddr(table.Column("BilltoAddr")),
      MultipleInvoice(table.Column("MultipleInvoice")),
      Active(table.Column("Active")),
      ApplyFinanceCharge(table.Column("ApplyFinanceCharge")) {
  data::ReportMissingColumns(context, table);
}

ClientContactTable::ClientContactTable(data::Context& context)
    : table(context.Table("ClientContact")),
      OldCliNum(table.Column("OldCliNum")),
      Client(table.Column("Client")),
      ClientContact(table.Column("ClientContact")),
      Contact(table.Column("Contact")),
      Phone(table.Column("Phone")),
      Fax(table.Column("Fax")) {
  data::ReportMissingColumns(context, table);
}

OrderClient::OrderClient(data::Context& context)
    : orders(context.SourceOf(SourceControl::datproperty)),
      clients(context.SourceOf(SourceControl::datclienttable)),
      order_client(orders.Field("CLI_NUM")),
      fields(clients),
      property(context.Table("Property")),
      Client(property.Column("Client")),
      BillTo(property.Column("BillTo")),
      ReferenceAddress(property.Column("ReferenceAddress")),
      InvoiceAddr(property.Column("InvoiceAddr")),
      client_table(context) {
  data::ReportMissingColumns(context, property);
}

std::string AddressLine(std::string_view line) {
  std::string_view trimmed = text::Trim(line);
  if (trimmed.empty()) return "";
  return std::string(trimmed) + "\r\n";
}

bool IsTildeMarked(std::string_view value) { return !value.empty() && value.front() == '~'; }

std::string NameWithNumber(std::string_view name, std::string_view number) {
  std::size_t number_length = text::CharLength(number);
  if (text::CharLength(name) + 1 + number_length < kNameWithNumberLimit) {
    return std::string(name) + " " + std::string(number);
  }
  if (number_length > kNameWithNumberLimit - 1) {
    throw Error(ErrorKind::InvalidArgument, "client number " + std::string(number) + " is longer than " +
                                                std::to_string(kNameWithNumberLimit - 1) +
                                                " characters and leaves no room for the name");
  }
  return std::string(text::LeftChars(name, kNameWithNumberLimit - 1 - number_length)) + " " + std::string(number);
}

app::StepResult ConvertClientDBF(data::Context& context) { return RunClientPass(context, ClientPass::ByName); }

app::StepResult ConvertClientDBFByCliNum(data::Context& context) {
  return RunClientPass(context, ClientPass::ByNumber);
}

void SetClientFields(const data::SourceTable& clients, const data::SourceTable& bill_to, const ClientFields& fields,
                     const ClientTable& columns, std::string_view name, data::TargetRow& row) {
  data::convertField(clients, fields.Cli_num, row, columns.OldCliNum);
  data::convertField(clients, fields.Duns, row, columns.Duns);
  data::AdoSetField(row, columns.ClientPhone,
                    data::DATgetfield(clients, fields.Cli_Phone) + " " + data::DATgetfield(clients, fields.Cli_ext));
  SetClientAddresses(clients, bill_to, fields, columns, name, row);
  // Preferred billing in the source means one invoice per order: the flag is inverted.
  data::AdoSetFieldTF(row, columns.MultipleInvoice, !data::adogetfieldtf(clients, fields.Pref_Bill));
  data::AdoSetFieldTF(row, columns.Active, true);
  data::AdoSetFieldTF(row, columns.ApplyFinanceCharge, true);
}

void SetClientAddresses(const data::SourceTable& clients, const data::SourceTable& bill_to,
                        const ClientFields& fields, const ClientTable& columns, std::string_view name,
                        data::TargetRow& row) {
  std::string bill_number = data::DATgetfield(clients, fields.Cli_Bill);
  std::string client_address =
      FourLineAddress(clients, fields, text::UCaseTrim(data::DATgetfield(clients, fields.Plain_Name)));
  // A client billed for itself, or whose bill-to number names no client, is its own bill-to.
  std::string bill_name(name);
  std::string bill_address = client_address;
  if (!bill_number.empty() && data::FindRecord(bill_to.control(), bill_number, "Cli_Num")) {
    bill_name = BillToName(bill_to, fields);
    bill_address = FourLineAddress(bill_to, fields, text::UCaseTrim(data::DATgetfield(bill_to, fields.Plain_Name)));
  }
  data::AdoSetField(row, columns.Client, text::UCase(name));
  data::AdoSetField(row, columns.BillTo, text::UCase(bill_name));
  data::AdoSetFieldMemo(row, columns.ClientAddr, client_address);
  data::AdoSetFieldMemo(row, columns.BilltoAddr, bill_address);
}

void SetClientContactFields(const data::SourceTable& clients, const ClientFields& fields,
                            const ClientContactTable& columns, std::string_view name, data::TargetRow& row) {
  data::convertField(clients, fields.Cli_num, row, columns.OldCliNum);
  data::AdoSetField(row, columns.Client, text::UCase(name));
  data::AdoSetField(row, columns.ClientContact, text::UCaseTrim(data::DATgetfield(clients, fields.Cli_Cont)));
  data::convertField(clients, fields.Cli_Cont, row, columns.Contact);
  data::AdoSetField(row, columns.Phone,
                    data::DATgetfield(clients, fields.Cli_Phone) + " " + data::DATgetfield(clients, fields.Cli_ext));
  data::convertField(clients, fields.Cli_Fax, row, columns.Fax);
}

std::string ComposeClientAddress(const data::SourceTable& clients, const ClientFields& fields) {
  std::string address;
  for (const data::SourceField* field : {&fields.Plain_Name, &fields.Cli_Street, &fields.Cli_Addr2, &fields.Cli_Addr3}) {
    address += AddressLine(data::DATgetfield(clients, *field));
  }
  return address;
}

void CheckClient(data::Context& context, OrderClient& order_client, data::TargetRow& row) {
  context.Guard("CheckClient", [&] {
    const data::SourceTable& clients = order_client.clients;
    const ClientFields& fields = order_client.fields;
    std::string number = data::DATgetfield(order_client.orders, order_client.order_client);
    // An order whose client number names no source client is filed as the unknown client too.
    if (number.empty() || !clients.bound() || !data::FindRecord(clients.control(), number, "CLI_NUM")) {
      data::AdoSetField(row, order_client.Client, kUnknownClient);
      data::AdoSetFieldMemo(row, order_client.ReferenceAddress, kUnknownAddress);
      data::AdoSetField(row, order_client.BillTo, kUnknownClient);
      data::AdoSetFieldMemo(row, order_client.InvoiceAddr, kUnknownAddress);
      ClientTable& placeholder = order_client.client_table;
      EnsureUnknownClient(placeholder, [&](data::TargetRow& client) {
        data::AdoSetField(client, placeholder.Client, kUnknownClient);
        data::AdoSetFieldMemo(client, placeholder.ClientAddr, kUnknownAddress);
        data::AdoSetField(client, placeholder.BillTo, kUnknownClient);
        data::AdoSetFieldMemo(client, placeholder.BilltoAddr, kUnknownAddress);
        data::AdoSetFieldTF(client, placeholder.Active, true);
      });
      return;
    }
    std::string bill_number = data::DATgetfield(clients, fields.Cli_Bill);
    std::string client_name = data::DATgetfield(clients, fields.Cli_LName);
    std::string client_address = ComposeClientAddress(clients, fields);
    std::string bill_name = client_name;
    std::string bill_address = client_address;
    if (IsTildeMarked(client_name)) {
      client_name = bill_name = kIndividual;
    } else if (!bill_number.empty() && data::FindRecord(clients.control(), bill_number, "CLI_NUM")) {
      bill_name = BillToName(clients, fields);
      bill_address = ComposeClientAddress(clients, fields);
    }
    data::AdoSetField(row, order_client.Client, text::UCaseTrim(client_name));
    data::AdoSetField(row, order_client.BillTo, text::UCaseTrim(bill_name));
    data::AdoSetFieldMemo(row, order_client.ReferenceAddress, client_address);
    data::AdoSetFieldMemo(row, order_client.InvoiceAddr, bill_address);
  });
}

void FillIndividualClient(data::TargetTable& property, jet::RowId row, const data::TargetColumn& client,
                          const data::TargetColumn& bill_to, data::TargetRow& changes) {
  if (data::adogetfield(property, row, client).empty()) data::AdoSetField(changes, client, kIndividual);
  if (data::adogetfield(property, row, bill_to).empty()) data::AdoSetField(changes, bill_to, kIndividual);
}

void EnsurePropertyClient(OrderClient& order_client) {
  std::string number = data::DATgetfield(order_client.orders, order_client.order_client);
  if (!order_client.clients.bound() || !data::FindRecord(order_client.clients.control(), number, "CLI_NUM")) {
    AddUnknownClient(order_client.client_table);
  }
}

void AddUnknownClient(ClientTable& clients) {
  EnsureUnknownClient(clients, [&](data::TargetRow& row) {
    data::AdoSetField(row, clients.Client, kUnknownClient);
    data::AdoSetFieldMemo(row, clients.ClientAddr, "UNKNOWN CLIENT NAME\r\nUNKNOWN ADDRESS");
    data::AdoSetField(row, clients.BillTo, kUnknownClient);
    // The invoice text goes to the client address too, replacing it: the office's routine did so.
    data::AdoSetFieldMemo(row, clients.ClientAddr, "UNKNOWN CLIENT NAME\r\nUNKNOWN INVOICE ADDRESS");
  });
}

}  // namespace qorvane::convert
