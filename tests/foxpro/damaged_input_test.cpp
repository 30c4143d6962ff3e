// Bad input: each kind of damage gives a clear message naming the file (and record and field)
// and no crash; what can be read is read.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/format.h"
#include "foxpro/table.h"
#include "sample_tables.h"
#include "test_support/temp_dir.h"
#include "test_util.h"

namespace qorvane::foxpro {
namespace {

using qorvane::test::TempDir;

class DamagedInputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::WritePropertyTable(folder_.path());
    table_ = os::ReadWholeFile(folder_.path() + "/Property.DBF");
    memo_ = os::ReadWholeFile(folder_.path() + "/Property.fpt");
  }
  // Reads every value of a damaged copy; returns the reported messages, one per line.
  std::string ReadAll(std::vector<std::byte> table, std::optional<std::vector<std::byte>> memo) {
    reporter_ = CollectingReporter();
    auto opened = Table::FromBytes("property.dbf", std::move(table), std::move(memo), {437, &reporter_});
    records_ = opened->record_count();
    for (std::uint32_t r = 0; r < opened->record_count(); ++r) {
      for (std::size_t f = 0; f < opened->fields().size(); ++f) opened->ReadValue(r, f);
    }
    std::string all;
    for (const auto& message : reporter_.messages) all += message + "\n";
    return all;
  }
  std::size_t RecordOffset(std::size_t record) { return 32 + 32 * 8 + 1 + record * record_length(); }
  std::size_t record_length() { return std::to_integer<std::size_t>(table_[10]) | std::to_integer<std::size_t>(table_[11]) << 8; }
  std::size_t FieldOffset(int field) {
    static const std::size_t kOffsets[] = {1, 11, 21, 27, 57, 67, 75, 76};
    return kOffsets[field];
  }
  void Put(std::vector<std::byte>& bytes, std::size_t at, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) bytes[at + i] = std::byte(text[i]);
  }

  TempDir folder_;
  std::vector<std::byte> table_, memo_;
  CollectingReporter reporter_;
  std::uint32_t records_ = 0;
};

TEST_F(DamagedInputTest, RecordCountAndFileSizeDisagree) {
  auto truncated = table_;
  truncated.resize(RecordOffset(3) + 5);  // three whole records and part of a fourth
  std::string messages = ReadAll(truncated, memo_);
  EXPECT_EQ(records_, 3u);
  EXPECT_NE(messages.find("property.dbf: the header counts 6 records but the file"), std::string::npos) << messages;
  EXPECT_NE(messages.find("table is truncated"), std::string::npos) << messages;

  auto undercounted = table_;
  undercounted[format::kRecordCountOffset] = std::byte{4};
  messages = ReadAll(undercounted, memo_);
  EXPECT_EQ(records_, 6u);  // the file size is trusted
  EXPECT_NE(messages.find("the header counts 4 records but the file holds 6"), std::string::npos) << messages;

  auto no_end_mark = table_;
  no_end_mark.pop_back();
  messages = ReadAll(no_end_mark, memo_);
  EXPECT_EQ(records_, 6u);
  EXPECT_NE(messages.find("property.dbf: the end-of-file mark 0x1A after the last record is missing"), std::string::npos) << messages;

  EXPECT_EQ(ReadAll(table_, memo_), "");  // the undamaged table reports nothing
}

TEST_F(DamagedInputTest, HeadersThatCannotDescribeATable) {
  auto expect_error = [&](std::vector<std::byte> bytes, ErrorKind kind, const std::string& text) {
    try {
      ReadAll(std::move(bytes), memo_);
      ADD_FAILURE() << "no error for " << text;
    } catch (const qorvane::Error& error) {
      EXPECT_EQ(error.kind(), kind) << error.what();
      EXPECT_NE(std::string(error.what()).find(text), std::string::npos) << error.what();
      EXPECT_EQ(std::string(error.what()).rfind("property.dbf: ", 0), 0u) << error.what();
    }
  };
  expect_error(std::vector<std::byte>(table_.begin(), table_.begin() + 20), ErrorKind::Corrupt, "shorter than the 32-byte table header");
  expect_error(std::vector<std::byte>(table_.begin(), table_.begin() + 100), ErrorKind::Corrupt, "the header claims to be 289 bytes");
  auto version = table_;
  version[0] = std::byte{0x04};
  expect_error(version, ErrorKind::NotSupported, "version byte 0x04");
  auto empty = std::vector<std::byte>();
  expect_error(empty, ErrorKind::Corrupt, "the file is empty (0 bytes)");
}

