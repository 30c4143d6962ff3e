// The schema of the office.mdb that `qorvane init-target` writes.
#pragma once

#include <vector>

#include "jet/create/create.h"

namespace qorvane::jet::create {

std::vector<TableSchema> OfficeSchema();

}  // namespace qorvane::jet::create
