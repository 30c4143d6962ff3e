// Text as the indexes see it, end to end on a new office.mdb: unique indexes and equality
// look-ups compare index keys (so ß = ss, Æ = AE, Š = š, ² = 2), every character a supported
// source code page can produce gets indexed and committed, and a value no key can hold is refused
// at Insert, naming the table, the index, the column and the value, never at commit.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "common/error.h"
#include "common/os.h"
#include "common/utf8.h"
#include "foxpro/codepage.h"
#include "jet/create/create.h"
#include "jet/database.h"
#include "jet/index/key.h"
#include "jet/recordset.h"
#include "readers.h"
#include "work_files.h"
#include "test_support/temp_dir.h"

namespace qorvane::jet {
namespace {

using qorvane::test::TempDir;

using test::NewOffice;
using test::OpenForWriting;

RowId InsertText(Table& table, const std::string& column, const std::string& text) {
  std::vector<Value> row(table.columns().size());
  row[*table.FindColumn(column)] = Value::String(text);
  return table.Insert(row);
}

// The values of COLUMN as mdb-reader reads them, sorted.
std::vector<std::string> ReadBack(const std::string& path, const std::string& table, const std::string& column) {
  test::ReadTable read = test::ReadWithMdbReader(path, table);
  std::size_t at = std::find(read.columns.begin(), read.columns.end(), column) - read.columns.begin();
  std::vector<std::string> values;
  for (const auto& row : read.rows) values.push_back(row.at(at).value_or("NULL"));
  std::sort(values.begin(), values.end());
  return values;
}

// The independent checker re-encodes every index key it has weights for.
void ExpectCheckerPasses(const std::string& path) {
  std::string report;
  EXPECT_TRUE(test::Jetcheck(path, &report)) << report.substr(report.size() > 4000 ? report.size() - 4000 : 0);
}

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::Constraint) << error.what();
    return error.what();
  }
  ADD_FAILURE() << "accepted";
  return "";
}

struct UniqueColumn {
  const char* table;
  const char* column;
};
constexpr UniqueColumn kUniqueColumns[] = {{"FormTypes", "FormType"}, {"users", "user"}, {"Appraiser", "Appraiser"}};
// Pairs that differ as strings but hold the same General-order key.
const std::pair<const char*, const char*> kSameKey[] = {
    {"Straße", "STRASSE"}, {"ß", "ss"},       {"Æble", "AEBLE"}, {"Œuvre", "oeuvre"},
    {"Škoda", "škoda"},    {"x²", "X2"},      {"¹", "1"},        {"Þor", "thor"},
};

TEST(Keys, UniqueIndexesAndLookUpsCompareIndexKeys) {
  TempDir dir;
  std::string path = NewOffice(dir);
  auto database = OpenForWriting(path);
  for (const UniqueColumn& unique : kUniqueColumns) {
    Table& table = database->GetTable(unique.table);
    for (const auto& [first, second] : kSameKey) {
      InsertText(table, unique.column, first);
      std::string message = ErrorOf([&] { InsertText(table, unique.column, second); });
      EXPECT_NE(message.find(std::string("table ") + unique.table), std::string::npos) << message;
      EXPECT_NE(message.find(std::string("index ") + unique.column), std::string::npos) << message;
      EXPECT_NE(message.find(std::string("'") + second + "'"), std::string::npos) << message;
      EXPECT_NE(message.find(std::string("'") + first + "'"), std::string::npos) << message;
    }
    EXPECT_EQ(table.row_count(), std::size(kSameKey)) << unique.table;
    std::size_t column = *table.FindColumn(unique.column);
    EXPECT_EQ(table.FindEqual({column}, {Value::String("ŠKODA")}).size(), 1u) << unique.table;
    EXPECT_EQ(table.FindEqual({column}, {Value::String("strasse  ")}).size(), 1u) << unique.table;
    EXPECT_TRUE(table.FindEqual({column}, {Value::String("Strase")}).empty()) << unique.table;
    // Accents still count: an unaccented twin is another key, and the index takes it.
    EXPECT_NO_THROW(InsertText(table, unique.column, "Skoda")) << unique.table;
  }
  // The SQL look-ups and Find go through the same comparison.
  Recordset users(*database, "select * from users where user = 'ŠKODA'");
  EXPECT_EQ(users.RecordCount(), 1u);
  EXPECT_EQ(users.Get("user").bytes, "Škoda");
  Recordset all(*database, "select * from users");
  EXPECT_TRUE(all.Find("user='OEUVRE'"));
  EXPECT_EQ(all.Get("user").bytes, "Œuvre");
  database->Commit();
  database.reset();

  std::vector<std::string> expected;
  for (const auto& pair : kSameKey) expected.push_back(pair.first);
  expected.push_back("Skoda");
  std::sort(expected.begin(), expected.end());
  for (const UniqueColumn& unique : kUniqueColumns) {
    EXPECT_EQ(ReadBack(path, unique.table, unique.column), expected) << unique.table;
  }
  ExpectCheckerPasses(path);
}

