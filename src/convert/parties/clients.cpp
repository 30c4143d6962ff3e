// The client converter (see clients.h). Both passes walk client.dbf on the one record loop and
// differ only in how a record finds its target row: by name in the first pass, by client
// number in the second. Records with no number, no name, or a name marked with "~" (a private
// person) are skipped in both.
#include "convert/parties/clients.h"

#include "common/error.h"
#include "convert/parties/form_types.h"
#include "data/fields.h"
#include "data/lookups.h"
#include "data/party_helpers.h"
#include "data/record_loop.h"

namespace qorvane::convert {
namespace {

using app::RecordResult;
using app::SourceControl;
using app::TargetControl;
using data::AdoControl;
using data::DataControl;

constexpr const char* kUnknownClient = "UNKNOWN CLIENT";
constexpr const char* kUnknownAddress = "UNKNOWN ADDRESS";
constexpr const char* kIndividual = "INDIVIDUAL";
// The joined name of a client number's own row stays below this many characters.
constexpr std::size_t kNameWithNumberLimit = 38;

enum class ClientPass { ByName, ByNumber };

void UpdateClientLabels(data::Context& context, DataControl& clients) {
  context.form().lblCaption = "Client.DBF";
  context.form().lblAddress = data::DATgetfield(clients, "Cli_num");
}

// The four address lines of a new Client row: each followed by CR LF, empty ones included.
std::string FourLineAddress(DataControl& record, std::string_view printed_name) {
  std::string address(printed_name);
  address += "\r\n";
  for (const char* field : {"Cli_Street", "Cli_Addr2", "Cli_Addr3"})
    address += data::DATgetfield(record, field) + "\r\n";
  return address;
}

// The name of the client billed, from the bill-to record datclienttable stands on: a private
// person is billed as "INDIVIDUAL".
std::string BillToName(DataControl& bill_to) {
  std::string name = data::UCaseTrim(data::DATgetfield(bill_to, "Cli_LName"));
  return IsTildeMarked(name) ? kIndividual : name;
}

void AddClientRow(data::Context& context, std::string_view row_name) {
  AdoControl& client = context.Target(TargetControl::adoclient);
  data::AddNewRow(client, [&] {
    data::AdoSetField(client, data::UCase(row_name), "Client");
    SetClientFields(context, row_name);
  });
  client.Refresh();
}

// Adds the contact row of the current record under NAME unless that name has one; true when added.
bool EnsureContactRow(data::Context& context, const std::string& name) {
  AdoControl& contact = context.Target(TargetControl::adoclientcontact);
  if (data::AdoFindRec(contact, data::FilterClient(name))) {
    contact.Refresh();
    return false;
  }
  data::AddNewRow(contact, [&] { SetClientContactFields(context, name); });
  contact.Refresh();
  return true;
}

app::StepResult RunClientPass(data::Context& context, ClientPass pass) {
  const char* routine = pass == ClientPass::ByName ? "ConvertClientDBF" : "ConvertClientDBFByCliNum";
  return context.Guard(routine, [&]() -> app::StepResult {
    DataControl& clients = context.Source(SourceControl::datClient);
    AdoControl& client = context.Target(TargetControl::adoclient);
    // The first pass leaves the table at its end; each pass starts from the first record.
    if (clients.bound()) clients.Recordset().MoveFirst();

    data::RecordLoop loop;
    loop.routine = routine;
    loop.source = &clients;
    loop.show = [&](std::int64_t) {
      UpdateClientLabels(context, clients);
    };
    loop.key = [&] {
      return "Cli_num " + data::DATgetfield(clients, "Cli_num");
    };
    return data::RunSourceTableLoop(context, "client.dbf", loop, [&]() -> RecordResult {
      std::string number = data::DATgetfield(clients, "Cli_num");
      std::string name = data::UCaseTrim(data::DATgetfield(clients, "Cli_LName"));
      if (number.empty()) return RecordResult::Skipped("no client number");
      if (name.empty()) return RecordResult::Skipped("no client name");
      if (IsTildeMarked(name)) return RecordResult::Skipped("a private person (name marked with ~)");

      bool added = false;
      std::string filed_under;  // the Client the record's row has, and its contact's
      RecordResult found;
      if (pass == ClientPass::ByName) {
        filed_under = data::KeyAsStored(context, clients, client, name, "Client");
        if (data::AdoFindRec(client, data::FilterClient(filed_under))) {
          // The first record of a name wins; later ones are taken by the pass by number.
          found = RecordResult::Skipped("client already in Client");
        } else {
          AddClientRow(context, name);
          added = true;
        }
      } else {
        std::string stored_number = data::KeyAsStored(context, clients, client, number, "OldCliNum");
        if (data::AdoFindRec(client, data::FilterOldCliNum(stored_number))) {
          filed_under = data::AdoTrim(client, name, "Client");
          found = RecordResult::Unchanged();
        } else {
          filed_under = data::UCase(NameWithNumber(name, number));
          AddClientRow(context, filed_under);
          added = true;
        }
      }
      if (EnsureContactRow(context, filed_under)) added = true;
      return added ? RecordResult::Added() : found;
    });
  });
}

// Writes the "UNKNOWN CLIENT" texts into the current adoproperty row and makes sure the one
// placeholder client exists.
void WriteUnknownClient(data::Context& context) {
  AdoControl& property = context.Target(TargetControl::adoproperty);
  data::AdoSetField(property, kUnknownClient, "Client");
  data::AdoSetFieldMemo(property, kUnknownAddress, "ReferenceAddress");
  data::AdoSetField(property, kUnknownClient, "BILLTO");
  data::AdoSetFieldMemo(property, kUnknownAddress, "InvoiceAddr");
  AdoControl& client = context.Target(TargetControl::adoclient);
  data::SelectClient(client, kUnknownClient, true);
  if (data::FoundRow(client)) return;
  data::AddNewRow(client, [&] {
    data::AdoSetField(client, kUnknownClient, "Client");
    data::AdoSetFieldMemo(client, kUnknownAddress, "ClientAddr");
    data::AdoSetField(client, kUnknownClient, "BILLTO");
    data::AdoSetFieldMemo(client, kUnknownAddress, "BillToAddr");
    data::AdoSetFieldTF(client, true, "active");
  });
}

}  // namespace

std::string AddressLine(std::string_view line) {
  std::size_t first = line.find_first_not_of(' ');
  if (first == std::string_view::npos) return "";
  return std::string(line.substr(first, line.find_last_not_of(' ') - first + 1)) + "\r\n";
}

bool IsTildeMarked(std::string_view value) { return !value.empty() && value.front() == '~'; }

std::string NameWithNumber(std::string_view name, std::string_view number) {
  std::size_t number_length = data::CharLength(number);
  if (data::CharLength(name) + 1 + number_length < kNameWithNumberLimit) {
    return std::string(name) + " " + std::string(number);
  }
  if (number_length > kNameWithNumberLimit - 1) {
    throw Error(ErrorKind::InvalidArgument, "client number " + std::string(number) + " is longer than " +
                                                std::to_string(kNameWithNumberLimit - 1) +
                                                " characters and leaves no room for the name");
  }
  return data::LeftChars(name, kNameWithNumberLimit - 1 - number_length) + " " + std::string(number);
}

app::StepResult ConvertClientDBF(data::Context& context) { return RunClientPass(context, ClientPass::ByName); }

app::StepResult ConvertClientDBFByCliNum(data::Context& context) {
  return RunClientPass(context, ClientPass::ByNumber);
}

void SetClientFields(data::Context& context, std::string_view name) {
  DataControl& clients = context.Source(SourceControl::datClient);
  AdoControl& client = context.Target(TargetControl::adoclient);
  convertField(clients, "Cli_num", client, "OldCliNum");
  convertField(clients, "Duns", client, "Duns");
  data::AdoSetField(client, data::DATgetfield(clients, "Cli_Phone") + " " + data::DATgetfield(clients, "Cli_ext"),
                    "ClientPhone");
  SetClientAddresses(context, name);
  // Preferred billing in the source means one invoice per order: the flag is inverted.
  data::AdoSetFieldTF(client, !data::DATgetfieldtf(clients, "Pref_Bill"), "MultipleInvoice");
  data::AdoSetFieldTF(client, true, "Active");
  data::AdoSetFieldTF(client, true, "ApplyFinanceCharge");
}

void SetClientAddresses(data::Context& context, std::string_view name) {
  DataControl& clients = context.Source(SourceControl::datClient);
  DataControl& bill_to = context.Source(SourceControl::datclienttable);
  AdoControl& client = context.Target(TargetControl::adoclient);
  std::string bill_number = data::DATgetfield(clients, "Cli_Bill");
  std::string client_address = FourLineAddress(clients, data::UCaseTrim(data::DATgetfield(clients, "Plain_Name")));
  // A client billed for itself, or whose bill-to number names no client, is its own bill-to.
  std::string bill_name(name);
  std::string bill_address = client_address;
  if (!bill_number.empty() && data::FindRecord(bill_to, bill_number, "Cli_Num")) {
    bill_name = BillToName(bill_to);
    bill_address = FourLineAddress(bill_to, data::UCaseTrim(data::DATgetfield(bill_to, "Plain_Name")));
  }
  data::AdoSetField(client, data::UCase(name), "Client");
  data::AdoSetField(client, data::UCase(bill_name), "BillTo");
  data::AdoSetFieldMemo(client, client_address, "ClientAddr");
  data::AdoSetFieldMemo(client, bill_address, "BilltoAddr");
}

void SetClientContactFields(data::Context& context, std::string_view name) {
  DataControl& clients = context.Source(SourceControl::datClient);
  AdoControl& contact = context.Target(TargetControl::adoclientcontact);
  convertField(clients, "Cli_Num", contact, "OldCliNum");
  data::AdoSetField(contact, data::UCase(name), "Client");
  data::AdoSetField(contact, data::UCaseTrim(data::DATgetfield(clients, "Cli_Cont")), "ClientContact");
  convertField(clients, "Cli_Cont", contact, "Contact");
  data::AdoSetField(contact, data::DATgetfield(clients, "Cli_Phone") + " " + data::DATgetfield(clients, "Cli_Ext"),
                    "Phone");
  convertField(clients, "Cli_Fax", contact, "Fax");
}

std::string ComposeClientAddress(data::Context& context) {
  DataControl& record = context.Source(SourceControl::datclienttable);
  std::string address;
  for (const char* field : {"Plain_Name", "Cli_Street", "Cli_Addr2", "Cli_Addr3"}) {
    address += AddressLine(data::DATgetfield(record, field));
  }
  return address;
}

void CheckClient(data::Context& context) {
  context.Guard("CheckClient", [&] {
    DataControl& order = context.Source(SourceControl::datproperty);
    DataControl& clients = context.Source(SourceControl::datclienttable);
    AdoControl& property = context.Target(TargetControl::adoproperty);
    std::string number = data::DATgetfield(order, "CLI_NUM");
    // An order whose client number names no source client is filed as the unknown client too.
    if (number.empty() || !data::FindRecord(clients, number, "CLI_NUM")) {
      WriteUnknownClient(context);
      return;
    }
    std::string bill_number = data::DATgetfield(clients, "CLI_Bill");
    std::string client_name = data::DATgetfield(clients, "cli_lNAME");
    std::string client_address = ComposeClientAddress(context);
    std::string bill_name = client_name;
    std::string bill_address = client_address;
    if (IsTildeMarked(client_name)) {
      client_name = bill_name = kIndividual;
    } else if (!bill_number.empty() && data::FindRecord(clients, bill_number, "CLI_NUM")) {
      bill_name = BillToName(clients);
      bill_address = ComposeClientAddress(context);
    }
    data::AdoSetField(property, data::UCaseTrim(client_name), "Client");
    data::AdoSetField(property, data::UCaseTrim(bill_name), "BillTo");
    data::AdoSetFieldMemo(property, client_address, "ReferenceAddress");
    data::AdoSetFieldMemo(property, bill_address, "InvoiceAddr");
  });
}

void FillIndividualClient(data::Context& context) {
  context.Guard("FillIndividualClient", [&] {
    AdoControl& property = context.Target(TargetControl::adoproperty);
    if (data::adogetfield(property, "CLIENT").empty()) data::AdoSetField(property, kIndividual, "client");
    if (data::adogetfield(property, "BILLTO").empty()) data::AdoSetField(property, kIndividual, "billto");
  });
}

void EnsurePropertyClient(data::Context& context) {
  context.Guard("EnsurePropertyClient", [&] {
    std::string number = data::DATgetfield(context.Source(SourceControl::datproperty), "Cli_Num");
    if (!data::FindRecord(context.Source(SourceControl::datclienttable), number, "CLI_NUM")) AddUnknownClient(context);
  });
}

void AddUnknownClient(data::Context& context) {
  context.Guard("AddUnknownClient", [&] {
    AdoControl& client = context.Target(TargetControl::adoclient);
    data::SelectClient(client, kUnknownClient, true);
    if (data::FoundRow(client)) return;
    data::AddNewRow(client, [&] {
      data::AdoSetField(client, kUnknownClient, "client");
      data::AdoSetFieldMemo(client, "UNKNOWN CLIENT NAME\r\nUNKNOWN ADDRESS", "clientADDR");
      data::AdoSetField(client, kUnknownClient, "BILLTO");
      // The invoice text goes to the client address too, replacing it: the office's routine did so.
      data::AdoSetFieldMemo(client, "UNKNOWN CLIENT NAME\r\nUNKNOWN INVOICE ADDRESS", "clientADDR");
    });
  });
}

}  // namespace qorvane::convert
