// The clients of office.mdb (Client and ClientContact) from the source client table, in two
// passes: by name (one target client per distinct name; later records of a name are merged
// into the first) and by number (each client number the first pass did not take gets a row of
// its own, named by the name and the number). Also the client columns of an order (CheckClient,
// called by the order converters) and the "INDIVIDUAL" fill of the property massage.
#pragma once

#include <string>
#include <string_view>

#include "app/ledger.h"
#include "data/context.h"

namespace qorvane::convert {

app::StepResult ConvertClientDBF(data::Context& context);
app::StepResult ConvertClientDBFByCliNum(data::Context& context);

// On the current record of datClient and the new row of adoclient: number, DUNS, phone, the
// names and addresses, the flags. NAME is the Client the pass gave the row.
void SetClientFields(data::Context& context, std::string_view name);
// Client, BillTo, ClientAddr and BilltoAddr of the new adoclient row.
void SetClientAddresses(data::Context& context, std::string_view name);
// The new adoclientcontact row of the current datClient record, filed under NAME.
void SetClientContactFields(data::Context& context, std::string_view name);

// The client columns of the current adoproperty row from the current datproperty record:
// names and addresses of the client and of the client billed, "INDIVIDUAL" for a private
// person, the "UNKNOWN CLIENT" texts (and the one placeholder client) for an order without
// a client. Does not save the row.
void CheckClient(data::Context& context);
// The address of the current datclienttable record: printed name and the three address lines,
// each line followed by CR LF, empty lines left out.
std::string ComposeClientAddress(data::Context& context);
// The trimmed line followed by CR LF, or "" when it trims to nothing.
std::string AddressLine(std::string_view line);
// Whether VALUE begins with "~" (a private person in the source client table).
bool IsTildeMarked(std::string_view value);
// "INDIVIDUAL" into the empty client and bill-to columns of the current adoproperty row.
void FillIndividualClient(data::Context& context);
// Adds the placeholder client when the current datproperty record names no source client.
void EnsurePropertyClient(data::Context& context);
void AddUnknownClient(data::Context& context);

// The name a client number's own row gets: name, a blank, the number, at most 38 characters
// (the name is cut when the joined text would reach 38).
std::string NameWithNumber(std::string_view name, std::string_view number);

}  // namespace qorvane::convert
