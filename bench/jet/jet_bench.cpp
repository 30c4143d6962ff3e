// Bulk insert of 1,000,000 rows into the Property table of a new office.mdb (about thirty of
// its columns filled: file numbers, addresses, phones, singles, dates and three memos of 50 to
// 400 characters), then commit. One benchmark commits without the index rebuild (the cost of
// the rows alone), one with it; the difference is the cost of building the three indexes.
// Counters: insert_s (the Insert calls), commit_s (Commit, including any index rebuild),
// peak_RSS_MB (max RSS of the process: run one benchmark per process with --benchmark_filter
// to read it per case). A keyed look-up in the committed 1,000,000-row table closes.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "common/error.h"
#include "common/os.h"
#include "data/office_schema.h"
#include "jet/create/create.h"
#include "jet/database.h"

namespace qorvane::jet {
namespace {

// 1,000,000 rows; QORVANE_BENCH_ROWS sets another count (a smaller run for profiling).
int RowCount() {
  const char* text = std::getenv("QORVANE_BENCH_ROWS");
  return text ? std::atoi(text) : 1000000;
}

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A new office.mdb in a temporary folder, removed afterwards.
struct Scratch {
  std::string dir;
  std::string path;
  Scratch() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-XXXXXX").string();
    dir = ::mkdtemp(pattern.data());
    path = dir + "/office.mdb";
    create::CreateDatabase(path, data::OfficeSchema());
  }
  ~Scratch() { std::filesystem::remove_all(dir); }
};

std::unique_ptr<Database> OpenWritable(const std::string& path, IndexMaintenance maintenance) {
  DatabaseOptions options;
  options.open_for = OpenFor::Writing;
  options.index_maintenance = maintenance;
  return Database::Open(path, options);
}

std::string FileNumber(int i) { return std::to_string(100000 + i) + "-" + std::to_string(i % 97); }

// Column positions of the Property columns the rows fill, looked up once.
struct PropertyColumns {
  std::vector<std::pair<std::size_t, std::string>> named;
  explicit PropertyColumns(Table& table) {
    for (const char* name :
         {"FileNumber", "RefNum", "FhaCase", "CensusTrct", "Address", "City", "County", "St", "Zip", "Neighborhd",
          "Owner", "OwnerPhone", "Borrower", "BorrowerPhone", "Refinance", "SellingPr", "LoanRequested",
          "AppraisedValue", "InvoicePrinted", "FormType", "Contact", "Client", "DateReceived", "DateDue",
          "Dateassigned", "DateCompleted", "DateInspected", "Status", "GeneralNotes", "ReferenceAddress"}) {
      named.emplace_back(*table.FindColumn(name), name);
    }
  }
};

const char* const kStreets[] = {"Maple Ave", "Oak St", "Pine Rd", "Cedar Ln", "Elm Dr", "Birch Ct", "Lakeview Blvd"};
const char* const kCities[] = {"Springfield", "Riverton", "Fairview", "Greenville", "Madison", "Georgetown"};
const char* const kClients[] = {"First National Bank", "Countrywide Lending", "Hometown Mortgage",
                                "Union Savings", "Pioneer Credit", "Liberty Federal", "Summit Financial"};

// The notes text: character (i + 7k) mod 31 of the alphabet below for row i, position k. As 9
// is the inverse of 7 modulo 31 that is character (k + 9i) mod 31 of one period of kNotesCycle,
// so each row's notes are a slice of one precomputed string.
constexpr const char* kNotesAlphabet = "abcdefgh ijklmnop qrstuv wxyz. ";
const std::string& NotesCycle() {
  static const std::string cycle = [] {
    std::string text(31 + 400, ' ');
    for (std::size_t j = 0; j < text.size(); ++j) text[j] = kNotesAlphabet[(7 * j) % 31];
    return text;
  }();
  return cycle;
}

std::vector<Value> MakeRow(const PropertyColumns& columns, std::size_t width, int i, std::mt19937& random) {
  std::vector<Value> row(width);
  std::string street = std::to_string(10 + i % 9000) + " " + kStreets[i % 7];
  std::string city = kCities[(i / 7) % 6];
  std::string person = "Owner " + std::to_string(i % 5003);
  std::string notes = NotesCycle().substr((9u * static_cast<unsigned>(i)) % 31, 50 + random() % 351);
  // Fields in the order of PropertyColumns' list.
  for (std::size_t field = 0; field < columns.named.size(); ++field) {
    Value& value = row[columns.named[field].first];
    switch (field) {
      case 0: value = Value::String(FileNumber(i)); break;
      case 1: value = Value::String("REF" + std::to_string(i * 7 % 1000003)); break;
      case 2: value = Value::String("FHA-" + std::to_string(i % 99991)); break;
      case 3: value = Value::String(std::to_string(1000 + i % 800) + ".0" + std::to_string(i % 9)); break;
      case 4: value = Value::String(street); break;
      case 5: value = Value::String(city); break;
      case 6: value = Value::String(city + " County"); break;
      case 7: value = Value::String("OH"); break;
      case 8: value = Value::String(std::to_string(43000 + i % 999)); break;
      case 9: value = Value::String(std::string(kStreets[(i / 3) % 7]) + " district"); break;
      case 10: case 12: value = Value::String(person); break;
      case 11: case 13: value = Value::String("(614) 555-" + std::to_string(1000 + i % 9000)); break;
      case 14: case 16: value = Value::Float(static_cast<float>(50000 + i % 400000)); break;
      case 15: case 17: value = Value::Float(static_cast<float>(80000 + (i * 13) % 500000)); break;
      case 18: value = Value::Bool(i % 3 == 0); break;
      case 19: value = Value::String(i % 2 ? "URAR" : "2055"); break;
      case 20: value = Value::String("Loan officer " + std::to_string(i % 211)); break;
      case 21: value = Value::String(kClients[i % 7]); break;
      case 22: case 23: case 24: case 25: case 26: value = Value::Date(36526 + (i + field) % 9000); break;
      case 27:
        value = Value::String("Inspected, report sent " + std::to_string(i % 28 + 1) +
                              " days ago; awaiting review by the client");
        break;
      case 28: value = Value::String(notes); break;
      case 29:
        value = Value::String(street + ", " + city + ", OH " + std::to_string(43000 + i % 999) +
                              " - comparable sales on file");
        break;
    }
  }
  return row;
}

void InsertAndCommit(benchmark::State& state, IndexMaintenance maintenance) {
  for (auto _ : state) {
    Scratch scratch;
    auto database = OpenWritable(scratch.path, maintenance);
    Table& table = database->GetTable("Property");
    PropertyColumns columns(table);
    std::mt19937 random(7);
    auto start = std::chrono::steady_clock::now();
    for (int i = 0, rows = RowCount(); i < rows; ++i) table.Insert(MakeRow(columns, table.columns().size(), i, random));
    state.counters["insert_s"] = SecondsSince(start);
    start = std::chrono::steady_clock::now();
    database->Commit();
    state.counters["commit_s"] = SecondsSince(start);
    state.counters["file_MB"] = static_cast<double>(*os::FileSize(scratch.path)) / (1 << 20);
  }
  state.counters["peak_RSS_MB"] = PeakMegabytes();
}

void BM_PropertyRowsOnly(benchmark::State& state) { InsertAndCommit(state, IndexMaintenance::Skip); }
BENCHMARK(BM_PropertyRowsOnly)->Iterations(1)->Unit(benchmark::kSecond);

void BM_PropertyRowsAndIndexes(benchmark::State& state) { InsertAndCommit(state, IndexMaintenance::Rebuild); }
BENCHMARK(BM_PropertyRowsAndIndexes)->Iterations(1)->Unit(benchmark::kSecond);

void BM_KeyedLookupIn1MillionRows(benchmark::State& state) {
  Scratch scratch;
  auto database = OpenWritable(scratch.path, IndexMaintenance::Rebuild);
  {
    Table& table = database->GetTable("Property");
    PropertyColumns columns(table);
    std::mt19937 random(7);
    for (int i = 0, rows = RowCount(); i < rows; ++i) table.Insert(MakeRow(columns, table.columns().size(), i, random));
    database->Commit();
  }
  Table& table = database->GetTable("Property");
  std::size_t column = *table.FindColumn("FileNumber");
  table.FindEqual({column}, {Value::String(FileNumber(1))});  // builds the hash once
  std::mt19937 random(11);
  std::size_t found = 0;
  for (auto _ : state) {
    found += table.FindEqual({column}, {Value::String(FileNumber(static_cast<int>(random() % RowCount())))}).size();
  }
  state.counters["found"] = static_cast<double>(found);
  state.counters["peak_RSS_MB"] = PeakMegabytes();
}
// A fixed iteration count, so the 1,000,000-row table is built once and not per trial run.
BENCHMARK(BM_KeyedLookupIn1MillionRows)->Iterations(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace qorvane::jet

BENCHMARK_MAIN();
