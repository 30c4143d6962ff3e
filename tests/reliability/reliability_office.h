// Test support for the reliability tests: a small but whole source office (clients, appraisers,
// orders with memos, invoices, expenses and payments) written by the FoxPro engine, a new
// office.mdb, runs of the qorvane binary (as an ordinary user when asked), and snapshots of a
// folder's bytes and times.
#pragma once

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "../convert/orders/order_office.h"
#include "../convert/parties/party_office.h"
#include "test_support/office_folders.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"
#include "test_support/sample_office.h"

namespace qorvane::reliability {

using convert::test_orders::Record;
using convert::test_orders::Text;

// The small office's orders (each with an invoice and a payment) and clients.
inline constexpr int kSmallOfficeOrders = 24;
inline constexpr int kSmallOfficeClients = 6;

// Writes the office's tables into SOURCE: 6 clients, 3 appraisers and ORDERS orders, each with
// a memo, an invoice, a client expense, an appraiser expense and a payment.
inline void WriteSmallOffice(const std::string& source, int orders = kSmallOfficeOrders) {
  namespace o = convert::test_orders;
  std::vector<std::vector<foxpro::Value>> clients;
  for (int c = 1; c <= kSmallOfficeClients; ++c) {
    convert::ClientRecord client{.number = std::to_string(c), .name = "CLIENT " + std::to_string(c)};
    client.street = std::to_string(100 + c) + " MAIN ST";
    clients.push_back(client.Values());
  }
  test::WriteFoxTable(source + "/CLIENT.DBF", convert::ClientFields(), clients);
  std::vector<Record> property, invoice, cliexp, apprexp, applied, appraisers;
  for (int a = 1; a <= 3; ++a) appraisers.push_back({{"APP_NUM", Text("A" + std::to_string(a))}, {"APP_LNAME", Text("APPRAISER " + std::to_string(a))}});
  for (int n = 1; n <= orders; ++n) {
    std::string file = std::to_string(1000 + n), inv = "I" + std::to_string(n), app = "A" + std::to_string(n % 3 + 1);
    property.push_back({{"FILE_NUM", Text(file)}, {"INV_NUM", Text(inv)}, {"CLI_NUM", Text(std::to_string(n % 6 + 1))},
                        {"PR_STREET", Text(std::to_string(n) + " OAK LANE")}, {"PR_CITY", Text("SPRINGFIELD")},
                        {"PR_DRECEIV", o::Day(2001, 1 + n % 12, 1 + n % 28)}, {"PR_APPRVAL", o::Number(100000 + n)},
                        {"PR_COMM", Text("Order " + file + " comments, long enough to live in the memo file.")}});
    invoice.push_back({{"INV_NUM", Text(inv)}, {"INV_DATE", o::Day(2001, 2, 3)}, {"INV_FEE", o::Number(250 + n)}});
    cliexp.push_back({{"INV_NUM", Text(inv)}, {"EXP_TYPE", Text("T")}, {"EXP_DESC", Text("TRIP")}, {"EXP_AMT", o::Number(12.5)}});
    apprexp.push_back({{"FILE_NUM", Text(file)}, {"APP_NUM", Text(app)}, {"EXP_NUM", Text("1")}, {"EXP_AMT", o::Number(20)}});
    applied.push_back({{"FILE_NUM", Text(file)}, {"APP_NUM", Text(app)}, {"PD_APPR", o::Number(100)}, {"PAY_FEE", o::Number(150)}});
  }
  std::vector<foxpro::FieldSpec> property_fields = o::PropertyFields();
  property_fields.insert(property_fields.begin() + 1, {"INV_NUM", 'C', 10});
  o::WriteTable(source + "/PROPERTY.DBF", property_fields, property);
  o::WriteTable(source + "/INVOICE.DBF", o::InvoiceFields(), invoice);
  o::WriteTable(source + "/CLIEXP.DBF", o::ClientExpenseFields(), cliexp);
  o::WriteTable(source + "/APPREXP.DBF", o::ApprExpFields(), apprexp);
  o::WriteTable(source + "/APPLIED.DBF", o::AppliedFields(), applied);
  std::vector<foxpro::FieldSpec> appraiser_fields = o::AppraiserFields();
  for (const char* name : {"APP_STREET", "APP_ADDR2", "APP_ADDR3", "APP_PHONE", "APP_EXT", "APP_BEEP"}) {
    appraiser_fields.push_back({name, 'C', 20});
  }
  o::WriteTable(source + "/APPRAISR.DBF", appraiser_fields, appraisers);
  test::WriteFoxTable(source + "/FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}},
                      {{Text("COOP"), Text("Cooperative")}});
  test::WriteFoxTable(source + "/ASSIGN.DBF", {{"FILE_NUM", 'C', 10}}, {});
}

// The source folder (pyx) and target folder (zul) under ROOT: the small office and a new
// office.mdb. Returns their paths.
inline std::pair<std::string, std::string> MakeSmallOffice(const std::string& root) {
  test::OfficeFolders folders(root);
  WriteSmallOffice(folders.source);
  jet::create::CreateDatabase(folders.target + "/office.mdb", data::OfficeSchema());
  return {folders.source, folders.target};
}

// Every file of FOLDER (not its sub-folders) with its bytes and its modification time.
using FolderSnapshot = std::map<std::string, std::pair<std::string, long long>>;
inline FolderSnapshot Snapshot(const std::string& folder) {
  FolderSnapshot files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    struct stat info {};
    ::stat(entry.path().c_str(), &info);
    files[entry.path().filename()] = {test::Command("cat " + test::ShellQuote(entry.path())),
                                      info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec};
  }
  return files;
}

