// Writing FoxPro 2.x tables: creating a new table (.dbf, its .fpt when it has memo fields, and
// a structural .cdx with the given tags) for tests and sample offices, and the encoding of one
// field value into its stored bytes, which in-place edits use too.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/os.h"
#include "foxpro/index_maintenance.h"
#include "foxpro/table.h"
#include "foxpro/value.h"

namespace qorvane::foxpro {

struct FieldSpec {
  std::string name;       // up to 10 characters; written in upper case
  char type = 'C';        // C, N, F, D, L or M
  std::uint16_t length = 10;  // D, L and M have fixed lengths (8, 1, 10) whatever is given
  std::uint8_t decimals = 0;
};

struct NewTableOptions {
  int code_page = 437;           // text is encoded in it
  bool write_code_page_mark = true;  // false writes mark 0, as many FoxPro 2.x tables have
  Date last_update{2026, 1, 1};
  std::uint16_t memo_block_size = 64;
  std::vector<TagDefinition> tags;   // a structural .cdx is written when not empty
};

enum class RecordState { Live, Deleted };

// Writes a new table record by record. The files are complete only after Finish(); a creator
// destroyed before that leaves them unfinished. Throws qorvane::Error on I/O failures and on
// values that do not fit their field (Constraint).
class TableCreator {
 public:
  TableCreator(const std::string& dbf_path, std::vector<FieldSpec> fields, NewTableOptions options);
  ~TableCreator();

  // values[i] goes to field i: Text (UTF-8) for C and M, Number for N and F, Date, Logical;
  // Null leaves the field blank; Binary is stored as it is (left-justified, blank-padded), so
  // a damaged value can be written on purpose.
  void Append(const std::vector<Value>& values, RecordState state = RecordState::Live);
  void Finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The stored bytes of a C, N, F, D or L value for field (exactly field.length bytes). Text is
// encoded in code_page and blank-padded or cut; numbers are right-justified with the field's
// decimals. Throws qorvane::Error (Constraint) naming the field when the value does not fit or
// a character has no byte in the code page.
std::string EncodeFieldValue(const Field& field, const Value& value, const CodePage& code_page);

}  // namespace qorvane::foxpro
