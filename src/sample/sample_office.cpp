// The tables of the sample office, written record by record through the FoxPro engine's table
// creator. The property table goes on a second thread; the order ledgers and the party tables
// on the calling one. Each record draws only from its own random stream, so the thread split
// does not change a byte.
#include "sample/sample_office.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <thread>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/table_writer.h"
#include "sample/office_model.h"
#include "sample/random.h"
#include "sample/vocabulary.h"

namespace qorvane::sample {
namespace {

using foxpro::FieldSpec;
using foxpro::TagDefinition;
using foxpro::Value;

// The values of one record, filled in field order; reused from record to record so that the
// strings keep their capacity.
class Row {
 public:
  explicit Row(std::size_t fields) : values_(fields) {}
  Row& Text(const std::string& text) {
    Value& value = Next();
    value.kind = text.empty() ? Value::Kind::Null : Value::Kind::Text;
    value.text = text;
    return *this;
  }
  Row& Text(std::string_view text) { return Text(std::string(text)); }
  Row& Text(const char* text) { return Text(std::string(text)); }
  Row& Number(double number) {
    Value& value = Next();
    value.kind = Value::Kind::Number;
    value.number = number;
    return *this;
  }
  Row& Date(std::int64_t julian_day) {
    Value& value = Next();
    value.kind = julian_day ? Value::Kind::Date : Value::Kind::Null;
    if (julian_day) value.date = foxpro::DateFromJulianDay(julian_day);
    return *this;
  }
  // A date field holding stored bytes that are no usable date.
  Row& DateOrDamage(std::int64_t julian_day, const std::string& damage) {
    if (damage.empty()) return Date(julian_day);
    Value& value = Next();
    value.kind = Value::Kind::Binary;
    value.text = damage;
    return *this;
  }
  Row& Logical(bool logical) {
    Value& value = Next();
    value.kind = Value::Kind::Logical;
    value.logical = logical;
    return *this;
  }
  void AppendTo(foxpro::TableCreator& creator) {
    if (cursor_ != values_.size()) throw std::logic_error("a sample record was filled with the wrong number of fields");
    creator.Append(values_);
    cursor_ = 0;
  }

 private:
  Value& Next() {
    if (cursor_ >= values_.size()) throw std::logic_error("a sample record has more values than fields");
    return values_[cursor_++];
  }
  std::vector<Value> values_;
  std::size_t cursor_ = 0;
};

// One table being written: its creator, its reusable row and its count.
class Table {
 public:
  Table(const std::string& folder, std::string file, std::vector<FieldSpec> fields, std::vector<TagDefinition> tags)
      : file_(std::move(file)), row_(fields.size()),
        creator_(os::JoinPath(folder, file_), std::move(fields), Options(std::move(tags))) {}
  Row& row() { return row_; }
  void Append() {
    row_.AppendTo(creator_);
    ++records_;
  }
  TableCount Finish() {
    creator_.Finish();
    return {file_, records_};
  }

 private:
  static foxpro::NewTableOptions Options(std::vector<TagDefinition> tags) {
    foxpro::NewTableOptions options;
    options.code_page = 437;
    options.last_update = {2010, 1, 4};
    options.tags = std::move(tags);
    return options;
  }
  std::string file_;
  Row row_;
  std::uint64_t records_ = 0;
  foxpro::TableCreator creator_;
};

TagDefinition Tag(const char* field) { return {field, field, "", false}; }

std::string Formatted(const char* format, long long a, long long b = 0, long long c = 0, long long d = 0) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, a, b, c, d);
  return buffer;
}

template <typename Array>
std::string_view Pick(Random& random, const Array& words) {
  return words[random.Below(words.size())];
}

double Round(double amount, double step) { return std::round(amount / step) * step; }

