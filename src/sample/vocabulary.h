// Words of the sample office: people, streets and towns of a north Georgia appraisal office
// (land lots and land districts are Georgia's), lenders, form codes with their usual fees,
// expenses and comments. Accented names use only letters that code page 437 holds in both
// cases, so that upper-cased keys still encode.
#pragma once

#include <array>
#include <string_view>

namespace qorvane::sample::words {

using namespace std::string_view_literals;

inline constexpr std::array kFirstNames = {
    "James"sv, "Mary"sv, "Robert"sv, "Patricia"sv, "John"sv, "Jennifer"sv, "Michael"sv, "Linda"sv,
    "William"sv, "Elizabeth"sv, "David"sv, "Barbara"sv, "Richard"sv, "Susan"sv, "Joseph"sv, "Jessica"sv,
    "Thomas"sv, "Sarah"sv, "Charles"sv, "Karen"sv, "Christopher"sv, "Nancy"sv, "Daniel"sv, "Lisa"sv,
    "Matthew"sv, "Betty"sv, "Anthony"sv, "Margaret"sv, "Mark"sv, "Sandra"sv, "Donald"sv, "Ashley"sv,
    "Steven"sv, "Kimberly"sv, "Paul"sv, "Emily"sv, "Andrew"sv, "Donna"sv, "Joshua"sv, "Michelle"sv,
    "Kenneth"sv, "Carol"sv, "Kevin"sv, "Amanda"sv, "Brian"sv, "Melissa"sv, "George"sv, "Deborah"sv,
    "Timothy"sv, "Stephanie"sv, "Ronald"sv, "Rebecca"sv, "Wayne"sv, "Laura"sv, "Dale"sv, "Sharon"sv,
    "Billy"sv, "Cynthia"sv, "Randall"sv, "Kathleen"sv, "Earl"sv, "Amy"sv, "Curtis"sv, "Shirley"sv};

inline constexpr std::array kLastNames = {
    "Smith"sv, "Johnson"sv, "Williams"sv, "Brown"sv, "Jones"sv, "Garcia"sv, "Miller"sv, "Davis"sv,
    "Rodriguez"sv, "Martinez"sv, "Hernandez"sv, "Lopez"sv, "Gonzalez"sv, "Wilson"sv, "Anderson"sv,
    "Thomas"sv, "Taylor"sv, "Moore"sv, "Jackson"sv, "Martin"sv, "Lee"sv, "Perez"sv, "Thompson"sv,
    "White"sv, "Harris"sv, "Sanchez"sv, "Clark"sv, "Ramirez"sv, "Lewis"sv, "Robinson"sv, "Walker"sv,
    "Young"sv, "Allen"sv, "King"sv, "Wright"sv, "Scott"sv, "Torres"sv, "Nguyen"sv, "Hill"sv,
    "Flores"sv, "Green"sv, "Adams"sv, "Nelson"sv, "Baker"sv, "Hall"sv, "Rivera"sv, "Campbell"sv,
    "Mitchell"sv, "Carter"sv, "Roberts"sv, "Gomez"sv, "Phillips"sv, "Evans"sv, "Turner"sv, "Diaz"sv,
    "Parker"sv, "Cruz"sv, "Edwards"sv, "Collins"sv, "Reyes"sv, "Stewart"sv, "Morris"sv, "Morales"sv,
    "Murphy"sv, "Cook"sv, "Rogers"sv, "Gutierrez"sv, "Ortiz"sv, "Morgan"sv, "Cooper"sv, "Peterson"sv,
    "Bailey"sv, "Reed"sv, "Kelly"sv, "Howard"sv, "Ramos"sv, "Kim"sv, "Cox"sv, "Ward"sv, "Richardson"sv,
    "Watson"sv, "Brooks"sv, "Chavez"sv, "Wood"sv, "James"sv, "Bennett"sv, "Gray"sv, "Mendoza"sv,
    "Ruiz"sv, "Hughes"sv, "Price"sv, "Alvarez"sv, "Castillo"sv, "Sanders"sv, "Patel"sv, "Myers"sv,
    "Long"sv, "Ross"sv, "Foster"sv, "Jimenez"sv, "Puckett"sv, "Stovall"sv, "Tidwell"sv, "Grizzard"sv};

// About one person in forty carries one of these (Ü, Ñ, Ö, Å, Ç, É, Ä all exist in cp437).
inline constexpr std::array kAccentedLastNames = {
    "Müller"sv, "Peña"sv, "Björk"sv, "Håkansson"sv, "Çelik"sv, "Bélanger"sv, "Jäger"sv,
    "Nuñez"sv, "Günther"sv, "Désiré"sv, "Löwe"sv, "Muñoz"sv};
inline constexpr std::array kAccentedFirstNames = {"José"sv, "Renée"sv, "Zoë"sv, "André"sv, "Jürgen"sv,
                                                    "Françoise"sv, "Inés"sv, "Björn"sv};

inline constexpr std::array kStreetNames = {
    "Peachtree"sv, "Roswell"sv, "Johnson Ferry"sv, "Powers Ferry"sv, "Old Canton"sv, "Sandy Plains"sv,
    "Holcomb Bridge"sv, "Piedmont"sv, "Ponce de Leon"sv, "Chattahoochee"sv, "Magnolia"sv, "Dogwood"sv,
    "Oak"sv, "Pine"sv, "Maple"sv, "Elm"sv, "Cedar"sv, "Hickory"sv, "Willow"sv, "Azalea"sv,
    "Stone Mountain"sv, "Lawrenceville"sv, "Buford"sv, "Cobb"sv, "Barnes Mill"sv, "Shiloh"sv,
    "Briarcliff"sv, "Lavista"sv, "Montreal"sv, "Rockbridge"sv, "Scenic"sv, "Main"sv, "Church"sv,
    "Mill"sv, "Lake"sv, "Ridge"sv, "Forest"sv, "Highland"sv, "Sweetwater"sv, "Brookwood"sv};
inline constexpr std::array kStreetKinds = {"Rd"sv, "St"sv, "Dr"sv, "Ave"sv, "Ln"sv, "Ct"sv, "Way"sv,
                                            "Pkwy"sv, "Cir"sv, "Trl"sv, "Pl"sv, "Blvd"sv};

struct Town {
  std::string_view city;
  std::string_view county;
  int zip;
};
inline constexpr std::array<Town, 24> kTowns = {{
    {"Atlanta", "Fulton", 30305},      {"Atlanta", "Fulton", 30318},    {"Roswell", "Fulton", 30075},
    {"Alpharetta", "Fulton", 30004},   {"Sandy Springs", "Fulton", 30328}, {"Marietta", "Cobb", 30062},
    {"Marietta", "Cobb", 30064},       {"Smyrna", "Cobb", 30080},       {"Kennesaw", "Cobb", 30144},
    {"Acworth", "Cobb", 30101},        {"Decatur", "DeKalb", 30030},    {"Tucker", "DeKalb", 30084},
    {"Stone Mountain", "DeKalb", 30083}, {"Lawrenceville", "Gwinnett", 30043}, {"Duluth", "Gwinnett", 30096},
    {"Snellville", "Gwinnett", 30078}, {"Norcross", "Gwinnett", 30092}, {"Woodstock", "Cherokee", 30188},
    {"Canton", "Cherokee", 30114},     {"Cumming", "Forsyth", 30040},   {"Douglasville", "Douglas", 30135},
    {"McDonough", "Henry", 30253},     {"Conyers", "Rockdale", 30012},  {"Dallas", "Paulding", 30132},
}};

inline constexpr std::array kSubdivisions = {
    "Willow Creek"sv, "Brookstone"sv, "Laurel Springs"sv, "Wynfield"sv, "Hampton Farms"sv, "Indian Hills"sv,
    "Chimney Lakes"sv, "Windermere"sv, "Country Club Estates"sv, "Mill Pond"sv, "Saddle Creek"sv,
    "Ashford Park"sv, "Hunters Ridge"sv, "Timber Ridge"sv, "Magnolia Walk"sv, "Riverbrooke"sv};

// Lenders and other clients: a core, a kind and a place, joined into a unique name per client.
inline constexpr std::array kLenderCores = {
    "FIRST FEDERAL"sv, "PEACHTREE"sv, "SOUTHERN"sv, "CITIZENS"sv, "HOMETOWN"sv, "PIEDMONT"sv,
    "COLONIAL"sv, "HERITAGE"sv, "MAGNOLIA"sv, "LIBERTY"sv, "PATRIOT"sv, "SUNTRUST"sv, "WACHOVIA"sv,
    "REGIONS"sv, "FIDELITY"sv, "UNITED"sv, "COMMUNITY"sv, "PINNACLE"sv, "SUMMIT"sv, "GATEWAY"sv,
    "CAPITAL CITY"sv, "ATLANTIC"sv, "CORNERSTONE"sv, "PRIME"sv, "AMERICAN HOME"sv, "NATIONWIDE"sv,
    "MERIDIAN"sv, "KEYSTONE"sv, "ALLIANCE"sv, "GEORGIA"sv, "CHATTAHOOCHEE"sv, "BLUE RIDGE"sv};
inline constexpr std::array kLenderKinds = {
    "MORTGAGE"sv, "BANK"sv, "SAVINGS BANK"sv, "HOME LOANS"sv, "LENDING"sv, "FUNDING"sv,
    "MORTGAGE CO"sv, "CREDIT UNION"sv, "FINANCIAL"sv, "RELOCATION"sv, "TITLE"sv, "AMC"sv};
// Branches of lenders, named by place (at most nine letters, so names fit forty characters).
inline constexpr std::array kBranchPlaces = {
    "ROSWELL"sv, "MARIETTA"sv, "SMYRNA"sv, "KENNESAW"sv, "ACWORTH"sv, "DECATUR"sv, "TUCKER"sv, "DULUTH"sv,
    "NORCROSS"sv, "WOODSTOCK"sv, "CANTON"sv, "CUMMING"sv, "CONYERS"sv, "DALLAS"sv, "MCDONOUGH"sv, "BUCKHEAD"sv,
    "MIDTOWN"sv, "VININGS"sv, "LILBURN"sv, "BUFORD"sv, "SUWANEE"sv, "ATHENS"sv};
// A few clients are law firms; their names hold "&", which file-number rules call illegal.
inline constexpr std::array kLawFirmSuffixes = {" & ASSOCIATES"sv, " & PARTNERS, P.C."sv};

struct FormCode {
  std::string_view code;
  std::string_view description;
  int base_fee;     // what the office charged in its first year
  int weight;       // how often orders use it, per thousand
};
inline constexpr std::array<FormCode, 30> kForms = {{
    {"URAR", "Uniform Residential Appraisal Report", 325, 430},
    {"2055", "Exterior-Only Inspection Report", 250, 110},
    {"CONDO", "Individual Condominium Unit Appraisal", 350, 80},
    {"FRR", "Field Review", 200, 45},
    {"2000", "One-Unit Residential Appraisal Field Review", 225, 20},
    {"704", "Second Mortgage Short Form", 150, 35},
    {"LAND", "Vacant Land Appraisal", 300, 30},
    {"MUL", "Small Residential Income Property", 475, 30},
    {"1004", "FNMA 1004 Full Appraisal", 325, 40},
    {"2070", "Condition and Marketability Report", 175, 15},
    {"2075", "Property Inspection Report (Drive-By)", 150, 20},
    {"DRVBY", "Drive-By Inspection", 125, 15},
    {"ERC", "ERC Relocation Appraisal", 500, 20},
    {"ERS", "ERC Summary Appraisal", 450, 8},
    {"BPO", "Broker Price Opinion", 100, 15},
    {"COMM", "Commercial Narrative", 1500, 5},
    {"MOBHM", "Manufactured Home", 350, 12},
    {"RNF", "Review Narrative", 275, 6},
    {"2006", "Appraisal Review Short Form", 175, 6},
    {"71A", "Residential Income Property 8 Page", 550, 4},
    {"71B", "Residential Income Property 4 Page", 450, 4},
    {"CIA", "Cooperative Interest Appraisal", 375, 3},
    {"DESK", "Desk Review", 95, 10},
    {"EVAL", "Real Estate Evaluation", 175, 8},
    {"QAR", "Quantitative Analysis Report", 250, 8},
    {"UCIAR", "Small Commercial/Industrial", 1200, 3},
    {"COOP", "Co-op Apartment", 375, 3},
    {"INDUS", "Industrial Property", 1800, 2},
    {"RELO", "Relocation Addendum", 100, 5},   // a code of the office's own, mapped to nothing
    {"", "", 325, 4},                          // orders entered without a form
}};

struct ExpenseKind {
  std::string_view description;
  int low;
  int high;
};
inline constexpr std::array<ExpenseKind, 8> kClientExpenses = {{
    {"Rush fee", 50, 100},          {"Mileage", 15, 45},           {"Re-inspection", 75, 125},
    {"Photo addendum", 20, 30},     {"Trip fee", 40, 60},          {"Comparable rent schedule", 60, 90},
    {"Operating income statement", 60, 90}, {"Final inspection 442", 75, 100},
}};
struct AppraiserExpenseKind {
  std::string_view code;
  std::string_view description;
  int low;
  int high;
};
inline constexpr std::array<AppraiserExpenseKind, 6> kAppraiserExpenses = {{
    {"MILE", "Mileage", 8, 60},   {"MLS", "MLS printout fee", 5, 15}, {"PHOT", "Film and developing", 6, 18},
    {"PLAT", "Plat copy", 3, 12}, {"COPY", "Deed copies", 2, 10},    {"FLD", "Flood certification", 10, 20},
}};

inline constexpr std::array kStatusComments = {
    "Report sent to client"sv, "Waiting on comps from MLS"sv, "Inspection scheduled"sv,
    "Borrower will call to set appointment"sv, "Report in review"sv, "Revised per underwriter"sv,
    "Original mailed, copy faxed"sv, "Client has not sent contract"sv, "Complete"sv};
inline constexpr std::array kHoldComments = {
    "Borrower out of town"sv, "Waiting on payment from borrower"sv, "Lender put loan on hold"sv,
    "Need copy of sales contract"sv, "House under renovation, call back"sv, "Tenant will not allow access"sv};
inline constexpr std::array kGeneralNotes = {
    "Lockbox on front door, code 1234."sv, "Dog in back yard."sv, "Gate code #4521."sv,
    "Call listing agent before going."sv, "Seller is very particular about shoes."sv,
    "Use side entrance."sv, "Basement partially finished, include sketch."sv,
    "Septic, check for easement."sv, "Pool closed for the season."sv, "Corner lot, two road frontages."sv};

}  // namespace qorvane::sample::words
