// The schema of the office.mdb: the tables, columns and indexes `qorvane init-target` writes
// and the conversion fills. The Jet creator knows nothing of it; it only writes what it is given.
#pragma once

#include <vector>

#include "jet/create/create.h"

namespace qorvane::data {

std::vector<jet::create::TableSchema> OfficeSchema();

}  // namespace qorvane::data
