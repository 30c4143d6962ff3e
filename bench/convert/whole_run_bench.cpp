// The whole conversion at office scale: sample offices of 10,000, 100,000 and 1,000,000 orders,
// every step with the Preliminary Corrections and the massage, into a new office.mdb. Beside
// each run, measured on the same machine in the same process, the floor: reading every source
// file once and writing and syncing a file the size of the office.mdb the run wrote. Counters:
// the run's seconds, the floor's, their ratio, orders per second and the peak memory so far;
// each step's rows per second go to standard output.
#include <benchmark/benchmark.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "app/steps.h"
#include "common/os.h"
#include "convert/office.h"
#include "data/office_schema.h"
#include "jet/create/create.h"
#include "sample/sample_office.h"
#include "test_support/quiet_view.h"
#include "test_support/temp_dir.h"

namespace {

using namespace qorvane;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// Reading every source file once, then writing and syncing TARGET_BYTES into a new file.
double Floor(const std::string& source, std::uint64_t target_bytes, const std::string& scratch) {
  auto start = Clock::now();
  for (const auto& entry : std::filesystem::directory_iterator(source)) {
    if (!entry.is_regular_file()) continue;  // the backup folder the corrections made
    auto bytes = os::ReadWholeFile(entry.path().string());
    benchmark::DoNotOptimize(bytes.data());
  }
  os::File out = os::File::Open(scratch, os::OpenMode::CreateTruncate);
  std::vector<std::byte> block(1 << 20, std::byte{0x5A});
  for (std::uint64_t written = 0; written < target_bytes; written += block.size()) {
    out.WriteAt(written, std::span<const std::byte>(block.data(), std::min<std::uint64_t>(block.size(), target_bytes - written)));
  }
  out.Sync();
  out.Close();
  return Seconds(start);
}

void BM_WholeRun(benchmark::State& state) {
  for (auto _ : state) {
    test::TempDir dir;
    std::string source = dir.path() + "/pyx", target = dir.path() + "/zul";
    std::filesystem::create_directories(target);
    sample::WriteSampleOffice(source, {.orders = static_cast<std::uint64_t>(state.range(0)), .seed = 1});
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());

    test::QuietView view;
    app::SystemClock clock;
    convert::Program program = convert::WireProgram(view, clock, {.settings_dir = dir.path() + "/settings"});
    app::MainForm& form = *program.main_form;
    form.FormLoad({source, target});
    form.form().CheckBoxes.fill(0);
    for (const app::StepInfo& step : app::ConversionSteps()) form.form().SetCheck(step.check_box, true);
    for (const app::MassageStepInfo& step : app::MassageSteps()) form.form().SetCheck(step.check_box, true);
    form.form().SetCheck(app::CheckBox::ckbMassage, true);
    form.form().SetCheck(app::CheckBox::ckbPrelim, true);

    auto start = Clock::now();
    form.cmdNEWConvert();
    double run = Seconds(start);
    state.SetIterationTime(run);

    double floor = Floor(source, std::filesystem::file_size(target + "/office.mdb"), dir.path() + "/floor.bin");
    state.counters["run_s"] = run;
    state.counters["floor_s"] = floor;
    state.counters["x_floor"] = run / floor;
    state.counters["orders_per_s"] = static_cast<double>(state.range(0)) / run;
    state.counters["peak_MB"] = PeakMegabytes();
    std::printf("\n%ld orders: %.2f s (floor %.2f s), office.mdb %.0f MB\n", static_cast<long>(state.range(0)), run,
                floor, static_cast<double>(std::filesystem::file_size(target + "/office.mdb")) / 1e6);
    for (const auto& report : form.RunReport()) {
      if (report.result.ledger.read() == 0) continue;
      std::printf("  %-26s %9lld read %8.2f s %10.0f rows/s\n", report.name.c_str(),
                  static_cast<long long>(report.result.ledger.read()), report.seconds,
                  report.seconds > 0 ? static_cast<double>(report.result.ledger.read()) / report.seconds : 0.0);
    }
  }
}
BENCHMARK(BM_WholeRun)->Arg(10000)->Arg(100000)->Arg(1000000)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
