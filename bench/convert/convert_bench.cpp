// The party steps at office scale: a generated source office of 100,000 clients (one in ten
// sharing its name with another, so that the pass by number has work), 200,000 client fee rows
// and 200 appraisers with 2,000 fee rows, converted by whole runs into a new office.mdb: the
// client step (both passes), the client fees, and the appraisers with their fees. Each
// iteration starts from a fresh office.mdb. Counters: records_per_s (source records read by
// the steps), peak_RSS_MB. QORVANE_BENCH_CLIENTS sets another client count (fees: two each).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "convert/office.h"
#include "data/office_schema.h"
#include "foxpro/table_writer.h"
#include "jet/create/create.h"

namespace qorvane::convert {
std::string GeneratedRoot();
namespace {

int ClientCount() {
  const char* text = std::getenv("QORVANE_BENCH_CLIENTS");
  return text ? std::atoi(text) : 100000;
}

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

foxpro::Value Text(std::string text) { return {foxpro::Value::Kind::Text, std::move(text), 0, {}, false}; }
foxpro::Value Number(double number) { return {foxpro::Value::Kind::Number, "", number, {}, false}; }
foxpro::Value Logical(bool flag) { return {foxpro::Value::Kind::Logical, "", 0, {}, flag}; }

class QuietView : public app::View {
 public:
  void Show(const app::FormModel&) override {}
  app::UserRequest PollUserRequest() override { return app::UserRequest::None; }
  app::MessageResult MessageBox(const std::string&, app::MessageButtons buttons, const std::string&) override {
    return buttons == app::MessageButtons::YesNo ? app::MessageResult::Yes : app::MessageResult::Ok;
  }
  void Notify(const std::string&) override {}
  app::EscapeChoice PromptEscape() override { return app::EscapeChoice::Continue; }
  void OpenLog(const std::string&) override {}
};

struct SourceOffice {
  std::string root, source, target;
  int clients = 0;
};

void Write(const std::string& path, std::vector<foxpro::FieldSpec> fields,
           const std::function<void(foxpro::TableCreator&)>& rows) {
  foxpro::NewTableOptions options;
  options.code_page = 1252;
  foxpro::TableCreator creator(path, std::move(fields), options);
  rows(creator);
  creator.Finish();
}

const SourceOffice& GeneratedOffice() {
  static SourceOffice office = [] {
    SourceOffice made;
    std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-XXXXXX").string();
    made.root = ::mkdtemp(pattern.data());
    made.source = made.root + "/pyx";
    made.target = made.root + "/zul";
    std::filesystem::create_directories(made.source);
    std::filesystem::create_directories(made.target);
    made.clients = ClientCount();
    const int clients = made.clients;
    Write(made.source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}}, [](foxpro::TableCreator&) {});
    Write(made.source + "/CLIENT.DBF",
          {{"CLI_NUM", 'C', 10}, {"CLI_LNAME", 'C', 30}, {"PLAIN_NAME", 'C', 30}, {"CLI_BILL", 'C', 10},
           {"CLI_STREET", 'C', 30}, {"CLI_ADDR2", 'C', 30}, {"CLI_ADDR3", 'C', 30}, {"CLI_PHONE", 'C', 14},
           {"CLI_EXT", 'C', 5}, {"CLI_CONT", 'C', 30}, {"CLI_FAX", 'C', 14}, {"DUNS", 'C', 12}, {"PREF_BILL", 'L', 1}},
          [&](foxpro::TableCreator& creator) {
            for (int i = 0; i < clients; ++i) {
              // One client in ten has the name of the client before it.
              int name_of = i % 10 == 9 ? i - 1 : i;
              std::string name = "Lender " + std::to_string(name_of) + " Mortgage Co";
              creator.Append({Text("C" + std::to_string(i)), Text(name), Text(name + " Inc"),
                              Text(i % 7 == 0 ? "C" + std::to_string(i / 2) : ""),
                              Text(std::to_string(i % 9999) + " Main Street"), Text(i % 3 ? "" : "Suite 100"),
                              Text("Springfield IL 62701"), Text("555-" + std::to_string(1000 + i % 9000)), Text("12"),
                              Text("Contact " + std::to_string(i)), Text("555-0000"), Text(std::to_string(i)),
                              Logical(i % 2 == 0)});
            }
          });
    const char* forms[] = {"URAR", "CONDO", "LAND", "2055", "MULTI"};
    Write(made.source + "/CLIFEE.DBF", {{"CLI_NUM", 'C', 10}, {"ASS_TYPE", 'C', 10}, {"CLI_FEE", 'N', 8, 2}},
          [&](foxpro::TableCreator& creator) {
            for (int i = 0; i < 2 * clients; ++i) {
              creator.Append({Text("C" + std::to_string(i % clients)), Text(forms[(i / clients + i) % 5]),
                              Number(250 + i % 200)});
            }
          });
    Write(made.source + "/APPRAISR.DBF", {{"APP_NUM", 'C', 5}, {"APP_LNAME", 'C', 30}, {"APP_STREET", 'C', 30},
                                           {"APP_ADDR2", 'C', 30}, {"APP_ADDR3", 'C', 30}, {"APP_PHONE", 'C', 14},
                                           {"APP_EXT", 'C', 5}, {"APP_BEEP", 'C', 14}},
          [](foxpro::TableCreator& creator) {
            for (int i = 0; i < 200; ++i) {
              creator.Append({Text(std::to_string(i)), Text("Appraiser " + std::to_string(i)), Text("1 Oak St"),
                              Text(""), Text("Springfield"), Text("555-1000"), Text(""), Text("")});
            }
          });
    Write(made.source + "/APPRFEE.DBF",
          {{"APP_NUM", 'C', 5}, {"ASS_TYPE", 'C', 10}, {"APPR_FEE", 'N', 8, 2}, {"APPR_PERC", 'N', 6, 2},
           {"PAY_MODE", 'L', 1}},
          [&](foxpro::TableCreator& creator) {
            for (int i = 0; i < 2000; ++i) {
              creator.Append({Text(std::to_string(i % 200)), Text(forms[i / 200 % 5]), Number(200), Number(50),
                              Logical(i % 4 == 0)});
            }
          });
    return made;
  }();
  return office;
}

