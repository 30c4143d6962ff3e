// Malformed input, one case per row: what is damaged (a source table or office.mdb), the message
// the run gives for it, and what the rest of the run still does. No row may crash the program,
// lose a record that is there to read, or leave office.mdb other than as it was or whole.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "foxpro/table.h"
#include "reliability_office.h"
#include "test_support/office_folders.h"

namespace qorvane::reliability {
namespace {

constexpr int kOrders = kSmallOfficeOrders;

struct Office {
  std::string root, source, target;
  std::string office() const { return target + "/office.mdb"; }
  std::string table(const std::string& name) const { return source + "/" + name; }
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
void CutAt(const std::string& path, std::uintmax_t size) { std::filesystem::resize_file(path, size); }

// Where things are in a table, as the FoxPro engine reads its header.
struct TableShape {
  std::uint16_t header_length = 0, record_length = 0;
  std::unique_ptr<foxpro::Table> table;
  std::size_t RecordOffset(std::uint32_t record) const { return header_length + std::size_t(record - 1) * record_length; }
  std::size_t FieldOffset(std::uint32_t record, const std::string& field) const {
    return RecordOffset(record) + table->fields()[*table->FindField(field)].offset;
  }
};
TableShape ShapeOf(const std::string& path) {
  TableShape shape;
  shape.table = foxpro::Table::Open(path, {});
  shape.header_length = shape.table->header().header_length;
  shape.record_length = shape.table->header().record_length;
  return shape;
}
// Overwrites one field of one record (from 1) with BYTES, which fill the field's width.
void PatchField(const std::string& path, std::uint32_t record, const std::string& field, const std::string& bytes) {
  std::size_t offset = ShapeOf(path).FieldOffset(record, field);
  PatchAt(path, offset, bytes);
}

std::size_t Rows(const Office& office, const std::string& table) { return test::MdbExport(office.office(), table).size(); }

struct BadInput {
  const char* name;
  std::function<void(const Office&)> damage;
  std::vector<std::string> message;  // parts of the run's output, each expected
  // What the rest of the run did, checked on office.mdb; nullptr: office.mdb stays as it was.
  std::function<void(const Office&)> goes_on;
};

void PrintTo(const BadInput& input, std::ostream* out) { *out << input.name; }

// The run went on past the damaged table: every order, invoice and payment arrived.
void EveryOrderArrived(const Office& office) {
  EXPECT_EQ(Rows(office, "Property"), std::size_t(kOrders));
  EXPECT_EQ(Rows(office, "Invoice"), std::size_t(kOrders));
  EXPECT_EQ(Rows(office, "Client"), std::size_t(kSmallOfficeClients));
}

const BadInput kBadInputs[] = {
    // ---- truncated tables and wrong record counts --------------------------------------------
    {"TableCutMidRecord",
     [](const Office& o) { CutAt(o.table("INVOICE.DBF"), ShapeOf(o.table("INVOICE.DBF")).RecordOffset(6) + 100); },
     {"INVOICE.DBF: the header counts 24 records but the file (", " holds only 5; the table is truncated and the "
      "records that are there are read"},
     [](const Office& o) {
       EXPECT_EQ(Rows(o, "Invoice"), std::size_t(5));
       EXPECT_EQ(Rows(o, "Property"), std::size_t(kOrders));
     }},
    {"TableCutInsideItsHeader", [](const Office& o) { CutAt(o.table("INVOICE.DBF"), 40); },
     {"Error # 3343 in module Connect2DBF: INVOICE.DBF: the header claims to be ",
      " bytes long but the file has 40 bytes; the table is truncated or not a table"},
     [](const Office& o) {
       EXPECT_EQ(Rows(o, "Invoice"), std::size_t(0));
       EXPECT_EQ(Rows(o, "Property"), std::size_t(kOrders));
     }},
    {"HeaderCountsMoreRecordsThanTheFileHolds", [](const Office& o) { PatchAt(o.table("INVOICE.DBF"), 4, std::string("\x1e\0\0\0", 4)); },
     {"INVOICE.DBF: the header counts 30 records but the file (", " holds only 24; the table is truncated"},
     EveryOrderArrived},
    {"HeaderCountsFewerRecordsThanTheFileHolds", [](const Office& o) { PatchAt(o.table("INVOICE.DBF"), 4, std::string("\x14\0\0\0", 4)); },
     {"INVOICE.DBF: the header counts 20 records but the file holds 24; the file size is trusted and all 24 are read"},
     EveryOrderArrived},
    // ---- memos -------------------------------------------------------------------------------
    {"MemoPointerPastTheMemoFile", [](const Office& o) { PatchField(o.table("PROPERTY.DBF"), 2, "PR_COMM", "    999999"); },
     {"PROPERTY.fpt: record 2, field PR_COMM: memo block 999999 (byte offset ",
      ") lies past the end of the memo file ("},
     [](const Office& o) {
       EveryOrderArrived(o);
       // The other orders keep their comments.
       std::size_t with_comments = 0;
       for (const auto& row : test::MdbExport(o.office(), "Property")) with_comments += row.at("GeneralNotes").find("long enough") != std::string::npos;
       EXPECT_EQ(with_comments, std::size_t(kOrders - 1));
     }},
    {"MemoFileMissing", [](const Office& o) { ASSERT_TRUE(std::filesystem::remove(o.table("PROPERTY.fpt"))); },
     {"PROPERTY.DBF: the memo file PROPERTY.fpt is missing; memo fields read as empty"}, EveryOrderArrived},
    // ---- values --------------------------------------------------------------------------------
    {"IllegalDate", [](const Office& o) { PatchField(o.table("INVOICE.DBF"), 3, "INV_DATE", "20261341"); },
     {"INVOICE.DBF: record 3, field INV_DATE: '20261341' is not a date; it is read as blank"},
     [](const Office& o) {
       EveryOrderArrived(o);
       // The invoice arrives with the date that stands for a missing one.
       std::size_t missing_dates = 0;
       for (const auto& row : test::MdbExport(o.office(), "Invoice", "-T %Y-%m-%d")) missing_dates += row.at("InvoiceDate") == "1900-01-01";
       EXPECT_EQ(missing_dates, std::size_t(1));
     }},
    {"IllegalNumber", [](const Office& o) { PatchField(o.table("INVOICE.DBF"), 3, "INV_FEE", "       abc"); },
     {"INVOICE.DBF: record 3, field INV_FEE: '       abc' is not a number; it is read as blank"}, EveryOrderArrived},
    // ---- code pages ----------------------------------------------------------------------------
    {"UnknownCodePageMark", [](const Office& o) { PatchAt(o.table("CLIENT.DBF"), 29, "\xEE"); },
     {"CLIENT.DBF: unknown code page mark 0xEE; text is read as code page 437"}, EveryOrderArrived},
    {"TextInvalidInItsCodePage",
     [](const Office& o) {
       PatchAt(o.table("CLIENT.DBF"), 29, "\x7B");  // Japanese, code page 932
       PatchField(o.table("CLIENT.DBF"), 2, "CLI_LNAME", std::string("CLIENT \x81\x7F"));
     },
     {"CLIENT.DBF: record 2, field CLI_LNAME: 'CLIENT \\x81\\x7F' is not valid text in code page 932; its bytes "
      "are kept as the characters of the same numbers"},
     [](const Office& o) {
       EveryOrderArrived(o);
       bool kept = false;
       for (const auto& row : test::MdbExport(o.office(), "Client")) kept |= row.at("Client") == "CLIENT \u0081\u007F";
       EXPECT_TRUE(kept) << "the client's name was lost";
     }},
    // ---- files that are not what their names say -------------------------------------------------
    {"NotATableNamedDbf", [](const Office& o) { WriteText(o.table("CLIENT.DBF"), "this is a letter, not a table\n"); },
     {"Error # 3343 in module Connect2DBF: CLIENT.DBF: the file is 30 bytes long, shorter than the 32-byte table header; "
      "it is not a table or it is truncated"},
     [](const Office& o) {
       // No client came from the letter; the orders arrived (under the unknown client).
       for (const auto& row : test::MdbExport(o.office(), "Client")) EXPECT_NE(row.at("Client").find("CLIENT "), 0u);
       EXPECT_EQ(Rows(o, "Property"), std::size_t(kOrders));
     }},
    {"EmptyFormsTable", [](const Office& o) { WriteText(o.table("FORMS.DBF"), ""); },
     // Counted as missing in the log, as the old program counted it, and said as what it is.
     {"FORMS.DBF is there but empty (0 bytes): it holds no table, so Form types converted nothing from it"},
     EveryOrderArrived},
    {"NotADatabaseNamedMdb", [](const Office& o) { WriteText(o.office(), std::string(8192, 'x')); },
     {"Error # 3343 in module AdoConnect: ", "/zul/office.mdb: not an Access database (no Jet header on page 0)"}, nullptr},
    // (An Access 97 file, an .accdb, a password or an encrypted file are refused by the engine
    // with their own words, in tests/jet/reading_test.cpp; the run shows them as it shows this.)
    // ---- a target of another shape ------------------------------------------------------------------
    {"TargetTablesLackColumnsTheConvertersWrite",
     [](const Office& o) {
       auto schema = data::OfficeSchema();
       for (auto& table : schema) {
         std::erase_if(table.columns, [&](const auto& column) {
           return (table.name == "Invoice" && column.name == "ReportFee") || (table.name == "Property" && column.name == "GeneralNotes");
         });
         for (auto& index : table.indexes) {
           std::erase_if(index.columns, [](const std::string& column) { return column == "ReportFee" || column == "GeneralNotes"; });
         }
       }
       std::filesystem::remove(o.office());
       jet::create::CreateDatabase(o.office(), schema);
     },
     // Said once per table and column, when the step starts, not once per row.
     {"Error # 5 in module CheckColumns: ", "/zul/office.mdb: table Invoice has no column ReportFee; the rows are written "
      "without it",
      "/zul/office.mdb: table Property has no column GeneralNotes; the rows are written without it"},
     EveryOrderArrived},
};

class BadInputs : public ::testing::TestWithParam<BadInput> {};

TEST_P(BadInputs, GiveTheirMessageGoOnAndLoseNothing) {
  test::TempDir dir;
  auto [source, target] = MakeSmallOffice(dir.path());
  Office office{dir.path(), source, target};
  GetParam().damage(office);
  std::string before = FileBytes(office.office());
  CliRun run = Qorvane(ConvertArgs(office.root, office.source, office.target));
  // No crash: an exit status of its own (0 done, 3 done with file errors).
  EXPECT_TRUE(run.status == 0 || run.status == 3) << run.status << "\n" << run.out;
  for (const std::string& part : GetParam().message) EXPECT_NE(run.out.find(part), std::string::npos) << part << "\n---\n" << run.out;
  if (!GetParam().goes_on) {
    EXPECT_EQ(FileBytes(office.office()), before) << "a target that cannot be read was changed";
    return;
  }
  EXPECT_EQ(ExportAll(office.office()).find("rror"), std::string::npos);
  GetParam().goes_on(office);
}

INSTANTIATE_TEST_SUITE_P(Rows, BadInputs, ::testing::ValuesIn(kBadInputs),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qorvane::reliability