// Every character of every code page a FoxPro table header can name (the DOS and Windows pages,
// and the East Asian double-byte ones), decoded by the FoxPro engine.
std::set<char32_t> CodePageCharacters() {
  std::set<int> pages;
  for (int mark = 1; mark < 256; ++mark) {
    if (int page = foxpro::CodePageFromMark(static_cast<std::uint8_t>(mark))) pages.insert(page);
  }
  std::set<char32_t> characters;
  auto collect = [&](const std::string& utf8) {
    for (char16_t unit : Utf8ToUtf16(utf8)) characters.insert(unit);
  };
  for (int number : pages) {
    std::unique_ptr<foxpro::CodePage> reader;
    try {
      reader = std::make_unique<foxpro::CodePage>(number);
    } catch (const Error&) {
      continue;  // a page this system's iconv lacks (Mazovia, Kamenicky): the engine cannot read it either
    }
    const foxpro::CodePage& page = *reader;
    for (int first = 0x20; first < 0x100; ++first) {
      std::string one(1, static_cast<char>(first));
      try {
        collect(page.Decode(one));
      } catch (const Error&) {
      }
      if (first < 0x81 || (number != 932 && number != 936 && number != 949 && number != 950)) continue;
      for (int second = 0x40; second < 0xFF; ++second) {
        try {
          collect(page.Decode(one + static_cast<char>(second)));
        } catch (const Error&) {
        }
      }
    }
  }
  characters.erase(0xFFFD);
  return characters;
}

// Look-ups compare two texts of printable ASCII without building their sort keys: that holds
// only while such text is the same to an index exactly when it is the same apart from the case
// of its letters and its trailing blanks (every printable character a weight of its own).
TEST(Keys, PrintableAsciiIsTheSameToAnIndexExactlyWhenTheSameApartFromCase) {
  auto key = [](const std::u16string& text) {
    std::vector<std::uint8_t> bytes;
    EXPECT_TRUE(index::AppendTextSortKey(bytes, text));
    return bytes;
  };
  auto upper = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; };
  for (char16_t a = 0x21; a <= 0x7E; ++a) {
    for (char16_t b = 0x21; b <= 0x7E; ++b) {
      // Between letters, as a mark of its own and at the end: ignorable marks count by place.
      for (const auto& [x, y] : {std::pair{u"A" + std::u16string(1, a) + u"B", u"A" + std::u16string(1, b) + u"B"},
                                 std::pair{std::u16string(1, a), std::u16string(1, b)},
                                 std::pair{u"AB" + std::u16string(1, a) + u"  ", u"AB" + std::u16string(1, b)}}) {
        EXPECT_EQ(key(x) == key(y), upper(a) == upper(b)) << static_cast<char>(a) << " " << static_cast<char>(b);
      }
    }
  }
  // And a look-up finds what the index finds, for a text with an accent too.
  TempDir dir;
  auto database = OpenForWriting(NewOffice(dir));
  Table& fees = database->GetTable("AppraiserFee");
  std::size_t column = *fees.FindColumn("FormAppraiser");
  for (const char* text : {"URAR-SMITH", "urar-smith  ", "URARSMITH", "URAR SMITH", "STRASSE", "Straße"}) {
    InsertText(fees, "FormAppraiser", text);
  }
  for (const char* probe : {"Urar-Smith", "URARSMITH ", "urar smith", "strasse", "STRAßE", "URAR--SMITH"}) {
    std::vector<RowId> all = fees.FindEqual({column}, {Value::String(probe)});
    EXPECT_EQ(fees.FindFirst(column, Value::String(probe)), all.empty() ? std::nullopt : std::optional(all.front()))
        << probe;
  }
}

