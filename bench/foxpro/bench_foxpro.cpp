// Reading speed of the FoxPro table reader: a generated table of 1,000,000 records (text,
// numbers, dates, logicals and a memo per record) is read field by field, every value decoded.
// Reports bytes per second over the .dbf and .fpt together, and the process's peak resident
// memory, which must not grow with the table (the reader works through a window).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "common/os.h"
#include "foxpro/table.h"
#include "foxpro/table_writer.h"

namespace {

using namespace qorvane::foxpro;

struct GeneratedTable {
  std::string folder;
  std::string path;
  std::uint64_t bytes = 0;
};

Value Text(std::string text) { return Value{Value::Kind::Text, std::move(text), 0, {}, false}; }

// Generated once per size and kept for the process; main removes them at exit.
std::map<std::uint32_t, GeneratedTable>& Tables() {
  static std::map<std::uint32_t, GeneratedTable> tables;
  return tables;
}

const GeneratedTable& Generate(std::uint32_t records) {
  auto& table = Tables()[records];
  if (!table.path.empty()) return table;
  std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-XXXXXX").string();
  table.folder = ::mkdtemp(pattern.data());
  table.path = table.folder + "/property.dbf";
  NewTableOptions options;
  options.code_page = 1252;
  TableCreator creator(table.path,
                       {{"FILE_NUM", 'C', 10}, {"PR_STREET", 'C', 30}, {"PR_CITY", 'C', 40}, {"PR_APPRVAL", 'N', 10, 2},
                        {"PR_UNITS", 'N', 6}, {"PR_DRECEIV", 'D'}, {"PREF_BILL", 'L'}, {"PR_COMM", 'M'}},
                       options);
  std::vector<Value> row(8);
  for (std::uint32_t i = 0; i < records; ++i) {
    row[0] = Text(std::to_string(100000 + i));
    row[1] = Text(std::to_string(i % 9999) + " Main Street");
    row[2] = Text(i % 3 ? "Springfield" : "Zürich-Höngg");
    row[3] = Value{Value::Kind::Number, "", (i % 100000) * 1.25, {}, false};
    row[4] = i % 7 ? Value{Value::Kind::Number, "", double(i % 500), {}, false} : Value{};
    row[5] = Value{Value::Kind::Date, "", 0, Date{1990 + int(i % 30), 1 + int(i % 12), 1 + int(i % 28)}, false};
    row[6] = Value{Value::Kind::Logical, "", 0, {}, (i & 1) != 0};
    row[7] = Text("Appraisal comment for order " + std::to_string(i) + "\r\n" + std::string(40 + i % 120, 'c'));
    creator.Append(row);
  }
  creator.Finish();
  table.bytes = *qorvane::os::FileSize(table.path) + *qorvane::os::FileSize(table.folder + "/property.fpt");
  return table;
}

long PeakResidentKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

void ReadEveryField(benchmark::State& state) {
  const GeneratedTable& generated = Generate(static_cast<std::uint32_t>(state.range(0)));
  std::uint64_t checksum = 0;
  for (auto _ : state) {
    auto table = Table::Open(generated.path, {437, nullptr});
    const std::size_t fields = table->fields().size();
    for (std::uint32_t record = 0; record < table->record_count(); ++record) {
      auto bytes = table->RecordBytes(record);
      if (std::to_integer<unsigned char>(bytes[0]) == '*') continue;
      for (std::size_t field = 0; field < fields; ++field) {
        Value value = table->DecodeField(bytes, record, field);
        checksum += value.text.size() + static_cast<std::uint64_t>(value.number) + value.date.day + value.logical;
      }
    }
  }
  benchmark::DoNotOptimize(checksum);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * generated.bytes));
  state.counters["table_MB"] = double(generated.bytes) / 1e6;
  state.counters["peak_rss_MB"] = double(PeakResidentKilobytes()) / 1024.0;
}

BENCHMARK(ReadEveryField)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  for (const auto& [records, table] : Tables()) {
    std::error_code ignored;
    std::filesystem::remove_all(table.folder, ignored);
  }
  return 0;
}
