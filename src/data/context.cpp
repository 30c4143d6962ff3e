// The converters' context (see context.h).
#include "data/context.h"

#include "data/connections.h"

namespace qorvane::data {

DataControl& Context::Source(app::SourceControl control) { return connections_.source()[control]; }
AdoControl& Context::Target(app::TargetControl control) { return connections_.target()[control]; }
TargetTable& Context::Table(std::string_view name) { return connections_.target_database().Table(name); }

}  // namespace qorvane::data
