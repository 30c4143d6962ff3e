// The fee schedules end to end: apprfee.dbf and clifee.dbf into AppraiserFee and ClientFee,
// and every party's row per form type, read back with mdb-export; and all the party steps run
// twice over the same office.mdb.
#include "convert/parties/fees.h"

#include "party_office.h"

namespace qorvane::convert {
namespace {

using app::CheckBox;

class FeesTest : public PartyOfficeTest {
 protected:
  void WriteAppraisers() {
    WriteTable("APPRAISR.DBF",
               {{"APP_NUM", 'C', 5}, {"APP_LNAME", 'C', 30}, {"APP_STREET", 'C', 30}, {"APP_ADDR2", 'C', 30},
                {"APP_ADDR3", 'C', 30}, {"APP_PHONE", 'C', 14}, {"APP_EXT", 'C', 5}, {"APP_BEEP", 'C', 14}},
               {{Fox("1"), Fox("Jones, Ann")}, {Fox("2"), Fox("Brown, Bob")}});
  }
  void WriteAppraiserFees() {
    std::vector<foxpro::FieldSpec> fields = {{"APP_NUM", 'C', 5},
                                             {"ASS_TYPE", 'C', 10},
                                             {"APPR_FEE", 'N', 8, 2},
                                             {"APPR_PERC", 'N', 6, 2},
                                             {"PAY_MODE", 'L', 1}};
    WriteTable("APPRFEE.DBF", fields,
               {{Fox("2"), Fox("urar"), FoxNumber(300), FoxNumber(0), FoxLogical(false)},
                {Fox("1"), Fox("URAR"), FoxNumber(250), FoxNumber(50), FoxLogical(true)},
                {Fox("9"), Fox("URAR"), FoxNumber(999), FoxNumber(0), FoxLogical(false)},
                {Fox("1"), Fox("URAR "), FoxNumber(111), FoxNumber(0), FoxLogical(false)},
                {Fox("1"), Fox("LAND"), FoxNumber(175.5), FoxNumber(0), FoxLogical(false)}});
  }
  void WriteClientFees() {
    WriteClients({{.number = "10", .name = "First Savings", .printed_name = "First Savings Bank"},
                  {.number = "20", .name = "Acme"}});
    WriteTable("CLIFEE.DBF", {{"CLI_NUM", 'C', 10}, {"ASS_TYPE", 'C', 10}, {"CLI_FEE", 'N', 8, 2}},
               {{Fox("10"), Fox("URAR"), FoxNumber(325)},
                {Fox(""), Fox("URAR"), FoxNumber(1)},
                {Fox("10"), Fox("urar"), FoxNumber(2)},
                {Fox("77"), Fox("URAR"), FoxNumber(3)},
                {Fox("20"), Fox("CONDO"), FoxNumber(280)}});
  }
  void WriteForms() { WriteTable("FORMS.DBF", {{"FORM_TYPE", 'C', 10}, {"FORM_DESC", 'C', 40}}, {}); }
};

TEST_F(FeesTest, AppraiserFeesAreKeyedByFormAndNameAndTheFirstRecordWins) {
  WriteAppraisers();
  WriteAppraiserFees();
  app::StepResult step = RunConverters({ConvertApprFeeDBF});
  auto fees = RowsBy("AppraiserFee", "FormAppraiser");
  ASSERT_EQ(fees.size(), 3u);
  // A percentage, from Appr_Perc.
  ExpectCells(fees["URARJONES, ANN"], {{"Amount", "50"}, {"Percent", "1"}, {"Form", "URAR"},
                                       {"Appraiser", "JONES, ANN"}, {"Qualified", "1"}});
  ExpectCells(fees["LANDJONES, ANN"], {{"Amount", "175.5"}, {"Percent", "0"}});
  EXPECT_EQ(fees["URARBROWN, BOB"]["Amount"], "300");
  // The label routine shows the counter: the step's count is every record read (the completion
  // line said "No records found" for a table it had read).
  EXPECT_EQ(step.shown_count, 5);
  const app::Ledger& ledger = step.ledger;
  EXPECT_EQ(ledger.read(), 5);
  EXPECT_EQ(ledger.count(app::RecordOutcome::Added), 3);
  EXPECT_EQ(ledger.notes().at(0).reason, "fee already in AppraiserFee");
  EXPECT_EQ(ledger.notes().at(1).reason, "appraiser number not in the appraiser table");
}

TEST_F(FeesTest, ClientFeesCarryThePrintedName) {
  WriteClientFees();
  app::StepResult step = RunConverters({ConvertClientFeeDBF});
  auto fees = RowsBy("ClientFee", "Formclient");
  ASSERT_EQ(fees.size(), 2u);
  ExpectCells(fees["URARFIRST SAVINGS BANK"], {{"client", "FIRST SAVINGS BANK"}, {"Amount", "325"}, {"Qualified", "1"}});
  // A client without a printed name: its fee row has no client, as the key shows.
  ExpectCells(fees["CONDO"], {{"Form", "CONDO"}, {"client", ""}});
  EXPECT_EQ(step.shown_count, 5);
  EXPECT_EQ(step.ledger.count(app::RecordOutcome::Added), 2);
}

// Every party step in one run, then a second run over the same office.mdb.
TEST_F(FeesTest, EveryPartyGetsOneRowPerFormTypeInDisplayOrderAndASecondRunDuplicatesNothing) {
  WriteForms();
  WriteAppraisers();
  WriteAppraiserFees();
  WriteClientFees();
  WriteTable("ROOMS.DBF", {{"INITIALS", 'C', 5}, {"PASSWORD", 'C', 10}, {"SUPER", 'C', 5}},
             {{Fox("AB"), Fox("pw"), Fox("SUPER")}});
  WriteTable("USER.DBF", {{"NAME", 'C', 40}}, {{Fox("Best Appraisals")}});
  const auto steps = {CheckBox::ckbformtypes,  CheckBox::ckbClient,    CheckBox::ckbappraiser,
                      CheckBox::ckbaddapprformtypes, CheckBox::ckbAddClientFormTypes, CheckBox::ckbApprFee,
                      CheckBox::ckbclientfee, CheckBox::ckbcompany,   CheckBox::ckbusers};
  Run(steps);
  auto appraiser_rows = RowsBy("AppraiserFee", "FormAppraiser");
  ASSERT_EQ(appraiser_rows.size(), 71u);  // two appraisers with 34 form types each, and three fees
  ExpectCells(appraiser_rows["UA2JONES, ANN"], {{"DisplayOrder", "1"}, {"Form", "UA2"}, {"Qualified", "1"}});
  EXPECT_EQ(appraiser_rows["LIMOFBROWN, BOB"]["DisplayOrder"], "34");
  ExpectCells(RowsBy("ClientFee", "Formclient")["CN2ACME"], {{"DisplayOrder", "3"}, {"client", "ACME"}});
  EXPECT_EQ(StepLines("Begin conversion addition: FormTypes.mdb (Appraiser Non-Standard)").back(),
            "Non-standard formtypes (appraiser) conversion complete: 2 records");
  EXPECT_EQ(StepLines("Begin conversion addition: FormTypes.mdb (Client Non-Standard)").back(),
            "Non-standard formtypes (client) conversion complete: 2 records");

  const char* tables[] = {"FormTypes", "Client", "ClientContact", "Appraiser", "AppraiserFee", "ClientFee", "Company", "users"};
  std::map<std::string, std::size_t> first;
  for (const char* table : tables) first[table] = Rows(table).size();
  EXPECT_EQ(first["Client"], 2u);
  Run(steps);
  for (const char* table : tables) EXPECT_EQ(Rows(table).size(), first[table]) << table;
}

}  // namespace
}  // namespace qorvane::convert