// The header's record length and the sum of the field widths disagree: a bit flip hit one of
// them. What the file's size confirms wins and every record reads as it was written; when
// neither fits, the table is refused by name instead of read misaligned.
TEST_F(DamagedInputTest, RecordLengthAndFieldWidthsThatDisagree) {
  auto set_u16 = [](std::vector<std::byte>& bytes, std::size_t at, unsigned value) {
    bytes[at] = std::byte(value & 0xFF);
    bytes[at + 1] = std::byte(value >> 8);
  };
  constexpr std::size_t kStreetWidth = 32 + 32 * 3 + format::kFieldLengthOffset;  // PR_STREET, 30 wide
  struct Case {
    const char* name;
    std::function<void(std::vector<std::byte>&)> damage;
    const char* message;  // reported, or thrown when REFUSED
    bool refused;
  };
  const Case cases[] = {
      {"record length one too long", [&](auto& b) { set_u16(b, format::kRecordLengthOffset, 87); },
       "property.dbf: the header gives records of 87 bytes but the fields add up to 86, which the file's size", false},
      {"record length 65535", [&](auto& b) { set_u16(b, format::kRecordLengthOffset, 65535); },
       "every record is read as 86 bytes", false},
      {"record length too short", [&](auto& b) { set_u16(b, format::kRecordLengthOffset, 20); },
       "the header gives records of 20 bytes but the fields add up to 86", false},
      {"a field wider than the record", [&](auto& b) { b[kStreetWidth] = std::byte{200}; },
       "field PR_STREET is 200 bytes wide in the header, which runs past the 86-byte records the file's size "
       "(806 bytes, 6 records counted) confirms; the field positions in the header give it 30 bytes",
       false},
      {"a field wider than the record, positions not kept",
       [&](auto& b) {
         b[kStreetWidth] = std::byte{200};
         for (std::size_t field = 0; field < 8; ++field) set_u16(b, 32 + 32 * field + format::kFieldDisplacementOffset, 0);
       },
       "a field's width is damaged and the table cannot be read field by field", true},
      {"neither fits the file",
       [&](auto& b) {
         set_u16(b, format::kRecordLengthOffset, 87);
         b.resize(b.size() - 40);
       },
       "and the file's size (766 bytes, 6 records counted) fits neither; the table cannot be read", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto damaged = table_;
    c.damage(damaged);
    if (c.refused) {
      try {
        ReadAll(damaged, memo_);
        ADD_FAILURE() << "read";
      } catch (const qorvane::Error& error) {
        EXPECT_EQ(error.kind(), ErrorKind::Corrupt);
        EXPECT_NE(std::string(error.what()).find(c.message), std::string::npos) << error.what();
      }
      continue;
    }
    std::string messages = ReadAll(damaged, memo_);
    EXPECT_NE(messages.find(c.message), std::string::npos) << messages;
    // Every record reads as the undamaged table does.
    auto whole = Table::FromBytes("property.dbf", table_, memo_, {});
    auto read = Table::FromBytes("property.dbf", damaged, memo_, {});
    ASSERT_EQ(read->record_count(), whole->record_count());
    for (std::uint32_t r = 0; r < whole->record_count(); ++r) {
      for (std::size_t f = 0; f < whole->fields().size(); ++f) {
        EXPECT_EQ(read->ReadValue(r, f).text, whole->ReadValue(r, f).text) << "record " << r + 1 << ", field " << f;
      }
    }
  }
}

TEST_F(DamagedInputTest, FieldDescriptorPitfalls) {
  auto damaged = table_;
  Put(damaged, 32 + 32 * 1, std::string("inv_num\0XY", 10));  // lower case, garbage after the NUL
  Put(damaged, 32 + 32 * 2, std::string("FILE_NUM\0\0", 10));  // a duplicate name
  damaged[32 + 32 * 3 + format::kFieldTypeOffset] = std::byte{'Z'};  // unknown type
  std::string messages = ReadAll(damaged, memo_);
  EXPECT_NE(messages.find("field name inv_num has bytes after its terminating NUL (\\x00XY"), std::string::npos) << messages;
  EXPECT_NE(messages.find("the field name FILE_NUM occurs more than once"), std::string::npos) << messages;
  EXPECT_NE(messages.find("field PR_STREET has an unknown type 'Z'"), std::string::npos) << messages;
  EXPECT_NE(messages.find("field names not in upper case (inv_num)"), std::string::npos) << messages;
  auto table = Table::FromBytes("property.dbf", damaged, memo_, {});
  EXPECT_EQ(table->ReadValue(0, *table->FindField("INV_NUM")).text, "INV1");
  EXPECT_EQ(*table->FindField("file_num"), 0u);
  EXPECT_EQ(table->ReadValue(0, 3).text, "12 Main St");  // the unknown type reads as text
}

TEST_F(DamagedInputTest, ValuesThatAreNotWhatTheirTypeSays) {
  auto damaged = table_;
  Put(damaged, RecordOffset(0) + FieldOffset(4), "**********");
  Put(damaged, RecordOffset(0) + FieldOffset(5), "24/01/20");
  Put(damaged, RecordOffset(0) + FieldOffset(6), "X");
  Put(damaged, RecordOffset(2) + FieldOffset(4), "  12 34   ");
  Put(damaged, RecordOffset(2) + FieldOffset(5), "20240230");
  damaged[RecordOffset(4)] = std::byte{0};  // a deletion flag that is neither blank nor '*'
  std::string messages = ReadAll(damaged, memo_);
  EXPECT_NE(messages.find("property.dbf: record 1, field PR_APPRVAL: '**********' is a numeric overflow; it is read as blank"), std::string::npos) << messages;
  EXPECT_NE(messages.find("record 1, field PR_DRECEIV: '24/01/20' is not a date"), std::string::npos) << messages;
  EXPECT_NE(messages.find("record 1, field PREF_BILL: 'X' is not a logical value"), std::string::npos) << messages;
  EXPECT_NE(messages.find("record 3, field PR_APPRVAL: '  12 34   ' is not a number"), std::string::npos) << messages;
  EXPECT_NE(messages.find("record 3, field PR_DRECEIV: '20240230' is not a date"), std::string::npos) << messages;
  // The report carries its place: the first one is the overflowing number of record 1.
  const Damage& overflow = reporter_.damages.front();
  EXPECT_EQ(overflow.kind, DamageKind::Value);
  EXPECT_EQ(overflow.file, "property.dbf");
  EXPECT_EQ(overflow.record, 1u);
  EXPECT_EQ(overflow.field, "PR_APPRVAL");
  EXPECT_EQ(overflow.offset, RecordOffset(0) + FieldOffset(4));
  EXPECT_EQ(overflow.bytes_dropped, 10u);
  auto table = Table::FromBytes("property.dbf", damaged, memo_, {});
  EXPECT_TRUE(table->ReadValue(0, 4).is_null());
  EXPECT_FALSE(table->IsDeleted(4));
}

TEST_F(DamagedInputTest, TextItsCodePageDoesNotDefineIsReportedAndKept) {
  // Code page 437 defines every byte: no report for its accented letters.
  auto accented = table_;
  accented[29] = std::byte{0x01};
  Put(accented, RecordOffset(1) + FieldOffset(0), "AB\x81       ");
  EXPECT_EQ(ReadAll(accented, memo_), "");
  // Code page 1252 leaves 0x81 undefined; code page 932 has no character 0x81 0x7F.
  for (auto [mark, code_page] : {std::pair{0x03, 1252}, std::pair{0x7B, 932}}) {
    SCOPED_TRACE(code_page);
    auto damaged = accented;
    if (code_page == 932) Put(damaged, RecordOffset(1) + FieldOffset(0), "AB\x81\x7F      ");
    damaged[29] = std::byte(mark);
    std::string messages = ReadAll(damaged, memo_);
    std::string expected = code_page == 932 ? "'AB\\x81\\x7F'" : "'AB\\x81'";
    EXPECT_NE(messages.find("property.dbf: record 2, field FILE_NUM: " + expected + " is not valid text in code page " +
                            std::to_string(code_page) + "; its bytes are kept as the characters of the same numbers"),
              std::string::npos)
        << messages;
    auto table = Table::FromBytes("property.dbf", damaged, memo_, {});
    EXPECT_EQ(table->ReadValue(1, 0).text, code_page == 932 ? "AB\u0081\u007F" : "AB\u0081");
  }
}

TEST_F(DamagedInputTest, MemoFileMissingShortOrPointingPastItsEnd) {
  std::string messages = ReadAll(table_, std::nullopt);
  EXPECT_NE(messages.find("property.dbf: the memo file property.fpt is missing; memo fields read as empty"), std::string::npos) << messages;

  auto short_memo = memo_;
  short_memo.resize(600);  // the header and part of the first memo
  messages = ReadAll(table_, short_memo);
  EXPECT_NE(messages.find("property.dbf (memo): record 3, field PR_COMM: memo at block 9 claims 150 bytes but only 16 remain"), std::string::npos) << messages;
  EXPECT_NE(messages.find("record 4, field PR_COMM: memo block 12 (byte offset 768) lies past the end of the memo file"), std::string::npos) << messages;
  auto memo_damage = std::find_if(reporter_.damages.begin(), reporter_.damages.end(),
                                  [](const Damage& damage) { return damage.kind == DamageKind::LongValue; });
  ASSERT_NE(memo_damage, reporter_.damages.end());
  const Damage& cut = *memo_damage;
  EXPECT_EQ(cut.file, "property.dbf (memo)");
  EXPECT_EQ(cut.record, 3u);
  EXPECT_EQ(cut.bytes_dropped, 150u - 16u);

  messages = ReadAll(table_, std::vector<std::byte>(4));
  EXPECT_NE(messages.find("shorter than its header"), std::string::npos) << messages;

  auto bad_pointer = table_;
  Put(bad_pointer, RecordOffset(0) + FieldOffset(7), "    12x456");
  messages = ReadAll(bad_pointer, memo_);
  EXPECT_NE(messages.find("record 1, field PR_COMM: '    12x456' is not a memo block number"), std::string::npos) << messages;
}

TEST_F(DamagedInputTest, FilesThatCannotBeOpened) {
  try {
    Table::Open(folder_.path() + "/nothing.dbf", {});
    ADD_FAILURE();
  } catch (const qorvane::Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::NotFound);
    EXPECT_NE(std::string(error.what()).find("nothing.dbf"), std::string::npos);
  }
  os::MakeDirectory(folder_.path() + "/folder.dbf");
  EXPECT_THROW(Table::Open(folder_.path() + "/folder.dbf", {}), qorvane::Error);
}

}  // namespace
}  // namespace qorvane::foxpro
