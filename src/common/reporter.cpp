// The one-line form of a damage report, as the conversion log and the export's warnings show it.
#include "common/reporter.h"

#include <functional>

namespace qorvane {

std::string DamageMessage(const Damage& damage) {
  std::string place;
  auto add = [&place](const std::string& part) {
    if (!place.empty()) place += ", ";
    place += part;
  };
  if (!damage.table.empty()) add("table " + damage.table);
  if (damage.record) add("record " + std::to_string(*damage.record));
  if (damage.page) {
    add(damage.slot ? "row at page " + std::to_string(*damage.page) + " slot " + std::to_string(*damage.slot)
                    : "page " + std::to_string(*damage.page));
  }
  if (!damage.field.empty()) add((damage.record ? "field " : "column ") + damage.field);

  std::string message = damage.file;
  for (const std::string& part : {std::cref(place), std::cref(damage.what)}) {
    if (part.empty()) continue;
    if (!message.empty()) message += ": ";
    message += part;
  }
  return message;
}

Damage DamageFromMessage(DamageKind kind, const std::string& file, const std::string& message) {
  Damage damage{.kind = kind, .what = message};
  const std::string prefix = file + ": ";
  if (!file.empty() && message.compare(0, prefix.size(), prefix) == 0) {
    damage.file = file;
    damage.what = message.substr(prefix.size());
  }
  return damage;
}

}  // namespace qorvane
