// The sample office's clients, appraisers and orders (see office_model.h).
#include "sample/office_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "foxpro/value.h"
#include "sample/random.h"
#include "sample/vocabulary.h"

namespace qorvane::sample {
namespace {

std::int64_t Day(int year, int month, int day) { return foxpro::JulianDay({year, month, day}); }

double RoundTo(double amount, double step) { return std::round(amount / step) * step; }

template <typename Array>
std::string PickWord(Random& random, const Array& words) {
  return std::string(words[random.Below(words.size())]);
}

// Index of the form an order uses, by the forms' weights.
std::size_t PickForm(Random& random) {
  static const int total = [] {
    int sum = 0;
    for (const auto& form : words::kForms) sum += form.weight;
    return sum;
  }();
  int draw = static_cast<int>(random.Below(static_cast<std::uint64_t>(total)));
  for (std::size_t i = 0; i < words::kForms.size(); ++i) {
    if (draw < words::kForms[i].weight) return i;
    draw -= words::kForms[i].weight;
  }
  return 0;
}

// A damaged date field: impossible days, a month 13, slashes typed into the field, the empty
// date of old tools, a blank day.
std::string UnusableDateBytes(Random& random, std::int64_t day) {
  foxpro::Date date = foxpro::DateFromJulianDay(day ? day : Day(2000, 1, 1));
  char buffer[32];
  switch (random.Below(5)) {
    case 0: std::snprintf(buffer, sizeof buffer, "%04d0230", date.year); break;
    case 1: std::snprintf(buffer, sizeof buffer, "%04d13%02d", date.year, date.day); break;
    case 2: std::snprintf(buffer, sizeof buffer, "%02d/%02d/%02d", date.month, date.day, date.year % 100); break;
    case 3: std::snprintf(buffer, sizeof buffer, "18991230"); break;
    default: std::snprintf(buffer, sizeof buffer, "%04d%02d  ", date.year, date.month); break;
  }
  return std::string(buffer, 8);
}

std::size_t Utf8Length(unsigned char lead) { return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; }

}  // namespace

std::string Upper(std::string text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 'a' && c <= 'z') {
      text[i] = static_cast<char>(c - 32);
    } else if (c == 0xC3 && i + 1 < text.size()) {
      // U+00E0..U+00FE (but the division sign) have their capitals 32 code points lower.
      unsigned char next = static_cast<unsigned char>(text[i + 1]);
      if (next >= 0xA0 && next <= 0xBE && next != 0xB7) text[i + 1] = static_cast<char>(next - 0x20);
      ++i;
    }
  }
  return text;
}

std::string Cut(std::string text, std::size_t characters) {
  std::size_t position = 0;
  for (std::size_t count = 0; position < text.size() && count < characters; ++count) {
    position += Utf8Length(static_cast<unsigned char>(text[position]));
  }
  if (position < text.size()) text.resize(position);
  return text;
}

std::string PersonName(Random& random, bool last_first) {
  std::string first = random.Permille(15) ? PickWord(random, words::kAccentedFirstNames) : PickWord(random, words::kFirstNames);
  std::string last = random.Permille(25) ? PickWord(random, words::kAccentedLastNames) : PickWord(random, words::kLastNames);
  return last_first ? last + ", " + first : first + " " + last;
}

std::string PhoneNumber(Random& random) {
  static constexpr int kAreaCodes[] = {404, 770, 770, 678};
  char buffer[24];
  std::snprintf(buffer, sizeof buffer, "%d-%03d-%04d", kAreaCodes[random.Below(4)], static_cast<int>(random.Between(200, 989)),
                static_cast<int>(random.Below(10000)));
  return buffer;
}

std::string StreetAddress(Random& random) {
  return std::to_string(random.Between(100, 9999)) + " " + PickWord(random, words::kStreetNames) + " " +
         PickWord(random, words::kStreetKinds);
}

OfficeShape ShapeFor(std::uint64_t orders) {
  OfficeShape shape;
  shape.orders = orders;
  shape.clients = std::clamp<std::uint64_t>(orders / 10, 100, 20000);
  shape.appraisers = std::clamp<std::uint64_t>(orders / 400, 8, 250);
  shape.first_day = Day(1995, 1, 1);
  shape.days = Day(2010, 1, 1) - shape.first_day;
  std::uint64_t per_year = orders * 366 / static_cast<std::uint64_t>(shape.days) + 2;
  shape.file_number_digits = std::max<int>(4, static_cast<int>(std::to_string(per_year).size()));
  return shape;
}

