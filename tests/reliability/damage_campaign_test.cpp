// The damage campaign: damaged copies of a small sample office, `check` and `convert --prelim`
// on each. Every copy must end with an exit status of the program's own (no signal, no hang);
// every error it gives must name its file; and every record python3-dbfread reads whole from a
// table must be read by the step that converts that table, or the table must be named as
// refused with its reason.
//
// The copies come from two places: a generator (each kind of damage an office's old tables
// show, with fixed seeds, and random bit flips and truncations) and the cases kept in
// fuzz/office/regressions, one file each, that once went wrong and say what must happen now.
// A case is a list of lines:
//   # what the case is about
//   damage OP FILE ARGS...     see Damage() for the operations
//   expect WHAT ARGS...        see ExpectCase() for what can be expected
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <regex>
#include <sstream>

#include "reliability_office.h"
#include "test_support/temp_dir.h"

namespace qorvane::reliability {
namespace {

constexpr int kSampleOrders = 30;
constexpr int kSampleSeed = 11;

struct Case {
  std::string name;
  std::vector<std::string> lines;  // damage and expect lines
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

std::vector<std::string> Words(const std::string& line) {
  std::istringstream in(line);
  std::vector<std::string> words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

// The rest of LINE after its first COUNT words.
std::string RestAfter(const std::string& line, int count) {
  std::size_t at = 0;
  for (int i = 0; i < count; ++i) {
    at = line.find_first_not_of(' ', at);
    at = line.find(' ', at);
    if (at == std::string::npos) return "";
  }
  at = line.find_first_not_of(' ', at);
  return at == std::string::npos ? "" : line.substr(at);
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::vector<char> Read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<char>(std::istreambuf_iterator<char>(in), {});
}
void Write(const std::string& path, const std::vector<char>& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::uint16_t U16(const std::vector<char>& bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1]) << 8);
}
void PutU16(std::vector<char>& bytes, std::size_t at, unsigned value) {
  bytes[at] = static_cast<char>(value & 0xFF);
  bytes[at + 1] = static_cast<char>(value >> 8 & 0xFF);
}

// The offset of FIELD's descriptor in a table's bytes.
std::size_t Descriptor(const std::vector<char>& bytes, const std::string& field) {
  for (std::size_t at = 32; at + 32 <= bytes.size() && bytes[at] != 0x0D; at += 32) {
    if (Lower(std::string(&bytes[at], strnlen(&bytes[at], 11))) == Lower(field)) return at;
  }
  throw std::runtime_error("no field " + field);
}

// A position in a file: a number, or "header F" / "records F" / "any F", a fraction F of the
// table's header, its records or the whole file.
std::size_t Position(const std::vector<char>& bytes, const std::string& where, const std::string& fraction) {
  double part = std::stod(fraction);
  std::size_t header = bytes.size() >= 10 ? U16(bytes, 8) : 0;
  if (header > bytes.size()) header = bytes.size();
  if (where == "header") return static_cast<std::size_t>(part * static_cast<double>(header));
  if (where == "records") return header + static_cast<std::size_t>(part * static_cast<double>(bytes.size() - header));
  return static_cast<std::size_t>(part * static_cast<double>(bytes.size()));
}

// Applies one damage line to the copy in SOURCE; FOREIGN holds the same office made with
// another seed (another office's files).
void Damage(const std::string& source, const std::string& foreign, const std::string& line) {
  std::vector<std::string> w = Words(line);
  const std::string& op = w.at(1);
  const std::string path = source + "/" + w.at(2);
  std::vector<char> bytes = Read(path);
  if (op == "field") {  // field FILE FIELD width N | type X | name NEW
    std::size_t at = Descriptor(bytes, w.at(3));
    if (w.at(4) == "width") bytes[at + 16] = static_cast<char>(std::stoi(w.at(5)));
    if (w.at(4) == "type") bytes[at + 11] = w.at(5)[0];
    if (w.at(4) == "name") {
      std::string name = w.at(5);
      name.resize(11, '\0');
      std::copy(name.begin(), name.end(), bytes.begin() + static_cast<long>(at));
    }
  } else if (op == "header") {  // header FILE record-length N | header-length N | records N
    unsigned value = static_cast<unsigned>(std::stoul(w.at(4)));
    if (w.at(3) == "record-length") PutU16(bytes, 10, value);
    if (w.at(3) == "header-length") PutU16(bytes, 8, value);
    if (w.at(3) == "records") {
      PutU16(bytes, 4, value & 0xFFFF);
      PutU16(bytes, 6, value >> 16);
    }
  } else if (op == "text") {  // text FILE WORDS...
    std::string text = RestAfter(line, 3) + "\r\n";
    bytes.assign(text.begin(), text.end());
  } else if (op == "zeros") {  // zeros FILE N
    bytes.assign(std::stoul(w.at(3)), 0);
  } else if (op == "empty") {
    bytes.clear();
  } else if (op == "cut") {  // cut FILE N | cut FILE any F (keep that many bytes)
    std::size_t keep = w.size() > 4 ? Position(bytes, w.at(3), w.at(4)) : std::stoul(w.at(3));
    bytes.resize(std::min(keep, bytes.size()));
  } else if (op == "flip") {  // flip FILE OFFSET BIT | flip FILE header|records|any F BIT
    std::size_t at = w.size() > 5 ? Position(bytes, w.at(3), w.at(4)) : std::stoul(w.at(3));
    int bit = std::stoi(w.back());
    if (at < bytes.size()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << bit));
  } else if (op == "zero") {  // zero FILE OFFSET LENGTH
    std::size_t at = std::stoul(w.at(3)), length = std::stoul(w.at(4));
    for (std::size_t i = at; i < at + length && i < bytes.size(); ++i) bytes[i] = 0;
  } else if (op == "replace") {  // replace FILE OLD NEW (the first occurrence, same length)
    std::string old_text = w.at(3), new_text = w.at(4);
    auto found = std::search(bytes.begin(), bytes.end(), old_text.begin(), old_text.end());
    if (found != bytes.end()) std::copy(new_text.begin(), new_text.end(), found);
  } else if (op == "copy") {  // copy FILE FROM: FILE becomes a copy of FROM (another table's)
    bytes = Read(source + "/" + w.at(3));
  } else if (op == "foreign") {  // foreign FILE: the same file of another office
    bytes = Read(foreign + "/" + w.at(2));
  } else {
    throw std::runtime_error("unknown damage: " + line);
  }
  Write(path, bytes);
}

// The generated part of the campaign: each kind of damage with parameters drawn from a fixed
// seed, then random bit flips and truncations.
std::vector<Case> GeneratedCases() {
  std::mt19937 random(20261115);
  auto pick = [&](const std::vector<std::string>& from) { return from[random() % from.size()]; };
  auto fraction = [&] { return std::to_string(static_cast<double>(random() % 10000) / 10000.0); };
  const std::vector<std::string> tables = {"property.dbf", "invoice.dbf", "client.dbf", "appraisr.dbf", "apprexp.dbf",
                                           "apprfee.dbf", "clifee.dbf", "applied.dbf", "cliexp.dbf", "user.dbf",
                                           "rooms.dbf", "forms.dbf"};
  const std::vector<std::string> indexes = {"property.cdx", "invoice.cdx", "client.cdx", "appraisr.cdx",
                                            "applied.cdx", "cliexp.cdx", "apprexp.cdx", "apprfee.cdx"};
  const std::map<std::string, std::vector<std::string>> fields = {
      {"property.dbf", {"FILE_NUM", "CLI_NUM", "PR_STREET", "PR_APPRVAL", "PR_DRECEIV", "PR_COMM"}},
      {"invoice.dbf", {"INV_NUM", "INV_DATE", "INV_FEE", "INV_EXP"}},
      {"client.dbf", {"CLI_NUM", "CLI_LNAME", "PLAIN_NAME", "PREF_BILL"}},
      {"applied.dbf", {"FILE_NUM", "APP_NUM", "PAY_FEE", "SPLIT_BOOL"}},
      {"apprfee.dbf", {"APP_NUM", "APPR_FEE", "PAY_MODE"}}};
  std::vector<Case> cases;
  auto add = [&](const std::string& kind, std::vector<std::string> lines) {
    cases.push_back({"generated_" + std::to_string(cases.size() + 1) + "_" + kind, std::move(lines)});
  };
  for (int i = 0; i < 6; ++i) add("header_bit", {"damage flip " + pick(tables) + " header " + fraction() + " " + std::to_string(random() % 8)});
  for (int i = 0; i < 6; ++i) add("record_bit", {"damage flip " + pick(tables) + " records " + fraction() + " " + std::to_string(random() % 8)});
  for (int i = 0; i < 5; ++i) add("truncated", {"damage cut " + pick(tables) + " any " + fraction()});
  for (int i = 0; i < 2; ++i) add("memo_block_zeroed", {"damage zero property.fpt " + std::to_string(512 + 64 * (random() % 40)) + " 64"});
  add("memo_of_another_office", {"damage foreign property.fpt"});
  add("index_of_another_office", {"damage foreign " + pick(indexes)});
  for (int i = 0; i < 3; ++i) {
    std::string to = pick(indexes), from = pick(indexes);
    if (to != from) add("index_of_another_table", {"damage copy " + to + " " + from});
  }
  for (int i = 0; i < 2; ++i) add("records_counted_too_high", {"damage header " + pick(tables) + " records " + std::to_string(70 + random() % 100)});
  for (int i = 0; i < 2; ++i) add("records_counted_too_low", {"damage header " + pick(tables) + " records " + std::to_string(random() % 5)});
  for (int i = 0; i < 4; ++i) {
    auto table = std::next(fields.begin(), static_cast<long>(random() % fields.size()));
    std::string field = table->second[random() % table->second.size()];
    add("field_type", {"damage field " + table->first + " " + field + " type " + std::string(1, "CNDLMFGX"[random() % 8])});
    add("field_width", {"damage field " + table->first + " " + field + " width " + std::to_string(random() % 256)});
  }
  for (int i = 0; i < 2; ++i) add("text_file", {"damage text " + pick(tables) + " Dear Sir, please find enclosed the invoice."});
  for (int i = 0; i < 4; ++i) add("index_bit", {"damage flip " + pick(indexes) + " any " + fraction() + " " + std::to_string(random() % 8)});
  for (int i = 0; i < 4; ++i) add("any_bit", {"damage flip " + pick(tables) + " any " + fraction() + " " + std::to_string(random() % 8)});
  return cases;
}

std::vector<Case> RegressionCases() {
  std::vector<Case> cases;
  std::filesystem::path folder = std::filesystem::path(QORVANE_SOURCE_DIR) / "fuzz/office/regressions";
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename() != "README") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& path : files) {
    Case c{"kept_" + path.filename().string(), {}};
    std::replace(c.name.begin(), c.name.end(), '-', '_');
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
      if (!line.empty() && line[0] != '#') c.lines.push_back(line);
    }
    cases.push_back(std::move(c));
  }
  return cases;
}