// property.dbf: one record per order, with its people, legal description, dates and comments.
TableCount WriteProperty(const Office& office, const std::string& folder) {
  std::vector<FieldSpec> fields = {
      {"File_num", 'C', 10},   {"Inv_num", 'C', 10},    {"Cli_num", 'C', 8},     {"Ass_Type", 'C', 8},
      {"Pr_Ref_Num", 'C', 15}, {"Pr_Fha_num", 'C', 15}, {"Pr_Census", 'C', 8},   {"Pr_Street", 'C', 35},
      {"Pr_City", 'C', 20},    {"Pr_County", 'C', 15},  {"Pr_State", 'C', 2},    {"Pr_Zip", 'C', 10},
      {"Pr_SubDiv", 'C', 25},  {"Pr_Owner", 'C', 30},   {"Pr_BPhon2", 'C', 14},  {"Pr_Borrowr", 'C', 30},
      {"Pr_BPhon1", 'C', 14},  {"Pr_Map_Ref", 'C', 20}, {"Pr_Cont1", 'C', 25},   {"Pr_C1_Phon", 'C', 14},
      {"Pr_C1_Ext", 'C', 5},   {"Pr_Cont2", 'C', 35},   {"Pr_RepCost", 'N', 10}, {"Pr_Borrest", 'N', 10},
      {"Pr_LoanReq", 'N', 10}, {"Pr_ApprVal", 'N', 10}, {"Pr_Lot", 'C', 6},      {"Pr_Block", 'C', 6},
      {"Pr_LandLot", 'C', 6},  {"Pr_Landist", 'C', 6},  {"Pr_Sect", 'C', 6},     {"Pr_DeedBk", 'C', 6},
      {"Pr_DeedPg", 'C', 6},   {"Pr_PlatBk", 'C', 6},   {"Pr_PlatPg", 'C', 6},   {"Pr_DReceiv", 'D'},
      {"Pr_DPromis", 'D'},     {"Pr_DAssign", 'D'},     {"Pr_DOnHold", 'D'},     {"Pr_DOffHld", 'D'},
      {"Pr_DFinish", 'D'},     {"Pr_DnSpect", 'D'},     {"Pr_DReview", 'D'},     {"Pr_DSale", 'D'},
      {"Pr_StComm", 'M'},      {"Pr_HoldCom", 'M'},     {"Pr_Comm", 'M'}};
  Table table(folder, "property.dbf", std::move(fields), {Tag("File_num"), Tag("Inv_num"), Tag("Cli_num")});
  const std::uint64_t seed = office.seed();
  for (std::uint64_t i = 0; i < office.shape().orders; ++i) {
    const Order order = office.OrderAt(i);
    Random random(seed, Stream::OrderDetails, i);
    const auto& town = words::kTowns[random.Below(words::kTowns.size())];
    const bool land = words::kForms[order.form].code == "LAND";
    const bool purchase = random.Permille(550);
    std::string borrower = land ? std::string() : PersonName(random, false);
    std::string owner = purchase || land ? PersonName(random, false) : borrower;
    double value = land ? 1000.0 * random.Between(15, 180) : 1000.0 * random.Between(55, 950);
    double price = purchase ? Round(value * (0.95 + 0.07 * random.Unit()), 100) : 0;
    double loan = Round((price > 0 ? price : value) * (0.70 + 0.25 * random.Unit()), 100);
    std::string zip = std::to_string(town.zip);
    if (random.Permille(100)) zip += Formatted("-%04lld", random.Between(1, 9999));

    Row& row = table.row();
    row.Text(order.file_number).Text(order.file_number).Text(order.client_number).Text(words::kForms[order.form].code);
    row.Text(random.Permille(800) ? std::to_string(random.Between(1000000000LL, 9999999999LL)) : std::string());
    row.Text(random.Permille(150) ? Formatted("105-%07lld", random.Between(0, 9999999)) : std::string());
    row.Text(Formatted("%04lld.%02lld", random.Between(100, 1400), random.Between(0, 12)));
    row.Text(StreetAddress(random)).Text(town.city).Text(town.county).Text("GA").Text(zip);
    row.Text(random.Permille(700) ? Pick(random, words::kSubdivisions) : std::string_view());
    row.Text(Cut(owner, 30)).Text(purchase && !land ? PhoneNumber(random) : std::string());
    row.Text(Cut(borrower, 30)).Text(land ? std::string() : PhoneNumber(random));
    row.Text(Formatted("%02lld-%04lld-%lld-%03lld", random.Between(1, 22), random.Between(1, 1300), random.Between(0, 9),
                       random.Between(1, 300)));
    row.Text(Cut(PersonName(random, false), 25)).Text(PhoneNumber(random));
    row.Text(random.Permille(400) ? std::to_string(random.Between(100, 4999)) : std::string());
    row.Text(random.Permille(250) ? Cut("Listing agent " + PersonName(random, false), 35) : std::string());
    row.Number(land ? 0 : Round(value * (0.55 + 0.3 * random.Unit()), 100)).Number(price).Number(loan).Number(value);
    bool platted = random.Permille(700);
    row.Text(platted ? std::to_string(random.Between(1, 240)) : std::string());
    row.Text(platted ? std::string(1, static_cast<char>('A' + random.Below(8))) : std::string());
    bool land_lot = random.Permille(600);
    row.Text(land_lot ? std::to_string(random.Between(1, 1300)) : std::string());
    row.Text(land_lot ? Formatted("%lldth", random.Between(4, 21)) : std::string());
    row.Text(random.Permille(300) ? Formatted("%lld", random.Between(1, 3)) : std::string());
    bool deed = random.Permille(500);
    row.Text(deed ? std::to_string(random.Between(1000, 45000)) : std::string());
    row.Text(deed ? std::to_string(random.Between(1, 900)) : std::string());
    bool plat = random.Permille(400);
    row.Text(plat ? std::to_string(random.Between(10, 250)) : std::string());
    row.Text(plat ? std::to_string(random.Between(1, 150)) : std::string());
    for (int slot = 0; slot < kDateSlots; ++slot) {
      row.DateOrDamage(order.dates[static_cast<std::size_t>(slot)], slot == order.unusable_slot ? order.unusable_bytes : "");
    }
    row.Text(order.dates[kFinished] || random.Permille(500) ? Pick(random, words::kStatusComments) : std::string_view());
    row.Text(order.dates[kOnHold] ? Pick(random, words::kHoldComments) : std::string_view());
    std::string notes;
    if (random.Permille(300)) {
      for (std::uint64_t n = random.Between(1, 3); n > 0; --n) notes += (notes.empty() ? "" : "\r\n") + std::string(Pick(random, words::kGeneralNotes));
    }
    row.Text(notes);
    table.Append();
  }
  return table.Finish();
}