MistakePlan::MistakePlan(std::uint64_t seed, std::uint64_t records,
                         const std::vector<std::pair<std::uint8_t, unsigned>>& rates, std::uint64_t stream,
                         std::uint64_t first_eligible)
    : flags_(records, 0) {
  if (records <= first_eligible) return;
  const std::uint64_t eligible = records - first_eligible;
  for (const auto& [flag, per_thousand] : rates) {
    std::uint64_t wanted = std::max<std::uint64_t>(1, (records * per_thousand + 500) / 1000);
    wanted = std::min(wanted, eligible);
    Random random(seed, static_cast<Stream>(stream), flag);
    for (std::uint64_t placed = 0; placed < wanted;) {
      std::uint8_t& slot = flags_[first_eligible + random.Below(eligible)];
      if (slot & flag) continue;
      slot |= flag;
      ++placed;
    }
  }
}

Office::Office(std::uint64_t seed, std::uint64_t orders)
    : seed_(seed),
      shape_(ShapeFor(orders)),
      order_plan_(seed, orders,
                  {{kIllegalFileNumber, MistakeRates::kIllegalFileNumber},
                   {kUnusableDate, MistakeRates::kUnusableDate},
                   {kAmountDisagrees, MistakeRates::kAmountDisagrees},
                   {kUnknownAppraiser, MistakeRates::kUnknownAppraiser}},
                  static_cast<std::uint64_t>(Stream::OrderMistakes)),
      client_plan_(seed, shape_.clients,
                   {{kDuplicateClientKey, MistakeRates::kDuplicateClientKey},
                    {kEmptyClientKey, MistakeRates::kEmptyClientKey}},
                   static_cast<std::uint64_t>(Stream::ClientMistakes), 1) {}

std::string Office::ClientNumber(std::uint64_t index) const { return std::to_string(1000 + index); }
std::string Office::AppraiserNumber(std::uint64_t index) const { return std::to_string(index + 1); }

// A client's name, unique by its index: lenders by core, kind, town and branch; law firms by two
// partners; private persons, tilde-marked, by last name, first name and initial.
std::string Office::ClientName(std::uint64_t index) const {
  Random random(seed_, Stream::Client, index << 1);
  unsigned kind = static_cast<unsigned>(random.Below(1000));
  if (kind < 40) {
    constexpr std::uint64_t kLast = words::kLastNames.size(), kFirst = words::kFirstNames.size();
    std::uint64_t mixed = (index * 7919) % (kLast * kFirst * 26);
    std::string last(words::kLastNames[mixed % kLast]);
    std::string first(words::kFirstNames[(mixed / kLast) % kFirst]);
    if (random.Permille(60)) last = words::kAccentedLastNames[random.Below(words::kAccentedLastNames.size())];
    char initial = static_cast<char>('A' + mixed / (kLast * kFirst));
    return "~" + Upper(last) + ", " + Upper(first) + " " + initial;
  }
  if (kind < 50) {
    constexpr std::uint64_t kLast = words::kLastNames.size();
    std::uint64_t mixed = (index * 104729) % (kLast * kLast * 2);
    return Upper(std::string(words::kLastNames[mixed % kLast])) + ", " +
           Upper(std::string(words::kLastNames[(mixed / kLast) % kLast])) +
           std::string(words::kLawFirmSuffixes[mixed / (kLast * kLast)]);
  }
  constexpr std::uint64_t kCores = words::kLenderCores.size(), kKinds = words::kLenderKinds.size();
  constexpr std::uint64_t kPlaces = words::kBranchPlaces.size() + 1;
  std::uint64_t mixed = (index * 7907) % (kCores * kKinds * kPlaces * 3);
  std::string name = std::string(words::kLenderCores[mixed % kCores]) + " " +
                     std::string(words::kLenderKinds[(mixed / kCores) % kKinds]);
  std::uint64_t place = (mixed / (kCores * kKinds)) % kPlaces;
  if (place > 0) name += ", " + std::string(words::kBranchPlaces[place - 1]);
  std::uint64_t branch = mixed / (kCores * kKinds * kPlaces);
  if (branch > 0) name += " " + std::to_string(branch + 1);  // no "#": it is illegal in a key
  return name;
}

