// `qorvane init-target DIR`: writes DIR/office.mdb with the office schema's tables, empty.
#pragma once

#include <ostream>
#include <string>

namespace qorvane::data {

// Makes DIR when it is missing. Returns the exit status: 0 when written; 1 (refused, with a
// message on ERR naming the file) when office.mdb (in any letter case) is already there; 3 (with
// a message naming the folder or file and why) when the folder cannot be made or the file cannot
// be written.
int InitTarget(const std::string& dir, std::ostream& out, std::ostream& err);

}  // namespace qorvane::data
