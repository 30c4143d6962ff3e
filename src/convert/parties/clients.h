// The clients of office.mdb (Client and ClientContact) from the source client table, in two
// passes: by name (one target client per distinct name; later records of a name are merged
// into the first) and by number (each client number the first pass did not take gets a row of
// its own, named by the name and the number). Also the client columns of an order (CheckClient,
// called by the order converter) and the "INDIVIDUAL" fill of the property massage.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"
#include "data/source_table.h"
#include "data/target_table.h"

namespace qorvane::convert {

// The fields of client.dbf the client steps read, resolved once on one of its controls (the
// other control on the table has the same fields at the same places).
struct ClientFields {
  explicit ClientFields(const data::SourceTable& clients);
  data::SourceField Cli_num, Cli_LName, Plain_Name, Cli_Bill, Cli_Street, Cli_Addr2, Cli_Addr3, Cli_Phone, Cli_ext,
      Cli_Cont, Cli_Fax, Duns, Pref_Bill;
};

// The Client and ClientContact columns the client steps write, resolved once per step.
struct ClientTable {
  explicit ClientTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn Client, OldCliNum, Duns, ClientPhone, BillTo, ClientAddr, BilltoAddr, MultipleInvoice, Active,
      ApplyFinanceCharge;
};
struct ClientContactTable {
  explicit ClientContactTable(data::Context& context);
  data::TargetTable& table;
  data::TargetColumn OldCliNum, Client, ClientContact, Contact, Phone, Fax;
};

app::StepResult ConvertClientDBF(data::Context& context);
app::StepResult ConvertClientDBFByCliNum(data::Context& context);

// On the current record of CLIENTS, the columns of a new Client row: number, DUNS, phone, the
// names and addresses (the bill-to client found on BILL_TO, the second control on the table),
// the flags. NAME is the Client the pass gave the row.
void SetClientFields(const data::SourceTable& clients, const data::SourceTable& bill_to, const ClientFields& fields,
                     const ClientTable& columns, std::string_view name, data::TargetRow& row);
void SetClientAddresses(const data::SourceTable& clients, const data::SourceTable& bill_to,
                        const ClientFields& fields, const ClientTable& columns, std::string_view name,
                        data::TargetRow& row);
// The columns of a new ClientContact row of the current record, filed under NAME.
void SetClientContactFields(const data::SourceTable& clients, const ClientFields& fields,
                            const ClientContactTable& columns, std::string_view name, data::TargetRow& row);

// What CheckClient reads and writes, resolved once per step: the client number of the current
// property.dbf record, the client records (datclienttable), the order's client columns, and
// the Client table for the one placeholder client.
struct OrderClient {
  explicit OrderClient(data::Context& context);
  data::SourceTable orders, clients;
  data::SourceField order_client;
  ClientFields fields;
  data::TargetTable& property;
  data::TargetColumn Client, BillTo, ReferenceAddress, InvoiceAddr;
  ClientTable client_table;
};
// The client columns of the new order ROW from the current datproperty record: names and
// addresses of the client and of the client billed, "INDIVIDUAL" for a private person, the
// "UNKNOWN CLIENT" texts (and the one placeholder client) for an order without a client.
void CheckClient(data::Context& context, OrderClient& order_client, data::TargetRow& row);
// The address of the current record of CLIENTS: printed name and the three address lines,
// each line followed by CR LF, empty lines left out.
std::string ComposeClientAddress(const data::SourceTable& clients, const ClientFields& fields);
// The trimmed line followed by CR LF, or "" when it trims to nothing.
std::string AddressLine(std::string_view line);
// Whether VALUE begins with "~" (a private person in the source client table).
bool IsTildeMarked(std::string_view value);
// "INDIVIDUAL" into the empty client and bill-to columns of the order ROW of Property (the
// changes go into CHANGES; the caller saves them).
void FillIndividualClient(data::TargetTable& property, jet::RowId row, const data::TargetColumn& client,
                          const data::TargetColumn& bill_to, data::TargetRow& changes);
// The placeholder client "UNKNOWN CLIENT", added unless an active one is there.
void AddUnknownClient(ClientTable& clients);
// The placeholder, for an order whose client number names no source client.
void EnsurePropertyClient(OrderClient& order_client);

// The name a client number's own row gets: name, a blank, the number, at most 38 characters
// (the name is cut when the joined text would reach 38).
std::string NameWithNumber(std::string_view name, std::string_view number);

}  // namespace qorvane::convert