Client Office::ClientAt(std::uint64_t index) const {
  Client client;
  client.number = ClientNumber(index);
  std::uint8_t mistakes = client_plan_.At(index);
  std::string name = ClientName(index);
  Random random(seed_, Stream::Client, (index << 1) | 1);
  if ((mistakes & kDuplicateClientKey) && index > 0) {
    name = ClientName(index - 1 - random.Below(std::min<std::uint64_t>(index, 40)));  // entered again, a new number
  }
  bool person = name.starts_with("~");
  client.plain_name = person ? name.substr(1) : name;
  client.name = (mistakes & kEmptyClientKey) ? std::string() : name;
  if (!person && index > 0 && random.Permille(200)) client.bill_to = ClientNumber(random.Below(index));
  client.street = random.Permille(150) ? "P.O. Box " + std::to_string(random.Between(100, 99999)) : StreetAddress(random);
  if (random.Permille(250)) client.line2 = "Suite " + std::to_string(random.Between(100, 950));
  const auto& town = words::kTowns[random.Below(words::kTowns.size())];
  client.line3 = std::string(town.city) + ", GA " + std::to_string(town.zip);
  client.phone = PhoneNumber(random);
  if (!person && random.Permille(400)) client.extension = std::to_string(random.Between(100, 4999));
  if (!person) client.contact = PersonName(random, false);
  if (!person && random.Permille(700)) client.fax = PhoneNumber(random);
  if (!person && random.Permille(300)) client.duns = std::to_string(random.Between(100000000, 999999999));
  client.preferred_billing = random.Permille(300);
  return client;
}

Appraiser Office::AppraiserAt(std::uint64_t index) const {
  Random random(seed_, Stream::Appraiser, index);
  Appraiser appraiser;
  appraiser.number = AppraiserNumber(index);
  std::string first = random.Permille(30) ? PickWord(random, words::kAccentedFirstNames) : PickWord(random, words::kFirstNames);
  std::uint64_t last = (index * 37) % words::kLastNames.size();
  appraiser.last_name = random.Permille(40) ? PickWord(random, words::kAccentedLastNames) : std::string(words::kLastNames[last]);
  appraiser.first_name = first;
  appraiser.street = StreetAddress(random);
  if (random.Permille(150)) appraiser.line2 = "Apt " + std::to_string(random.Between(1, 40));
  const auto& town = words::kTowns[random.Below(words::kTowns.size())];
  appraiser.line3 = std::string(town.city) + ", GA " + std::to_string(town.zip);
  if (random.Permille(950)) appraiser.phone = PhoneNumber(random);
  if (random.Permille(100)) appraiser.extension = std::to_string(random.Between(10, 99));
  if (random.Permille(500)) appraiser.pager = PhoneNumber(random);
  static constexpr const char* kLicences[] = {"CR", "CG", "LA"};
  appraiser.license = std::string(kLicences[random.Below(3)]) + std::to_string(random.Between(1000, 299999));
  return appraiser;
}

