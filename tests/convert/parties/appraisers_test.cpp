// Appraisers, users and the company end to end: appraisr.dbf, rooms.dbf and user.dbf into
// Appraiser, users and Company, read back with mdb-export, with each step's log lines.
#include "convert/parties/appraisers.h"

#include <filesystem>

#include "party_office.h"

namespace qorvane::convert {
namespace {

using app::CheckBox;

class ReferenceTablesTest : public PartyOfficeTest {
 protected:
  void WriteAppraisers(const std::vector<std::vector<std::string>>& records) {
    std::vector<std::vector<foxpro::Value>> rows;
    for (const auto& record : records) {
      std::vector<foxpro::Value> row;
      for (const std::string& text : record) row.push_back(Fox(text));
      row.resize(8);  // the fields not given stay blank
      rows.push_back(row);
    }
    WriteTable("APPRAISR.DBF", AppraiserFields(), rows);
  }
  static std::vector<foxpro::FieldSpec> AppraiserFields() {
    return {{"APP_NUM", 'C', 5},    {"APP_LNAME", 'C', 30}, {"APP_STREET", 'C', 30}, {"APP_ADDR2", 'C', 30},
            {"APP_ADDR3", 'C', 30}, {"APP_PHONE", 'C', 14}, {"APP_EXT", 'C', 5},     {"APP_BEEP", 'C', 14}};
  }
};

TEST_F(ReferenceTablesTest, AppraisersMergeByNameWithTheirAddressLines) {
  WriteAppraisers({{"1", "Jones, Ann", "12 Oak St", "", "", "555-1000", "7", ""},
                   {"2", "JONES, ANN", "99 Other Rd", "", "", "", "", ""},
                   {"3", "Brown, Bob", "", "", "", "", "", "555-PAGE"},
                   {"", "No Number"},
                   {"5", ""}});
  Run({CheckBox::ckbappraiser});
  auto appraisers = RowsBy("Appraiser", "Appraiser");
  ASSERT_EQ(appraisers.size(), 2u);
  ExpectCells(appraisers["JONES, ANN"], {{"ApprInfo", "12 Oak St\r\n555-1000 7\r\n"}, {"Active", "1"}});
  // No phone and no extension: the lone blank between them trims away.
  EXPECT_EQ(appraisers["BROWN, BOB"]["ApprInfo"], "555-PAGE\r\n");
  EXPECT_EQ(
      StepLines("Begin conversion: Appraiser.mdb"),
      (std::vector<std::string>{"Begin conversion: Appraiser.mdb", "Appriaser table conversion complete: 5 records"}));
}

TEST_F(ReferenceTablesTest, UsersGetTheirRightsAndIncompleteOnesAreLeftOut) {
  WriteTable("ROOMS.DBF", {{"INITIALS", 'C', 5}, {"PASSWORD", 'C', 10}, {"SUPER", 'C', 5}},
             {{Fox("ab"), Fox(" secret "), Fox("super")},
              {Fox("CD"), Fox("pw2"), Fox("MIDI")},
              {Fox("EF"), Fox("pw3"), Fox("Plain")},
              {Fox("GH"), Fox("pw4"), Fox("X")},
              {Fox("IJ"), Fox(""), Fox("SUPER")},
              {Fox("AB"), Fox("other"), Fox("PLAIN")}});
  Run({CheckBox::ckbusers});
  auto users = RowsBy("users", "user");
  ASSERT_EQ(users.size(), 4u);
  ExpectCells(users["AB"], {{"rights", "SUPER"}, {"password", "SECRET"}});
  EXPECT_EQ(users["CD"]["rights"], "TRUSTEE");
  EXPECT_EQ(users["EF"]["rights"], "USER");
  EXPECT_EQ(users["GH"]["rights"], "");  // a code outside the table: rights left unset
  EXPECT_EQ(users.count("IJ"), 0u);
  EXPECT_EQ(StepLines("Begin conversion: Users.mdb").back(), "Users table conversion complete: 6 records");
}

TEST_F(ReferenceTablesTest, TheCompanyComesFromTheLastRecordAndStaysOneRow) {
  std::vector<foxpro::FieldSpec> fields = {{"NAME", 'C', 40},       {"ADDRESS1", 'C', 40}, {"ADDRESS2", 'C', 40},
                                           {"USER_PHONE", 'C', 14}, {"USER_FAX", 'C', 14}, {"TAX_ID", 'C', 12}};
  WriteTable("USER.DBF", fields,
             {{Fox("Old Name"), Fox("1 A St"), Fox(""), Fox("1"), Fox(""), Fox("T1")},
              {Fox("Middle Name"), Fox("2 B St"), Fox(""), Fox("2"), Fox(""), Fox("T2")},
              {Fox("Best Appraisals LLC"), Fox("3 C St"), Fox("Springfield"), Fox("555-3000"), Fox(""), Fox("TX-3")}});
  Run({CheckBox::ckbcompany});
  auto company = Rows("Company");
  ASSERT_EQ(company.size(), 1u);
  ExpectCells(company[0], {{"Company", "Best Appraisals LLC"}, {"Address1", "3 C St"}, {"Address2", "Springfield"},
                           {"phone", "555-3000"}, {"Taxid", "TX-3"}});
  // The company step shows no record counter.
  EXPECT_EQ(StepLines("Begin conversion: Company.mdb"),
            (std::vector<std::string>{"Begin conversion: Company.mdb",
                                      "Company table conversion complete: No records found"}));

  WriteTable("USER.DBF", fields, {{Fox("Renamed LLC"), Fox("4 D St"), Fox(""), Fox("4"), Fox(""), Fox("T4")}});
  Run({CheckBox::ckbcompany});
  company = Rows("Company");
  ASSERT_EQ(company.size(), 1u);
  ExpectCells(company[0], {{"Company", "Renamed LLC"}, {"Address2", ""}});
}

TEST_F(ReferenceTablesTest, AnAppraiserTableWithoutItsMemoFileIsStillConverted) {
  std::vector<foxpro::FieldSpec> fields = AppraiserFields();
  fields.push_back({"APP_NOTES", 'M', 10});
  WriteTable("APPRAISR.DBF", fields,
             {{Fox("1"), Fox("Jones, Ann"), Fox(""), Fox(""), Fox(""), Fox(""), Fox(""), Fox(""), Fox("a note")},
              {Fox("2"), Fox("Brown, Bob"), Fox(""), Fox(""), Fox(""), Fox(""), Fox(""), Fox(""), Fox("")}});
  ASSERT_TRUE(std::filesystem::remove(source + "/APPRAISR.fpt"));
  Run({CheckBox::ckbappraiser});
  EXPECT_EQ(Rows("Appraiser").size(), 2u);
  EXPECT_NE(std::find(log.begin(), log.end(),
                      "APPRAISR.DBF: the memo file APPRAISR.fpt is missing; memo fields read as empty"),
            log.end())
      << ::testing::PrintToString(log);
}

}  // namespace
}  // namespace qorvane::convert
