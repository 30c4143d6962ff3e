// The result lists' headings and printed form (see result_lists.h).
#include "app/result_lists.h"

namespace qorvane::app {
namespace {

constexpr ResultList kMainFormLists[] = {
    {"lstIllegalFilenumbers", "Illegal File Numbers Corrected", &FormModel::lstIllegalFilenumbers},
    {"lstWasNotConverted", "File Numbers Not Converted", &FormModel::lstWasNotConverted},
};

constexpr ResultList kClientDupLists[] = {
    {"lstduplicateclients", kDuplicateClientHeading, &FormModel::lstduplicateclients},
    {"lstclinum", "Client Number", &FormModel::lstclinum},
    {"lstafterdup", "Corrected Client Key", &FormModel::lstafterdup},
};

}  // namespace

std::span<const ResultList> MainFormResultLists() { return kMainFormLists; }
std::span<const ResultList> ClientDupLists() { return kClientDupLists; }

std::string PrintedListText(std::string_view heading, const std::vector<std::string>& items) {
  std::string text(heading);
  text += "\n" + std::string(heading.size(), '=') + "\n";
  for (const std::string& item : items) text += item + "\n";
  return text;
}

}  // namespace qorvane::app