Order Office::OrderAt(std::uint64_t index) const {
  Random random(seed_, Stream::OrderCore, index);
  Order order;
  order.index = index;
  order.mistakes = order_plan_.At(index);
  const std::int64_t received = shape_.first_day + static_cast<std::int64_t>(
                                                       static_cast<unsigned __int128>(index) * shape_.days / shape_.orders);
  const foxpro::Date date = foxpro::DateFromJulianDay(received);
  const std::int64_t year_start = Day(date.year, 1, 1);
  const auto first_of_year = static_cast<std::uint64_t>(
      (static_cast<unsigned __int128>(year_start - shape_.first_day) * shape_.orders + shape_.days - 1) / shape_.days);
  char number[32];
  std::snprintf(number, sizeof number, "%02d-%0*llu", date.year % 100, shape_.file_number_digits,
                static_cast<unsigned long long>(index - first_of_year + 1));
  order.file_number = number;
  if (order.mistakes & kIllegalFileNumber) {
    static constexpr const char* kMarks[] = {"#", "#", "&", "*", "%", "$", "\xC2\xB0"};  // the last is a degree sign
    order.file_number.replace(2, 1, kMarks[random.Below(7)]);
  }
  if (!random.Permille(6)) {
    double skew = random.Unit();
    order.client_number = ClientNumber(static_cast<std::uint64_t>(skew * skew * static_cast<double>(shape_.clients)));
  }
  order.form = PickForm(random);

  auto& d = order.dates;
  const bool open = received + 25 > shape_.first_day + shape_.days;
  d[kReceived] = received;
  d[kAssigned] = received + random.Between(0, 1);
  d[kPromised] = received + random.Between(7, 14);
  std::int64_t ready = d[kAssigned];
  if (random.Permille(60)) {
    d[kOnHold] = d[kAssigned] + random.Between(1, 4);
    d[kOffHold] = d[kOnHold] + random.Between(2, 12);
    ready = d[kOffHold];
  }
  if (!open) {
    d[kInspected] = ready + random.Between(1, 5);
    d[kFinished] = d[kInspected] + random.Between(1, 6);
    if (random.Permille(600)) d[kReviewed] = d[kFinished] + random.Between(0, 2);
    if (random.Permille(550)) d[kSold] = d[kFinished] + random.Between(10, 40);
  }
  order.invoice_day = d[kFinished] ? d[kFinished] : received;
  if (order.mistakes & kUnusableDate) {
    static constexpr int kSlots[] = {kReceived, kFinished, kInspected, kAssigned, kPromised, -1};
    int slot = kSlots[random.Below(6)];
    if (slot < 0) {
      order.unusable_invoice_bytes = UnusableDateBytes(random, order.invoice_day);
    } else {
      order.unusable_slot = slot;
      order.unusable_bytes = UnusableDateBytes(random, d[static_cast<std::size_t>(slot)]);
    }
  }

  const auto& form = words::kForms[order.form];
  double years = static_cast<double>(received - shape_.first_day) / 365.25;
  order.fee = RoundTo(form.base_fee * (1 + 0.035 * years), 5) + (random.Permille(200) ? 25 * random.Between(-1, 1) : 0);
  std::uint64_t expenses = random.Below(1000);
  std::size_t count = expenses < 600 ? 0 : expenses < 880 ? 1 : expenses < 970 ? 2 : 3;
  double total = 0;
  for (std::size_t e = 0; e < count; ++e) {
    const auto& kind = words::kClientExpenses[random.Below(words::kClientExpenses.size())];
    Money money{std::string(kind.description), static_cast<double>(random.Between(kind.low, kind.high))};
    total += money.amount;
    order.client_expenses.push_back(std::move(money));
  }
  order.stored_expenses = total;
  if (order.mistakes & kAmountDisagrees) {
    // Expenses keyed on the invoice but never entered as lines, or lines changed afterwards.
    order.stored_expenses = count == 0 || random.Permille(500) ? total + static_cast<double>(random.Between(15, 75))
                                                               : total - order.client_expenses.back().amount;
  }

  const double due = order.fee + order.stored_expenses;
  if (!open) {
    std::uint64_t paying = random.Below(1000);
    std::int64_t day = order.invoice_day + random.Between(5, 60);
    auto check = [&](double amount) {
      order.checks.push_back({std::to_string(random.Between(1001, 99999)), day, amount});
      day += random.Between(7, 45);
    };
    if (paying < 900) {
      check(due);
    } else if (paying < 960) {
      double first = RoundTo(due / 2, 5);
      check(first);
      check(due - first);
    } else if (paying < 975) {
      double part = RoundTo(due / 3, 5);
      check(part);
      check(part);
      check(due - 2 * part);
    } else if (paying < 985) {
      check(order.fee);  // the expenses were never paid
    }
  }

  std::uint64_t main = static_cast<std::uint64_t>(std::pow(random.Unit(), 1.5) * static_cast<double>(shape_.appraisers));
  double share = 0.50 + 0.05 * static_cast<double>(random.Below(4));
  double pay = RoundTo(order.fee * share, 5);
  Payment payment{AppraiserNumber(main), pay, 0, false, 0, {}};
  if (random.Permille(40) && shape_.appraisers > 1) {
    std::uint64_t second = (main + 1 + random.Below(shape_.appraisers - 1)) % shape_.appraisers;
    payment.amount = RoundTo(pay / 2, 0.5);
    payment.split_percent = 50;
    order.payments.push_back(payment);
    payment.appraiser = AppraiserNumber(second);
  }
  order.payments.push_back(payment);
  if (order.mistakes & kUnknownAppraiser) {
    order.payments.front().appraiser = std::to_string(900 + random.Below(99));  // a former appraiser, long deleted
  }
  for (Payment& p : order.payments) {
    if (!open && random.Permille(930)) {
      p.paid = true;
      p.paid_day = order.invoice_day + random.Between(10, 35);
      p.check_number = std::to_string(random.Between(100, 9999));
    }
  }
  if (random.Permille(150)) {
    std::size_t appraiser_expenses = random.Permille(800) ? 1 : 2;
    for (std::size_t e = 0; e < appraiser_expenses; ++e) {
      const auto& kind = words::kAppraiserExpenses[random.Below(words::kAppraiserExpenses.size())];
      order.appraiser_expenses.push_back(
          {std::string(kind.code), std::string(kind.description), static_cast<double>(random.Between(kind.low, kind.high))});
    }
  }
  return order;
}

}  // namespace qorvane::sample