inline std::string FileBytes(const std::string& path) { return test::Command("cat " + test::ShellQuote(path)); }

// A run of the binary: its exit status (128 + the signal when killed), standard output and error.
using CliRun = test::CommandResult;

// Runs `qorvane ARGS` (already quoted), as the user nobody when AS_NOBODY and this is root.
inline CliRun Qorvane(const std::string& args, bool as_nobody = false) {
  std::string prefix = as_nobody && ::geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
  return test::RunForResult(prefix + QORVANE_CLI_PATH + std::string(" ") + args + " 2>&1");
}

// Whether the independent index checker finds every index of the tables in SOURCE in step
// with its table; its report goes to OUTPUT.
inline bool IndexesAgree(const std::string& source, std::string* output = nullptr) {
  test::CommandResult run = test::RunForResult("/usr/bin/python3 " + std::string(QORVANE_SOURCE_DIR) +
                                               "/tests/reliability/cdxcheck_folder.py " + QORVANE_SHARED_DIR +
                                               "/tools " + test::ShellQuote(source) + " 2>&1");
  if (output) *output = run.out;
  return run.status == 0;
}

// The convert command over SOURCE and TARGET with STEPS, answering yes, without progress.
inline std::string ConvertArgs(const std::string& root, const std::string& source, const std::string& target,
                               const std::string& extra = "") {
  return "convert --yes --quiet --source " + test::ShellQuote(source) + " --target " + test::ShellQuote(target) +
         " --settings " + test::ShellQuote(root + "/settings") + " " + extra;
}

// Every user table of the database at PATH as mdb-export prints it (mdb-tables lists them).
inline std::string ExportAll(const std::string& path) {
  test::RequireOracle(test::Oracle::Mdbtools);  // else both exports read "not found" and agree
  std::string all, tables = test::Command("mdb-tables -1 " + test::ShellQuote(path) + " 2>&1");
  std::size_t start = 0;
  for (std::size_t end; (end = tables.find('\n', start)) != std::string::npos; start = end + 1) {
    std::string table = tables.substr(start, end - start);
    all += "== " + table + "\n" + test::Command("mdb-export " + test::ShellQuote(path) + " " + test::ShellQuote(table) + " 2>&1");
  }
  return all;
}

}  // namespace qorvane::reliability
