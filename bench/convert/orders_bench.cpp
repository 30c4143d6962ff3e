// Speed of the order converters: a generated source office of 100,000 orders (QORVANE_BENCH_ORDERS
// to change it), each with one invoice, one client expense, one appraiser expense and one
// applied payment, converted into a new office.mdb one step at a time, in the run's order,
// then massaged. Each benchmark is one whole run of the program limited to its step, so it
// includes opening the tables and committing office.mdb; it reports source records per second
// and the process's peak resident memory so far (which must not grow with the office beyond
// the target's own pages).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <filesystem>
#include <string>

#include "app/fake_view.h"
#include "convert/office.h"
#include "data/office_schema.h"
#include "foxpro/table_writer.h"
#include "jet/create/create.h"

namespace {

using namespace qorvane;
using foxpro::Value;

Value Text(std::string text) { return Value{Value::Kind::Text, std::move(text), 0, {}, false}; }
Value Number(double number) { return Value{Value::Kind::Number, "", number, {}, false}; }
Value Day(int year, int month, int day) {
  Value value;
  value.kind = Value::Kind::Date;
  value.date = {year, month, day};
  return value;
}

int Orders() {
  const char* text = std::getenv("QORVANE_BENCH_ORDERS");
  return text ? std::atoi(text) : 100000;
}

struct Office {
  std::string root, source, target;
  int orders = 0;
};

void Table(const std::string& path, std::vector<foxpro::FieldSpec> fields, int rows,
           const std::function<std::vector<Value>(int)>& row) {
  foxpro::NewTableOptions options;
  options.code_page = 1252;
  foxpro::TableCreator creator(path, std::move(fields), options);
  for (int i = 0; i < rows; ++i) creator.Append(row(i));
  creator.Finish();
}

Office& Generated(bool generate = true) {
  static Office office;
  if (!office.root.empty() || !generate) return office;
  std::string pattern = (std::filesystem::temp_directory_path() / "qorvane-bench-orders-XXXXXX").string();
  office.root = ::mkdtemp(pattern.data());
  office.source = office.root + "/pyx";
  office.target = office.root + "/zul";
  office.orders = Orders();
  std::filesystem::create_directories(office.source);
  std::filesystem::create_directories(office.target);
  const std::string& s = office.source;
  int n = office.orders;
  auto number = [](int i) { return std::to_string(100000 + i); };
  Table(s + "/PROPERTY.DBF",
        {{"FILE_NUM", 'C', 10}, {"CLI_NUM", 'C', 10}, {"PR_STREET", 'C', 40}, {"PR_CITY", 'C', 30},
         {"PR_STATE", 'C', 2}, {"PR_ZIP", 'C', 10}, {"PR_OWNER", 'C', 40}, {"PR_BORROWR", 'C', 40},
         {"PR_APPRVAL", 'N', 12, 2}, {"PR_LOANREQ", 'N', 12, 2}, {"ASS_TYPE", 'C', 10}, {"PR_LOT", 'C', 10},
         {"PR_BLOCK", 'C', 10}, {"PR_DRECEIV", 'D'}, {"PR_DASSIGN", 'D'}, {"PR_DFINISH", 'D'}, {"PR_COMM", 'M'}},
        n, [&](int i) {
          return std::vector<Value>{Text(number(i)), Text("C" + std::to_string(i % 500)),
                                    Text(std::to_string(i % 9999) + " Main Street"), Text("Springfield"),
                                    Text("GA"), Text("31201"), Text("Owner " + std::to_string(i)),
                                    Text("Borrower " + std::to_string(i)), Number(100000 + i), Number(80000 + i),
                                    Text(i % 7 ? "URAR" : "2055"), Text(std::to_string(i % 40)),
                                    Text(std::to_string(i % 12)), Day(2005 + i % 15, 1 + i % 12, 1 + i % 28),
                                    Day(2005 + i % 15, 1 + i % 12, 1 + i % 28), i % 3 ? Day(2006 + i % 15, 2, 3) : Value(),
                                    i % 4 ? Value() : Text("Called the owner; inspection on Tuesday.")};
        });
  Table(s + "/INVOICE.DBF",
        {{"INV_NUM", 'C', 10}, {"INV_DATE", 'D'}, {"INV_DETL1", 'C', 40}, {"INV_DETL2", 'C', 40}, {"INV_CHK1", 'C', 20},
         {"INV_DATE1", 'D'}, {"INV_AMT1", 'N', 10, 2}, {"INV_FEE", 'N', 10, 2}, {"INV_EXP", 'N', 10, 2}},
        n, [&](int i) {
          return std::vector<Value>{Text(number(i)), Day(2006, 1 + i % 12, 1 + i % 28), Text("Appraisal"),
                                    Text("Form 1004"), Text("CK " + std::to_string(i)), Day(2006, 2, 1),
                                    Number(300), Number(300), Number(i % 2 ? 25 : 0)};
        });
  Table(s + "/CLIEXP.DBF", {{"INV_NUM", 'C', 10}, {"EXP_TYPE", 'C', 4}, {"EXP_DESC", 'C', 40}, {"EXP_AMT", 'N', 10, 2}},
        n, [&](int i) {
          return std::vector<Value>{Text(number(i)), Text("EXP1"), Text("Mileage"), Number(i % 2 ? 25 : 0)};
        });
  Table(s + "/APPREXP.DBF", {{"FILE_NUM", 'C', 10}, {"APP_NUM", 'C', 6}, {"EXP_NUM", 'C', 4}, {"EXP_AMT", 'N', 10, 2}},
        n, [&](int i) {
          return std::vector<Value>{Text(number(i)), Text("A" + std::to_string(i % 50)), Text("1"), Number(12.5)};
        });
  Table(s + "/APPLIED.DBF",
        {{"FILE_NUM", 'C', 10}, {"APP_NUM", 'C', 6}, {"SPLIT_BOOL", 'L'}, {"SPLIT_VAL", 'N', 10, 2},
         {"PD_APPR", 'N', 10, 2}, {"PAY_FEE", 'N', 10, 2}},
        n, [&](int i) {
          return std::vector<Value>{Text(number(i)), Text("A" + std::to_string(i % 50)), Value(), Value(), Value(),
                                    Number(150)};
        });
  Table(s + "/APPRAISR.DBF", {{"APP_NUM", 'C', 6}, {"APP_LNAME", 'C', 30}}, 50, [&](int i) {
    return std::vector<Value>{Text("A" + std::to_string(i)), Text("Appraiser" + std::to_string(i))};
  });
  Table(s + "/FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}}, 0, nullptr);
  Table(s + "/ASSIGN.DBF", {{"FILE_NUM", 'C', 10}}, 0, nullptr);
  jet::create::CreateDatabase(office.target + "/office.mdb", data::OfficeSchema());
  return office;
}

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// One run of the program over the generated office with the step STEP (or the massage MASSAGE).
void RunStep(benchmark::State& state, std::optional<app::Step> step, std::optional<app::MassageStep> massage) {
  const Office& office = Generated();
  for (auto _ : state) {
    test::FakeView view;
    test::FakeClock clock{1794733507};
    convert::Program program = convert::WireProgram(view, clock, {.settings_dir = office.root + "/settings"});
    program.main_form->FormLoad({office.source, office.target});
    app::FormModel& form = program.main_form->form();
    form.CheckBoxes.fill(0);
    if (step) form.SetCheck(app::InfoOf(*step).check_box, true);
    if (massage) {
      form.SetCheck(app::CheckBox::ckbMassage, true);
      form.SetCheck(app::InfoOf(*massage).check_box, true);
    }
    auto start = std::chrono::steady_clock::now();
    program.main_form->cmdNEWConvert();
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(seconds);
    if (program.main_form->outcome() != app::RunOutcome::Completed) state.SkipWithError("the run did not complete");
  }
  state.counters["records_per_s"] = benchmark::Counter(office.orders, benchmark::Counter::kIsRate);
  state.counters["peak_MB"] = PeakMegabytes();
}

#define ORDER_STEP(name, step, massage)                                                                \
  void name(benchmark::State& state) { RunStep(state, step, massage); }                                \
  BENCHMARK(name)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond)

ORDER_STEP(BM_FormTypes, app::Step::FormTypes, std::nullopt);
ORDER_STEP(BM_Property, app::Step::Property, std::nullopt);
ORDER_STEP(BM_Invoice, app::Step::Invoice, std::nullopt);
ORDER_STEP(BM_ApprExp, app::Step::ApprExp, std::nullopt);
ORDER_STEP(BM_Applied, app::Step::Applied, std::nullopt);
ORDER_STEP(BM_MassageProperty, std::nullopt, app::MassageStep::Property);
ORDER_STEP(BM_MassageAssigned, std::nullopt, app::MassageStep::Assigned);
ORDER_STEP(BM_MassageInvoice, std::nullopt, app::MassageStep::Invoice);
ORDER_STEP(BM_PropertyAgain, app::Step::Property, std::nullopt);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (!Generated(false).root.empty()) std::filesystem::remove_all(Generated(false).root);
  return 0;
}
