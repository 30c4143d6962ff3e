// Malformed input, one case per row: what is damaged (a source table or office.mdb) and the
// message the run gives for it. No row may crash the program or leave office.mdb
// other than as it was or whole.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

struct Office {
  std::string root, source, target;
  std::string office() const { return target + "/office.mdb"; }
};

// Overwrites bytes of the file at PATH from OFFSET.
void PatchAt(const std::string& path, std::size_t offset, const std::string& bytes) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(offset));
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

struct BadInput {
  const char* name;
  std::function<void(const Office&)> damage;
  std::vector<std::string> message;    // parts of its output, each expected
};

void PrintTo(const BadInput& input, std::ostream* out) { *out << input.name; }

const BadInput kBadInputs[] = {
    {"NotATableNamedDbf", [](const Office& o) { WriteText(o.source + "/CLIENT.DBF", "this is a letter, not a table\n"); },
     {"Error # 3343 in module Connect2DBF: CLIENT.DBF: the file is 30 bytes long, shorter than the 32-byte table header; "
      "it is not a table or it is truncated"}},
    {"NotADatabaseNamedMdb", [](const Office& o) { WriteText(o.office(), std::string(8192, 'x')); },
     {"Error # 3343 in module AdoConnect: ", "/zul/office.mdb: not an Access database (no Jet header on page 0)"}},
    {"Jet3Target",
     [](const Office& o) {
       std::filesystem::copy_file(test::FixturePath("mdb/testV1997.mdb"), o.office(), std::filesystem::copy_options::overwrite_existing);
     },
     {"Error # 3343 in module AdoConnect: ", "/zul/office.mdb: an Access 97 (Jet 3) database; only Access 2000-2003 (Jet 4) .mdb files are supported"}},
    {"AccdbTarget", [](const Office& o) { PatchAt(o.office(), 4, "Standard ACE DB"); PatchAt(o.office(), 0x14, "\x02"); },
     {"Error # 3343 in module AdoConnect: ", "/zul/office.mdb: an Access 2007 or later database (.accdb, ACE version byte 2); only Access 2000-2003 (Jet 4) .mdb files are supported"}},
};

class BadInputs : public ::testing::TestWithParam<BadInput> {};

TEST_P(BadInputs, GiveTheirMessageAndNoCrash) {
  test::TempDir dir;
  auto [source, target] = MakeSmallOffice(dir.path());
  Office office{dir.path(), source, target};
  GetParam().damage(office);
  std::string before = FileBytes(office.office());
  CliRun run = Qorvane(ConvertArgs(office.root, office.source, office.target));
  for (const std::string& part : GetParam().message) EXPECT_NE(run.out.find(part), std::string::npos) << part << "\n---\n" << run.out;
  if (FileBytes(office.office()) != before) {
    EXPECT_EQ(ExportAll(office.office()).find("rror"), std::string::npos);
  }
}

INSTANTIATE_TEST_SUITE_P(Rows, BadInputs, ::testing::ValuesIn(kBadInputs),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qorvane::reliability