using Outcome = test::CommandResult;

// COMMAND's status (128 + the signal when killed) and its standard output and error together.
Outcome RunCommand(const std::string& command) { return test::RunForResult(command + " 2>&1"); }

// What the run's summary says each step read and refused.
struct StepCounts {
  long read = 0, refused = 0;
};
std::map<std::string, StepCounts> StepsOf(const std::string& summary) {
  std::map<std::string, StepCounts> steps;
  std::regex step(R"re(\{"name": "(\w+)", (?:"caption": "[^"]*", )?"kind": "step", "read": (\d+), "found": \d+, "added": \d+, "updated": \d+, "skipped": \d+, "refused": (\d+))re");
  for (std::sregex_iterator it(summary.begin(), summary.end(), step), end; it != end; ++it) {
    steps[(*it)[1]] = {std::stol((*it)[2]), std::stol((*it)[3])};
  }
  return steps;
}

// The step that converts each table's records.
const std::map<std::string, std::string> kStepOfTable = {
    {"property.dbf", "property"}, {"invoice.dbf", "invoice"},   {"client.dbf", "client"},  {"appraisr.dbf", "appraiser"},
    {"apprexp.dbf", "apprexp"},   {"apprfee.dbf", "apprfee"},   {"clifee.dbf", "clientfee"}, {"applied.dbf", "applied"},
    {"rooms.dbf", "users"},       {"user.dbf", "company"},     {"forms.dbf", "formtypes"}};

