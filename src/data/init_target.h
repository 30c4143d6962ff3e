// `qorvane init-target DIR`: writes DIR/office.mdb with the office schema's tables, empty.
#pragma once

#include <ostream>
#include <string>

namespace qorvane::data {

// Returns the exit status: 0 when written; 1 (with a message on ERR naming the file) when DIR is
// missing, office.mdb (in any letter case) is already there, or writing fails.
int InitTarget(const std::string& dir, std::ostream& out, std::ostream& err);

}  // namespace qorvane::data
