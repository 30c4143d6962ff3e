// The client keys a run's duplicate-client correction will change, found before the run by
// reading client.dbf in key order without writing (no backup session is opened, so nothing can
// be written). The confirmation of both faces says what the correction does to each client,
// and the window's duplicate-client form shows each client's own key beside its correction.
#pragma once

#include <string>
#include <vector>

#include "app/run_changes.h"

namespace qorvane::preview {

// The changes, in the order the correction makes them; none when FOLDER has no client.dbf or
// it cannot be read (the run then says why). DEFAULT_CODE_PAGE is for a header that names none.
std::vector<app::ClientKeyChange> PlanClientKeyChanges(const std::string& folder, int default_code_page);

}  // namespace qorvane::preview
