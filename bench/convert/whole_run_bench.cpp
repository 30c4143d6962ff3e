// The whole conversion at office scale: sample offices of 10,000, 100,000 and 1,000,000 orders,
// every step with the Preliminary Corrections and the massage, into a new office.mdb. Beside
// each run, measured on the same machine in the same process, the floor: reading every source
// file once and writing and syncing a file the size of the office.mdb the run wrote. Counters:
// the run's seconds (wall and CPU), the floor's, their ratio, orders per second, the run's peak memory (resident
// set of the process that converted) and office.mdb's size; each step's rows per second go to
// standard output.
#include <benchmark/benchmark.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

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

// Converts SOURCE into TARGET/office.mdb with every step, the corrections and the massage;
// prints each step's rate and returns the run's seconds.
double ConvertWhole(const std::string& source, const std::string& target, const std::string& settings) {
  test::QuietView view;
  app::SystemClock clock;
  convert::Program program = convert::WireProgram(view, clock, {.settings_dir = settings});
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
  for (const auto& report : form.RunReport()) {
    if (report.result.ledger.read() == 0) continue;
    std::printf("  %-26s %9lld read %8.2f s %10.0f rows/s\n", report.name.c_str(),
                static_cast<long long>(report.result.ledger.read()), report.seconds,
                report.seconds > 0 ? static_cast<double>(report.result.ledger.read()) / report.seconds : 0.0);
  }
  return run;
}

struct ChildRun {
  double seconds = 0;
  double cpu_seconds = 0;  // user and system time of the process that converted
  double peak_megabytes = 0;
};

// The conversion in a child process, so that the peak memory measured is the run's own, not the
// sample writer's or an earlier, larger run's.
ChildRun ConvertInChild(const std::string& source, const std::string& target, const std::string& settings) {
  std::fflush(stdout);
  int channel[2];
  if (::pipe(channel) != 0) throw std::runtime_error("pipe failed");
  pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    ::close(channel[0]);
    double seconds = -1;
    try {
      seconds = ConvertWhole(source, target, settings);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "conversion failed: %s\n", error.what());
    }
    std::fflush(stdout);
    bool sent = ::write(channel[1], &seconds, sizeof seconds) == static_cast<ssize_t>(sizeof seconds);
    ::_exit(sent && seconds >= 0 ? 0 : 1);
  }
  ::close(channel[1]);
  ChildRun result;
  bool received = ::read(channel[0], &result.seconds, sizeof result.seconds) == static_cast<ssize_t>(sizeof result.seconds);
  ::close(channel[0]);
  int status = 0;
  rusage usage{};
  ::wait4(child, &status, 0, &usage);
  if (!received || !WIFEXITED(status) || WEXITSTATUS(status) != 0) throw std::runtime_error("the conversion failed");
  result.peak_megabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;
  result.cpu_seconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                       static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  return result;
}

void BM_WholeRun(benchmark::State& state) {
  for (auto _ : state) {
    test::TempDir dir;
    std::string source = dir.path() + "/pyx", target = dir.path() + "/zul";
    std::filesystem::create_directories(target);
    sample::WriteSampleOffice(source, {.orders = static_cast<std::uint64_t>(state.range(0)), .seed = 1});
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());

    std::printf("\n%ld orders:\n", static_cast<long>(state.range(0)));
    ChildRun run = ConvertInChild(source, target, dir.path() + "/settings");
    state.SetIterationTime(run.seconds);

    double mdb_megabytes = static_cast<double>(std::filesystem::file_size(target + "/office.mdb")) / 1e6;
    double floor = Floor(source, std::filesystem::file_size(target + "/office.mdb"), dir.path() + "/floor.bin");
    state.counters["run_s"] = run.seconds;
    state.counters["cpu_s"] = run.cpu_seconds;
    state.counters["floor_s"] = floor;
    state.counters["x_floor"] = run.seconds / floor;
    state.counters["orders_per_s"] = static_cast<double>(state.range(0)) / run.seconds;
    state.counters["peak_MB"] = run.peak_megabytes;
    state.counters["mdb_MB"] = mdb_megabytes;
    std::printf("%ld orders: %.2f s wall, %.2f s CPU (floor %.2f s), peak memory %.0f MB, office.mdb %.0f MB\n",
                static_cast<long>(state.range(0)), run.seconds, run.cpu_seconds, floor, run.peak_megabytes,
                mdb_megabytes);
  }
}
BENCHMARK(BM_WholeRun)->Arg(10000)->Arg(100000)->Arg(1000000)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