TEST(Keys, EveryCharacterOfEverySupportedCodePageIsIndexed) {
  std::set<char32_t> characters = CodePageCharacters();
  ASSERT_GT(characters.size(), 20000u);  // the double-byte pages were read
  TempDir dir;
  std::string path = NewOffice(dir);
  std::vector<std::string> written;
  {
    auto database = OpenForWriting(path);
    Table& fees = database->GetTable("AppraiserFee");  // FormAppraiser: Text(60), indexed
    std::string value;
    std::size_t length = 0;
    for (auto it = characters.begin(); it != characters.end(); ++it) {
      if (*it == ' ') continue;  // trailing blanks would not read back
      AppendUtf8(value, *it);
      if (++length == 60 || std::next(it) == characters.end()) {
        InsertText(fees, "FormAppraiser", value);
        written.push_back(value);
        value.clear();
        length = 0;
      }
    }
    database->Commit();
  }
  std::sort(written.begin(), written.end());
  EXPECT_EQ(ReadBack(path, "AppraiserFee", "FormAppraiser"), written);
  ExpectCheckerPasses(path);
}

TEST(Keys, ValuesNoKeyCanHoldAreRefusedAtInsertAndCommitGoesOn) {
  TempDir dir;
  std::string path = dir.path() + "/office.mdb";
  // An indexed Text(255): 255 accented letters make a key of 513 bytes, over Jet's limit.
  const create::TableSchema schema[] = {
      {"Notes", {{"ID", create::SchemaType::AutoNumber}, {"Note", create::SchemaType::Text, 255}},
       {{"PrimaryKey", {"ID"}, create::IndexKind::PrimaryKey}, {"Note", {"Note"}, create::IndexKind::Normal}}}};
  create::CreateDatabase(path, schema);
  auto database = OpenForWriting(path);
  Table& notes = database->GetTable("Notes");
  std::string accented;
  for (int i = 0; i < 255; ++i) accented += "é";
  std::string message = ErrorOf([&] { InsertText(notes, "Note", accented); });
  EXPECT_NE(message.find("table Notes"), std::string::npos) << message;
  EXPECT_NE(message.find("index Note (Note)"), std::string::npos) << message;
  EXPECT_NE(message.find("513 bytes"), std::string::npos) << message;
  // A character outside the BMP has no known weight.
  message = ErrorOf([&] { InsertText(notes, "Note", "smile \xF0\x9F\x98\x80"); });
  EXPECT_NE(message.find("table Notes"), std::string::npos) << message;
  EXPECT_NE(message.find("'smile \xF0\x9F\x98\x80'"), std::string::npos) << message;
  EXPECT_NE(message.find("U+D83D"), std::string::npos) << message;
  // Nothing of the refused rows was written; an update to such a value is refused the same way.
  RowId row = InsertText(notes, "Note", accented.substr(0, 2 * 200));
  std::vector<Value> values = notes.ReadRow(row);
  values[1] = Value::String(accented);
  ErrorOf([&] { notes.Update(row, values); });
  EXPECT_EQ(notes.row_count(), 1u);
  EXPECT_NO_THROW(database->Commit());
  database.reset();
  EXPECT_EQ(ReadBack(path, "Notes", "Note"), std::vector<std::string>{accented.substr(0, 2 * 200)});
  ExpectCheckerPasses(path);
}

// A file another writer filled with keys we would not build (here a 685-byte key in
// testUnicodeCompV2003.mdb): changes to that table still commit, the row's stored key carried.
TEST(Keys, StoredKeysWeWouldNotBuildAreKeptAtCommit) {
  TempDir dir;
  std::string path = test::CopyFixture(dir, "testUnicodeCompV2003.mdb");
  {
    auto database = OpenForWriting(path);
    Table& table = database->GetTable("Table");
    RowId long_row = 0;
    std::size_t column = *table.FindColumn("Unicode");
    for (RowId row : table.RowIds()) {
      if (Utf8ToUtf16(table.ReadValue(row, column).bytes).size() > 200) long_row = row;
    }
    ASSERT_NE(long_row, 0u);
    InsertText(table, "Unicode", "Łódź");
    std::vector<Value> values = table.ReadRow(long_row);
    values[*table.FindColumn("ID")] = Value::Int(99);  // the indexed text stays as it was
    EXPECT_NO_THROW(table.Update(long_row, values));
    EXPECT_NO_THROW(database->Commit());
  }
  EXPECT_EQ(ReadBack(path, "Table", "Unicode").size(), 9u);
}

}  // namespace
}  // namespace qorvane::jet