void ConvertParties(benchmark::State& state) {
  const SourceOffice& office = GeneratedOffice();
  QuietView view;
  app::SystemClock clock;
  std::int64_t records = 0;
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(office.target + "/office.mdb");
    for (const auto& entry : std::filesystem::directory_iterator(office.target)) std::filesystem::remove_all(entry);
    jet::create::CreateDatabase(office.target + "/office.mdb", data::OfficeSchema());
    Program program = WireProgram(view, clock, {.settings_dir = office.root + "/settings"});
    program.main_form->FormLoad({office.source, office.target});
    program.main_form->form().CheckBoxes.fill(0);
    for (app::CheckBox step : {app::CheckBox::ckbClient, app::CheckBox::ckbappraiser, app::CheckBox::ckbApprFee,
                               app::CheckBox::ckbclientfee}) {
      program.main_form->form().SetCheck(step, true);
    }
    state.ResumeTiming();
    program.main_form->cmdNEWConvert();
    state.PauseTiming();
    if (program.main_form->outcome() != app::RunOutcome::Completed) state.SkipWithError("the run did not complete");
    for (const auto& step : program.main_form->RunReport()) records += step.result.ledger.read();
    state.ResumeTiming();
  }
  state.counters["records_per_s"] = benchmark::Counter(static_cast<double>(records), benchmark::Counter::kIsRate);
  state.counters["clients"] = office.clients;
  state.counters["peak_RSS_MB"] = PeakMegabytes();
}

BENCHMARK(ConvertParties)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

std::string GeneratedRoot() { return GeneratedOffice().root; }

}  // namespace qorvane::convert

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove_all(qorvane::convert::GeneratedRoot(), ignored);
  return 0;
}
