// The sample office as pure functions of (seed, index): how many clients and appraisers an
// office of N orders has, which records carry which mistake, and each client, appraiser and
// order. The table writers call these record by record; nothing here holds a whole table.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace qorvane::sample {

// Mistakes real offices have, per thousand records of their table.
struct MistakeRates {
  static constexpr unsigned kIllegalFileNumber = 15;    // an order's number holds # & * % $
  static constexpr unsigned kUnusableDate = 15;         // an order's date cannot be read as one
  static constexpr unsigned kAmountDisagrees = 15;      // invoice expenses differ from their lines
  static constexpr unsigned kUnknownAppraiser = 12;     // a payment names no appraiser of the table
  static constexpr unsigned kDuplicateClientKey = 15;   // a client's name repeats an earlier one
  static constexpr unsigned kEmptyClientKey = 10;       // a client without a name
};

enum OrderMistake : std::uint8_t {
  kIllegalFileNumber = 1, kUnusableDate = 2, kAmountDisagrees = 4, kUnknownAppraiser = 8,
};
enum ClientMistake : std::uint8_t { kDuplicateClientKey = 1, kEmptyClientKey = 2 };

struct OfficeShape {
  std::uint64_t orders = 0;
  std::uint64_t clients = 0;
  std::uint64_t appraisers = 0;
  int file_number_digits = 4;      // digits after the year in "YY-NNNN"
  std::int64_t first_day = 0;      // Julian day of the first order
  std::int64_t days = 0;           // the fifteen years the orders are spread over
};
OfficeShape ShapeFor(std::uint64_t orders);

// Exactly max(1, round(records * per_thousand / 1000)) records of a table carry each mistake
// (when the table has any record), placed by the seed.
class MistakePlan {
 public:
  MistakePlan(std::uint64_t seed, std::uint64_t records, const std::vector<std::pair<std::uint8_t, unsigned>>& rates,
              std::uint64_t stream, std::uint64_t first_eligible = 0);
  std::uint8_t At(std::uint64_t index) const { return flags_[index]; }

 private:
  std::vector<std::uint8_t> flags_;
};

struct Client {
  std::string number, name, plain_name, bill_to, street, line2, line3, phone, extension, contact, fax, duns;
  bool preferred_billing = false;
};

struct Appraiser {
  std::string number, last_name, first_name, street, line2, line3, phone, extension, pager, license;
};

struct Money {
  std::string text;   // what the expense or check says
  double amount = 0;
};

struct Check {
  std::string number;
  std::int64_t day = 0;
  double amount = 0;
};

struct Payment {           // what an appraiser is paid for an order
  std::string appraiser;   // App_num
  double amount = 0;       // Pay_Fee
  double split_percent = 0;
  bool paid = false;
  std::int64_t paid_day = 0;
  std::string check_number;
};

struct AppraiserExpense {
  std::string code, description;
  double amount = 0;
};

// Indexes of an order's nine dates, in the order the property table stores them.
enum DateSlot { kReceived, kPromised, kAssigned, kOnHold, kOffHold, kFinished, kInspected, kReviewed, kSold, kDateSlots };

struct Order {
  std::uint64_t index = 0;
  std::uint8_t mistakes = 0;
  std::string file_number;            // as stored, illegal characters included
  std::string client_number;          // empty for an order taken without a client
  std::size_t form = 0;               // index into words::kForms
  std::array<std::int64_t, kDateSlots> dates{};  // Julian days, 0 = blank
  int unusable_slot = -1;             // the date stored as damaged bytes, or -1
  std::string unusable_bytes;
  std::string unusable_invoice_bytes; // set when the invoice date is the damaged one
  double fee = 0;
  std::vector<Money> client_expenses; // EXP1.. EXP3
  double stored_expenses = 0;         // Inv_Exp as the invoice holds it
  std::int64_t invoice_day = 0;
  std::vector<Check> checks;
  std::vector<Payment> payments;      // one per appraiser, two when the order was split
  std::vector<AppraiserExpense> appraiser_expenses;
};

class Office {
 public:
  Office(std::uint64_t seed, std::uint64_t orders);
  const OfficeShape& shape() const { return shape_; }
  std::uint64_t seed() const { return seed_; }

  Client ClientAt(std::uint64_t index) const;
  Appraiser AppraiserAt(std::uint64_t index) const;
  Order OrderAt(std::uint64_t index) const;
  std::string ClientNumber(std::uint64_t index) const;
  std::string AppraiserNumber(std::uint64_t index) const;
  std::uint8_t ClientMistakes(std::uint64_t index) const { return client_plan_.At(index); }

 private:
  std::string ClientName(std::uint64_t index) const;
  std::uint64_t seed_;
  OfficeShape shape_;
  MistakePlan order_plan_;
  MistakePlan client_plan_;
};

// Person names and text helpers shared by the writers.
class Random;
std::string PersonName(Random& random, bool last_first);
std::string PhoneNumber(Random& random);
std::string StreetAddress(Random& random);
std::string Upper(std::string text);   // ASCII and the Latin-1 letters (UTF-8) upper-cased
std::string Cut(std::string text, std::size_t characters);  // at most that many characters

}  // namespace qorvane::sample