// invoice, cliexp, applied, apprexp, assign and payfee: the money of each order, in one pass.
std::vector<TableCount> WriteOrderLedgers(const Office& office, const std::string& folder) {
  Table invoice(folder, "invoice.dbf",
                {{"Inv_num", 'C', 10},  {"Cli_num", 'C', 8},     {"Inv_Date", 'D'},      {"Inv_Detl1", 'C', 60},
                 {"Inv_Detl2", 'C', 60}, {"Inv_Chk1", 'C', 10},  {"Inv_Date1", 'D'},     {"Inv_Chk2", 'C', 10},
                 {"Inv_Date2", 'D'},     {"Inv_Chk3", 'C', 10},  {"Inv_Date3", 'D'},     {"Inv_Amt1", 'N', 10, 2},
                 {"Inv_Amt2", 'N', 10, 2}, {"Inv_Amt3", 'N', 10, 2}, {"Inv_Fee", 'N', 10, 2}, {"Inv_Exp", 'N', 10, 2}},
                {Tag("Inv_num"), Tag("Cli_num")});
  Table cliexp(folder, "cliexp.dbf",
               {{"Inv_num", 'C', 10}, {"Exp_Type", 'C', 4}, {"Exp_Desc", 'C', 30}, {"Exp_Amt", 'N', 8, 2}},
               {Tag("Inv_num")});
  Table applied(folder, "applied.dbf",
                {{"App_num", 'C', 4}, {"File_num", 'C', 10}, {"Split_Bool", 'L'}, {"Split_Val", 'N', 6, 2},
                 {"PD_Appr", 'N', 10, 2}, {"Pay_Fee", 'N', 10, 2}},
                {Tag("File_num"), Tag("App_num")});
  Table apprexp(folder, "apprexp.dbf",
                {{"File_num", 'C', 10}, {"App_num", 'C', 4}, {"Exp_Num", 'C', 4}, {"Exp_Desc", 'C', 30},
                 {"Exp_Amt", 'N', 8, 2}},
                {Tag("File_num")});
  Table assign(folder, "assign.dbf",
               {{"File_num", 'C', 10}, {"App_num", 'C', 4}, {"Ass_Type", 'C', 8}, {"Ass_Date", 'D'}, {"Ass_Fee", 'N', 10, 2}},
               {Tag("File_num")});
  Table payfee(folder, "payfee.dbf",
               {{"File_num", 'C', 10}, {"App_num", 'C', 4}, {"Pay_Date", 'D'}, {"Pay_Amt", 'N', 10, 2}, {"Check_Num", 'C', 8}},
               {Tag("File_num"), Tag("App_num")});
  static constexpr const char* kSlots[] = {"EXP1", "EXP2", "EXP3"};
  for (std::uint64_t i = 0; i < office.shape().orders; ++i) {
    const Order order = office.OrderAt(i);
    const auto& form = words::kForms[order.form];
    Row& row = invoice.row();
    row.Text(order.file_number).Text(order.client_number).DateOrDamage(order.invoice_day, order.unusable_invoice_bytes);
    row.Text(form.code.empty() ? std::string("Appraisal services") : "Appraisal: " + std::string(form.description));
    row.Text(order.client_expenses.empty() ? std::string() : "Includes expenses as itemized");
    for (std::size_t c = 0; c < 3; ++c) {
      const Check* check = c < order.checks.size() ? &order.checks[c] : nullptr;
      row.Text(check ? check->number : std::string()).Date(check ? check->day : 0);
    }
    for (std::size_t c = 0; c < 3; ++c) row.Number(c < order.checks.size() ? order.checks[c].amount : 0);
    row.Number(order.fee).Number(order.stored_expenses);
    invoice.Append();

    for (std::size_t e = 0; e < order.client_expenses.size(); ++e) {
      cliexp.row().Text(order.file_number).Text(kSlots[e]).Text(order.client_expenses[e].text).Number(order.client_expenses[e].amount);
      cliexp.Append();
    }
    for (const Payment& payment : order.payments) {
      applied.row().Text(payment.appraiser).Text(order.file_number).Logical(payment.split_percent > 0);
      applied.row().Number(payment.split_percent).Number(payment.paid ? payment.amount : 0).Number(payment.amount);
      applied.Append();
      assign.row().Text(order.file_number).Text(payment.appraiser).Text(form.code).Date(order.dates[kAssigned]).Number(payment.amount);
      assign.Append();
      if (payment.paid) {
        payfee.row().Text(order.file_number).Text(payment.appraiser).Date(payment.paid_day).Number(payment.amount).Text(payment.check_number);
        payfee.Append();
      }
    }
    for (const AppraiserExpense& expense : order.appraiser_expenses) {
      apprexp.row().Text(order.file_number).Text(order.payments.back().appraiser).Text(expense.code).Text(expense.description);
      apprexp.row().Number(expense.amount);
      apprexp.Append();
    }
  }
  return {invoice.Finish(), cliexp.Finish(), applied.Finish(), apprexp.Finish(), assign.Finish(), payfee.Finish()};
}

