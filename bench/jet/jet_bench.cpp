// Bulk insert of 1,000,000 order-shaped rows (30 columns: text, dates, booleans and three
// memos) into a copy of an Access-written table, with commit, and a keyed look-up in the
// resulting 1,000,000-row table. Peak memory is reported as a counter (max RSS, MB).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "common/error.h"
#include "common/os.h"
#include "jet/database.h"
#include "jet/index/key.h"

namespace qorvane::jet {
namespace {

constexpr int kRows = 1000000;

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

struct Scratch {
  std::string dir;
  std::string path;
  Scratch() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-XXXXXX").string();
    dir = ::mkdtemp(pattern.data());
    path = dir + "/office.mdb";
    os::CopyFile(std::string(QORVANE_SHARED_DIR) + "/fixtures/mdb/test2V2000.mdb", path);
  }
  ~Scratch() { std::filesystem::remove_all(dir); }
};

std::unique_ptr<Database> OpenWritable(const std::string& path) {
  DatabaseOptions options;
  options.open_for = OpenFor::Writing;
  try {
    index::KeyTypeFromColumnType(0x04);
  } catch (const Error&) {
    options.index_maintenance = IndexMaintenance::Skip;  // index module not in yet
  }
  return Database::Open(path, options);
}

// Fills 30 columns of the table: every text column, the dates, booleans and three memos.
std::vector<Value> MakeRow(Table& table, int i) {
  std::vector<Value> row(table.columns().size());
  int used = 0, memos = 0;
  for (std::size_t c = 0; c < row.size() && used < 30; ++c) {
    const ColumnDefinition& column = table.columns()[c];
    switch (column.type) {
      case ColumnType::Text: {
        std::string text = "V" + std::to_string(i) + " " + column.name;
        text.resize(std::min<std::size_t>(text.size(), column.defined_size()));
        row[c] = Value::String(text);
        break;
      }
      case ColumnType::DateTime: row[c] = Value::Date(36000 + i % 9000); break;
      case ColumnType::Boolean: row[c] = Value::Bool(i % 2); break;
      case ColumnType::Memo:
        if (memos == 3) continue;
        row[c] = Value::String(memos == 0 ? "Status: inspected " + std::to_string(i)
                                          : std::string(memos == 1 ? 40 : 180, 'n'));
        ++memos;
        break;
      default: continue;
    }
    ++used;
  }
  return row;
}

void BM_Insert1MillionRowsAndCommit(benchmark::State& state) {
  for (auto _ : state) {
    Scratch scratch;
    auto database = OpenWritable(scratch.path);
    Table& table = database->GetTable("MSP_PROJECTS");
    for (int i = 0; i < kRows; ++i) table.Insert(MakeRow(table, i));
    database->Commit();
    state.counters["file_MB"] = static_cast<double>(*os::FileSize(scratch.path)) / (1 << 20);
  }
  state.counters["peak_RSS_MB"] = PeakMegabytes();
}
BENCHMARK(BM_Insert1MillionRowsAndCommit)->Iterations(1)->Unit(benchmark::kSecond);

void BM_KeyedLookupIn1MillionRows(benchmark::State& state) {
  Scratch scratch;
  auto database = OpenWritable(scratch.path);
  Table& table = database->GetTable("MSP_PROJECTS");
  for (int i = 0; i < kRows; ++i) table.Insert(MakeRow(table, i));
  std::size_t column = *table.FindColumn("PROJ_NAME");
  std::mt19937 random(7);
  Value probe = Value::String("v1 PROJ_NAME");
  table.FindEqual({column}, {probe});  // builds the hash once
  std::size_t found = 0;
  for (auto _ : state) {
    int i = static_cast<int>(random() % kRows);
    std::string key = "v" + std::to_string(i) + " PROJ_NAME";
    key.resize(std::min<std::size_t>(key.size(), table.columns()[column].defined_size()));
    found += table.FindEqual({column}, {Value::String(key)}).size();
  }
  state.counters["found"] = static_cast<double>(found);
  state.counters["peak_RSS_MB"] = PeakMegabytes();
}
BENCHMARK(BM_KeyedLookupIn1MillionRows)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace qorvane::jet

BENCHMARK_MAIN();
