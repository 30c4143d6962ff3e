// Reading speed of the FoxPro table reader: a generated table of 1,000,000 records (text,
// numbers, dates, logicals and a memo per record) is read field by field, every value decoded.
// Reports bytes per second over the .dbf and .fpt together, and the process's peak resident
// memory, which must not grow with the table (the reader works through a window). Also: Seek
// on a 1,000,000-record table and a walk that rewrites a key field of every record.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "common/os.h"
#include "foxpro/record_set.h"
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
enum class Tags { None, FileNumberAndDate };

std::map<std::pair<std::uint32_t, Tags>, GeneratedTable>& Tables() {
  static std::map<std::pair<std::uint32_t, Tags>, GeneratedTable> tables;
  return tables;
}

const GeneratedTable& Generate(std::uint32_t records, Tags tags) {
  auto& table = Tables()[{records, tags}];
  if (!table.path.empty()) return table;
  std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-XXXXXX").string();
  table.folder = ::mkdtemp(pattern.data());
  table.path = table.folder + "/property.dbf";
  NewTableOptions options;
  options.code_page = 1252;
  if (tags == Tags::FileNumberAndDate) {
    options.tags = {{"FILE_NUM", "FILE_NUM", "", false}, {"RECEIVED", "DTOS(PR_DRECEIV)+FILE_NUM", "", false}};
  }
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
  const GeneratedTable& generated = Generate(static_cast<std::uint32_t>(state.range(0)), Tags::None);
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

// Index + Seek as a converter uses them: the look-up structure is built once, then one Seek per
// source record.
void SeekByKey(benchmark::State& state) {
  const GeneratedTable& generated = Generate(static_cast<std::uint32_t>(state.range(0)), Tags::FileNumberAndDate);
  auto set = RecordSet::Open(generated.folder, "PROPERTY", {437, nullptr, nullptr});
  auto start = std::chrono::steady_clock::now();
  set->SetIndex("FILE_NUM");
  state.counters["index_build_ms"] =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  std::uint32_t key = 0;
  std::uint64_t found = 0;
  for (auto _ : state) {
    key = (key * 2654435761u + 12345u) % static_cast<std::uint32_t>(state.range(0));
    found += set->Seek(std::to_string(100000 + key));
  }
  if (found != static_cast<std::uint64_t>(state.iterations())) state.SkipWithError("a key was not found");
}

// A walk that rewrites one key field of every record (as the file-number correction does),
// then the index rebuild; on a copy of the table, backup included.
void UpdateEveryRecord(benchmark::State& state) {
  const GeneratedTable& generated = Generate(static_cast<std::uint32_t>(state.range(0)), Tags::FileNumberAndDate);
  for (auto _ : state) {
    state.PauseTiming();
    std::string folder = generated.folder + "/copy";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    for (const char* name : {"property.dbf", "property.fpt", "property.cdx"}) {
      std::filesystem::copy_file(generated.folder + "/" + name, folder + "/" + name);
    }
    state.ResumeTiming();
    BackupSession backup("qorvane-backup-bench", nullptr);
    auto set = RecordSet::Open(folder, "select file_num from property", {437, nullptr, &backup});
    for (; !set->EndOfFile(); set->MoveNext()) {
      set->Edit();
      set->SetText("FILE_NUM", "A" + std::string(TrimBlanks(set->GetValue("FILE_NUM").text)));
      set->Update();
    }
    set->Flush();
  }
}

// Reading runs first, so that its peak resident memory is the reader's alone.
BENCHMARK(ReadEveryField)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(SeekByKey)->Arg(1000000)->Iterations(200000);
BENCHMARK(UpdateEveryRecord)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

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