// client, appraisr, their fee schedules, forms, rooms (users) and user (the company).
std::vector<TableCount> WriteParties(const Office& office, const std::string& folder) {
  std::vector<TableCount> counts;
  const OfficeShape& shape = office.shape();
  {
    Table client(folder, "client.dbf",
                 {{"Cli_num", 'C', 8},    {"Cli_LName", 'C', 40}, {"Plain_Name", 'C', 40}, {"Cli_Bill", 'C', 8},
                  {"Cli_Street", 'C', 35}, {"Cli_Addr2", 'C', 35}, {"Cli_Addr3", 'C', 35}, {"Cli_Phone", 'C', 14},
                  {"Cli_Ext", 'C', 5},    {"Cli_Cont", 'C', 30},  {"Cli_Fax", 'C', 14},    {"Duns", 'C', 11},
                  {"Pref_Bill", 'L'}},
                 {Tag("Cli_num"), Tag("Cli_LName")});
    Table clifee(folder, "clifee.dbf", {{"Cli_num", 'C', 8}, {"Ass_Type", 'C', 8}, {"Cli_Fee", 'N', 8, 2}}, {Tag("Cli_num")});
    for (std::uint64_t c = 0; c < shape.clients; ++c) {
      const Client record = office.ClientAt(c);
      client.row().Text(record.number).Text(Cut(record.name, 40)).Text(Cut(record.plain_name, 40)).Text(record.bill_to);
      client.row().Text(record.street).Text(record.line2).Text(record.line3).Text(record.phone).Text(record.extension);
      client.row().Text(Cut(record.contact, 30)).Text(record.fax).Text(record.duns).Logical(record.preferred_billing);
      client.Append();
      Random random(office.seed(), Stream::FeeSchedule, c);
      if (record.plain_name.starts_with("~") || !random.Permille(250)) continue;
      for (std::size_t f = 0, forms = static_cast<std::size_t>(random.Between(3, 6)); f < forms; ++f) {
        const auto& form = words::kForms[f];
        clifee.row().Text(record.number).Text(form.code).Number(Round(form.base_fee * (1.2 + 0.3 * random.Unit()), 5));
        clifee.Append();
      }
    }
    counts.push_back(client.Finish());
    counts.push_back(clifee.Finish());
  }
  {
    Table appraisr(folder, "appraisr.dbf",
                   {{"App_num", 'C', 4},     {"App_LName", 'C', 20}, {"App_FName", 'C', 15}, {"App_Street", 'C', 35},
                    {"App_Addr2", 'C', 35},  {"App_Addr3", 'C', 35}, {"App_Phone", 'C', 14}, {"App_Ext", 'C', 5},
                    {"App_Beep", 'C', 14},   {"Appr_Num", 'C', 10}},
                   {Tag("App_num")});
    Table apprfee(folder, "apprfee.dbf",
                  {{"App_num", 'C', 4}, {"Ass_Type", 'C', 8}, {"Appr_Fee", 'N', 8, 2}, {"Appr_Perc", 'N', 6, 2}, {"Pay_Mode", 'L'}},
                  {Tag("App_num")});
    for (std::uint64_t a = 0; a < shape.appraisers; ++a) {
      const Appraiser record = office.AppraiserAt(a);
      appraisr.row().Text(record.number).Text(Upper(record.last_name)).Text(record.first_name).Text(record.street);
      appraisr.row().Text(record.line2).Text(record.line3).Text(record.phone).Text(record.extension).Text(record.pager);
      appraisr.row().Text(record.license);
      appraisr.Append();
      Random random(office.seed(), Stream::FeeSchedule, (1ULL << 40) + a);
      const bool percent = random.Permille(250);
      const double share = 0.50 + 0.05 * static_cast<double>(random.Below(4));
      for (std::size_t f = 0; f < 8; ++f) {
        const auto& form = words::kForms[f];
        apprfee.row().Text(record.number).Text(form.code).Number(percent ? 0 : Round(form.base_fee * share, 5));
        apprfee.row().Number(percent ? share * 100 : 0).Logical(percent);
        apprfee.Append();
      }
    }
    counts.push_back(appraisr.Finish());
    counts.push_back(apprfee.Finish());
  }
  {
    Table forms(folder, "forms.dbf", {{"Form_type", 'C', 8}, {"Form_Desc", 'C', 50}}, {Tag("Form_type")});
    for (const auto& form : words::kForms) {
      if (form.code.empty()) continue;
      forms.row().Text(form.code).Text(form.description);
      forms.Append();
    }
    counts.push_back(forms.Finish());
  }
  {
    // The office's users: one supervisor, a few trusted, the others plain; one never got a
    // password and one has a rights code the new program does not know.
    Table rooms(folder, "rooms.dbf", {{"Initials", 'C', 3}, {"Password", 'C', 10}, {"Super", 'C', 5}}, {Tag("Initials")});
    static constexpr const char* kRights[] = {"SUPER", "MIDI", "MIDI", "PLAIN", "PLAIN", "PLAIN", "PLAIN", "X"};
    Random random(office.seed(), Stream::Office, 1);
    for (std::size_t u = 0; u < std::size(kRights); ++u) {
      std::string initials = {static_cast<char>('A' + random.Below(26)), static_cast<char>('A' + random.Below(26)),
                              static_cast<char>('A' + u)};
      std::string password;
      if (u != 5) {
        password = {static_cast<char>('A' + random.Below(26)), static_cast<char>('A' + random.Below(26))};
        password += std::to_string(random.Between(100, 99999));
      }
      rooms.row().Text(initials).Text(password).Text(kRights[u]);
      rooms.Append();
    }
    counts.push_back(rooms.Finish());
  }
  {
    Table user(folder, "user.dbf",
               {{"Name", 'C', 40}, {"Address1", 'C', 40}, {"Address2", 'C', 40}, {"User_Phone", 'C', 14},
                {"User_Fax", 'C', 14}, {"Tax_Id", 'C', 12}},
               {});
    static constexpr const char* kCompanies[] = {"Peachtree Valuation Group, Inc.", "North Georgia Appraisal Services",
                                                 "Chattahoochee Appraisal Co.", "Blue Ridge Real Estate Appraisers"};
    Random random(office.seed(), Stream::Office, 2);
    const auto& town = words::kTowns[random.Below(words::kTowns.size())];
    user.row().Text(kCompanies[random.Below(std::size(kCompanies))]).Text(StreetAddress(random) + ", Suite " + std::to_string(random.Between(100, 400)));
    user.row().Text(std::string(town.city) + ", GA " + std::to_string(town.zip)).Text(PhoneNumber(random)).Text(PhoneNumber(random));
    user.row().Text(Formatted("58-%07lld", random.Between(0, 9999999)));
    user.Append();
    counts.push_back(user.Finish());
  }
  return counts;
}

