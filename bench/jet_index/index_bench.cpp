// What an index rebuild at commit costs for a table shaped like Property: the AutoNumber primary
// key and two text indexes (FileNumber, Client) over N rows: key encoding, sorting, and writing
// the trees into memory pages.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "jet/format/index_pages.h"
#include "jet/index/key.h"
#include "jet/index/tree.h"

namespace qorvane::jet::index {
namespace {

struct Row {
  int64_t id;
  std::u16string file_number;
  std::u16string client;
};

std::vector<Row> MakeRows(size_t count) {
  std::mt19937 random(5);
  const char16_t* clients[] = {u"First National Bank", u"Wells Fargo Home Mortgage", u"Crédit Agricole",
                               u"O'Neil & Sons", u"Quicken Loans", u"Bank of America"};
  std::vector<Row> rows;
  rows.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    std::u16string number = u"F";
    for (uint32_t v = random() % 10000000, k = 0; k < 7; ++k, v /= 10) number += static_cast<char16_t>(u'0' + v % 10);
    rows.push_back({static_cast<int64_t>(i + 1), number, clients[random() % 6]});
  }
  return rows;
}

void BM_RebuildThreeIndexes(benchmark::State& state) {
  const size_t count = static_cast<size_t>(state.range(0));
  std::vector<Row> rows = MakeRows(count);
  std::vector<uint8_t> page(format::kPageSize);
  size_t pages_written = 0;
  uint32_t next_page = 1;
  PageSink sink{[&] { return next_page++; },
                [&](uint32_t, std::span<const uint8_t> bytes) {
                  std::copy(bytes.begin(), bytes.end(), page.begin());  // stands in for the write
                  ++pages_written;
                }};
  const KeyColumn id[] = {{KeyType::Long, SortOrder::Ascending}};
  const KeyColumn text[] = {{KeyType::Text, SortOrder::Ascending}};
  for (auto _ : state) {
    pages_written = 0;
    for (int index = 0; index < 3; ++index) {
      std::vector<Entry> entries;
      entries.reserve(count);
      for (size_t i = 0; i < count; ++i) {
        const Row& row = rows[i];
        KeyValue value = index == 0 ? KeyValue(row.id) : KeyValue(index == 1 ? row.file_number : row.client);
        auto key = MakeKey(index == 0 ? std::span(id) : std::span(text), std::span(&value, 1), NullKeys::Store);
        entries.push_back({std::move(*key), static_cast<uint32_t>(1 + i / 40), static_cast<uint8_t>(i % 40)});
      }
      SortEntries(entries);
      BuiltTree tree = BuildTree(entries, 1, sink);
      benchmark::DoNotOptimize(tree.root);
    }
  }
  state.counters["pages"] = static_cast<double>(pages_written);
  state.counters["rows/s"] = benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_RebuildThreeIndexes)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace qorvane::jet::index