class DamageCampaign : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    source = dir.path() + "/pyx";
    target = dir.path() + "/zul";
    foreign = dir.path() + "/other";
    std::string sample = std::string(QORVANE_CLI_PATH) + " sample ";
    ASSERT_EQ(RunCommand(sample + test::ShellQuote(source) + " --orders " + std::to_string(kSampleOrders) + " --seed " +
                         std::to_string(kSampleSeed)).status, 0);
    ASSERT_EQ(RunCommand(sample + test::ShellQuote(foreign) + " --orders " + std::to_string(kSampleOrders) + " --seed " +
                         std::to_string(kSampleSeed + 1)).status, 0);
    ASSERT_EQ(RunCommand(std::string(QORVANE_CLI_PATH) + " init-target " + test::ShellQuote(target)).status, 0);
  }
  // The lines of OUT that name FILE (without regard to case).
  static std::vector<std::string> LinesNaming(const std::string& out, const std::string& file) {
    std::vector<std::string> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) {
      if (Lower(line).find(file) != std::string::npos) lines.push_back(line);
    }
    return lines;
  }

  test::TempDir dir;
  std::string source, target, foreign;
  Outcome check, convert;
  std::map<std::string, StepCounts> steps;
};

TEST_P(DamageCampaign, EndsOnItsOwnNamesEveryFileAndLosesNoReadableRecord) {
  std::vector<std::string> expectations;
  for (const std::string& line : GetParam().lines) {
    if (line.rfind("damage ", 0) == 0) {
      ASSERT_NO_THROW(Damage(source, foreign, line)) << line;
    } else {
      expectations.push_back(line);
    }
  }
  // What the independent reader reads whole, before any run repairs anything.
  std::map<std::string, long> readable;
  std::istringstream counts(RunCommand("/usr/bin/python3 " + std::string(QORVANE_SOURCE_DIR) +
                                       "/tests/reliability/dbfread_counts.py " + test::ShellQuote(source)).out);
  for (std::string name; counts >> name;) counts >> readable[name];

  const std::string qorvane = "timeout -s KILL 120 " + std::string(QORVANE_CLI_PATH);
  check = RunCommand(qorvane + " check --source " + test::ShellQuote(source));
  const std::string summary = dir.path() + "/summary.json";
  convert = RunCommand(qorvane + " " +
                       ConvertArgs(dir.path(), source, target, "--prelim --massage all --summary " + test::ShellQuote(summary)));
  steps = StepsOf(FileBytes(summary));

  // An exit status of its own: no signal, no hang (the timeout kills with a signal).
  EXPECT_LE(check.status, 3) << check.out;
  EXPECT_LE(convert.status, 3) << convert.out;
  // Every error names the file it is about.
  std::istringstream out(check.out + convert.out);
  for (std::string line; std::getline(out, line);) {
    if (line.find("Error #") == std::string::npos) continue;
    std::string lower = Lower(line);
    bool names_file = false;
    for (const char* extension : {".dbf", ".cdx", ".fpt", ".mdb", ".journal", ".lock"}) names_file |= lower.find(extension) != std::string::npos;
    EXPECT_TRUE(names_file) << line;
  }
  // Every record the independent reader reads whole is read by its step, or its table is
  // named as refused with the reason (a run refused as a whole, status 1, said why).
  for (const auto& [table, step] : kStepOfTable) {
    if (convert.status == 1) break;
    long whole = readable.count(table) ? readable[table] : 0;
    long read = steps.count(step) ? steps[step].read : 0;
    if (whole == 0 || read >= whole) continue;
    bool refused = false;
    for (const std::string& line : LinesNaming(convert.out, table)) {
      refused |= line.find("Error #") != std::string::npos || line.find("cannot be read") != std::string::npos ||
                 line.find("is skipped") != std::string::npos || line.find("truncated") != std::string::npos;
    }
    EXPECT_TRUE(refused) << table << ": dbfread reads " << whole << " records, the " << step << " step read " << read
                         << " and the run names no refusal:\n" << convert.out;
  }

  for (const std::string& line : expectations) {
    std::vector<std::string> w = Words(line);
    const std::string& what = w.at(1);
    if (what == "check-status") {
      EXPECT_EQ(check.status, std::stoi(w.at(2))) << check.out;
    }
    if (what == "convert-status") {
      EXPECT_EQ(convert.status, std::stoi(w.at(2))) << convert.out;
    }
    if (what == "check-output") {
      EXPECT_NE(check.out.find(RestAfter(line, 2)), std::string::npos) << line << "\n" << check.out;
    }
    if (what == "convert-output") {
      EXPECT_NE(convert.out.find(RestAfter(line, 2)), std::string::npos) << line << "\n" << convert.out;
    }
    if (what == "no-output") {
      EXPECT_EQ((check.out + convert.out).find(RestAfter(line, 2)), std::string::npos) << line << "\n" << check.out << convert.out;
    }
    if (what == "lines") {  // lines N TEXT: the convert output has N lines holding TEXT
      std::istringstream lines(convert.out);
      int count = 0;
      std::string text = RestAfter(line, 3);
      for (std::string l; std::getline(lines, l);) count += l.find(text) != std::string::npos;
      EXPECT_EQ(count, std::stoi(w.at(2))) << line << "\n" << convert.out;
    }
    if (what == "read") {
      EXPECT_EQ(steps[w.at(2)].read, std::stol(w.at(3))) << line;
    }
    if (what == "refused") {
      EXPECT_EQ(steps[w.at(2)].refused, std::stol(w.at(3))) << line;
    }
    if (what == "rows") {
      EXPECT_EQ(test::MdbExport(target + "/office.mdb", w.at(2)).size(), std::stoul(w.at(3))) << line;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Kept, DamageCampaign, ::testing::ValuesIn(RegressionCases()),
                         [](const auto& info) { return info.param.name; });
INSTANTIATE_TEST_SUITE_P(Generated, DamageCampaign, ::testing::ValuesIn(GeneratedCases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace qorvane::reliability