bool IsTableFile(const std::string& name) {
  if (name.size() < 4) return false;
  std::string extension = name.substr(name.size() - 4);
  for (char& c : extension) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return extension == ".dbf";
}

SampleResult WriteTables(const std::string& folder, const SampleOptions& options);

}  // namespace

std::uint64_t SampleResult::records() const {
  std::uint64_t total = 0;
  for (const TableCount& table : tables) total += table.records;
  return total;
}

std::vector<std::string> TablesIn(const std::string& folder) {
  std::vector<std::string> tables;
  if (!os::IsDirectory(folder)) return tables;
  for (const std::string& name : os::ListDirectory(folder)) {
    if (IsTableFile(name)) tables.push_back(name);
  }
  return tables;
}

SampleResult WriteSampleOffice(const std::string& folder, const SampleOptions& options) {
  if (options.orders == 0) throw Error(ErrorKind::InvalidArgument, "a sample office needs at least one order");
  if (auto tables = TablesIn(folder); !tables.empty()) {
    throw Error(ErrorKind::InvalidArgument, folder + " already holds tables (" + tables.front() +
                                                (tables.size() > 1 ? " and " + std::to_string(tables.size() - 1) + " more" : "") +
                                                "); give an empty or new folder");
  }
  if (!os::IsDirectory(folder)) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw Error(ErrorKind::IoError, "cannot create the folder " + folder + ": " + error.message());
  }
  const std::vector<std::string> before = os::ListDirectory(folder);
  try {
    return WriteTables(folder, options);
  } catch (...) {
    // Leave the folder as it was found: a half-written office would be refused next time.
    for (const std::string& name : os::ListDirectory(folder)) {
      if (std::find(before.begin(), before.end(), name) != before.end()) continue;
      std::error_code ignored;
      std::filesystem::remove(os::JoinPath(folder, name), ignored);
    }
    throw;
  }
}

namespace {

SampleResult WriteTables(const std::string& folder, const SampleOptions& options) {
  const Office office(options.seed, options.orders);
  SampleResult result;
  result.folder = folder;
  TableCount property;
  std::exception_ptr property_failure;
  std::thread property_thread([&] {
    try {
      property = WriteProperty(office, folder);
    } catch (...) {
      property_failure = std::current_exception();
    }
  });
  std::exception_ptr failure;
  try {
    result.tables = WriteOrderLedgers(office, folder);
    for (TableCount& count : WriteParties(office, folder)) result.tables.push_back(std::move(count));
  } catch (...) {
    failure = std::current_exception();
  }
  property_thread.join();
  if (property_failure) std::rethrow_exception(property_failure);
  if (failure) std::rethrow_exception(failure);
  result.tables.insert(result.tables.begin(), property);
  return result;
}

}  // namespace

}  // namespace qorvane::sample
