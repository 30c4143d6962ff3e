// The data rules at office scale, each in a whole run as the command line makes it: the
// preliminary corrections over a property table of 100,000 and 1,000,000 records (one in
// twenty with an illegal file number), and the deletion of rows without a key over an
// office.mdb with as many Property rows (one in a hundred blank). Both must grow linearly.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "convert/office.h"
#include "data/office_schema.h"
#include "foxpro/table_writer.h"
#include "jet/create/create.h"
#include "jet/database.h"
#include "jet/recordset.h"
#include "test_support/quiet_view.h"
#include "test_support/temp_dir.h"

namespace {

using namespace qorvane;

using test::QuietView;

foxpro::Value Text(const std::string& text) {
  foxpro::Value value;
  value.kind = foxpro::Value::Kind::Text;
  value.text = text;
  return value;
}

struct Office {
  test::TempDir dir;
  std::string source = dir.path() + "/pyx";
  std::string target = dir.path() + "/zul";
  Office() {
    std::filesystem::create_directories(source);
    std::filesystem::create_directories(target);
    jet::create::CreateDatabase(target + "/office.mdb", data::OfficeSchema());
  }
  void WriteProperty(std::int64_t records) {
    foxpro::NewTableOptions options;
    options.tags = {{"FILE_NUM", "FILE_NUM", "", false}};
    foxpro::TableCreator creator(source + "/PROPERTY.DBF", {{"FILE_NUM", 'C', 10}, {"INV_NUM", 'C', 10}, {"CLI_NUM", 'C', 10}},
                                 options);
    for (std::int64_t i = 0; i < records; ++i) {
      std::string number = std::to_string(100000 + i);
      if (i % 20 == 0) number[2] = '#';
      creator.Append({Text(number), Text("I" + std::to_string(i)), Text("C" + std::to_string(i % 5000))});
    }
    creator.Finish();
  }
  // Runs the program with the boxes SET ticked.
  void Run(std::initializer_list<app::CheckBox> set) {
    QuietView view;
    app::SystemClock clock;
    convert::Program program = convert::WireProgram(view, clock, {.settings_dir = dir.path() + "/settings"});
    program.main_form->FormLoad({source, target});
    program.main_form->form().CheckBoxes.fill(0);
    for (app::CheckBox box : set) program.main_form->form().SetCheck(box, true);
    program.main_form->cmdNEWConvert();
  }
};

void BM_PreliminaryCorrections(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Office office;
    office.WriteProperty(state.range(0));
    state.ResumeTiming();
    office.Run({app::CheckBox::ckbPrelim});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PreliminaryCorrections)->Arg(100000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

void BM_DeleteEmptyFilenumbers(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Office office;
    office.WriteProperty(1);
    {
      auto database = jet::Database::Open(office.target + "/office.mdb", {.open_for = jet::OpenFor::Writing});
      jet::Recordset rows(*database, "Select * from Property");
      for (std::int64_t i = 0; i < state.range(0); ++i) {
        rows.AddNew();
        rows.Set("FileNumber", jet::Value::String(i % 100 == 0 ? std::string(10, ' ') : std::to_string(1000000 + i)));
        rows.Update();
      }
      database->Commit();
    }
    state.ResumeTiming();
    office.Run({app::CheckBox::ckbMassage});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_DeleteEmptyFilenumbers)->Arg(100000)->Arg(1000000)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
