// Test support: runs the independent readers (the npm package mdb-reader through
// tools/mdb-reader/dump-table.mjs, and mdbtools' mdb-json/mdb-count) on a database and puts
// our engine's view of a table in the same form, so a test compares them cell by cell.
#pragma once

#include <charconv>
#include "common/utf8.h"
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "jet/database.h"
#include "test_support/oracles.h"
#include "test_support/run_command.h"

namespace qorvane::jet::test {

using Cell = std::optional<std::string>;
using Rows = std::vector<std::vector<Cell>>;

struct ReadTable {
  long row_count = -1;  // as stored in the table definition
  std::vector<std::string> columns;
  Rows rows;
};

// COMMAND's standard output (its standard error dropped); EXIT_STATUS gets its exit status.
inline std::string Run(const std::string& command, int* exit_status = nullptr) {
  qorvane::test::CommandResult result = qorvane::test::RunForResult(command + " 2>/dev/null");
  if (exit_status) *exit_status = result.status;
  return result.out;
}

inline std::string Quote(const std::string& text) { return qorvane::test::ShellQuote(text); }

// Dates and times as mdb-json and mdb-export print them for comparison with the other readers.
inline const std::string kMdbDateOptions = "-D '%Y-%m-%d %H:%M:%S' -T '%Y-%m-%d %H:%M:%S'";

// A small JSON reader: enough for the readers' outputs.
struct Json {
  enum class Kind { Null, Bool, Number, String, Array, Object } kind = Kind::Null;
  std::string text;  // Number (as written), String, Bool ("true"/"false")
  std::vector<Json> items;
  std::vector<std::pair<std::string, Json>> members;
  const Json* Member(const std::string& name) const {
    for (const auto& [key, value] : members) {
      if (key == name) return &value;
    }
    return nullptr;
  }
};

class JsonParser {
 public:
  explicit JsonParser(const std::string& text) : text_(text) {}
  Json Parse() {
    Skip();
    Json value;
    char c = Peek();
    if (c == '{') {
      value.kind = Json::Kind::Object;
      ++at_;
      Skip();
      if (Peek() == '}') return ++at_, value;
      for (;;) {
        Skip();
        std::string key = String();
        Skip();
        Expect(':');
        value.members.emplace_back(key, Parse());
        Skip();
        if (Peek() == ',') {
          ++at_;
          continue;
        }
        Expect('}');
        return value;
      }
    }
    if (c == '[') {
      value.kind = Json::Kind::Array;
      ++at_;
      Skip();
      if (Peek() == ']') return ++at_, value;
      for (;;) {
        value.items.push_back(Parse());
        Skip();
        if (Peek() == ',') {
          ++at_;
          continue;
        }
        Expect(']');
        return value;
      }
    }
    if (c == '"') {
      value.kind = Json::Kind::String;
      value.text = String();
      return value;
    }
    if (text_.compare(at_, 4, "null") == 0) return at_ += 4, value;
    if (text_.compare(at_, 4, "true") == 0 || text_.compare(at_, 5, "false") == 0) {
      value.kind = Json::Kind::Bool;
      value.text = text_[at_] == 't' ? "true" : "false";
      at_ += value.text.size();
      return value;
    }
    value.kind = Json::Kind::Number;
    while (at_ < text_.size() && std::string("+-.0123456789eE").find(text_[at_]) != std::string::npos) {
      value.text += text_[at_++];
    }
    if (value.text.empty()) throw std::runtime_error("bad JSON at " + std::to_string(at_));
    return value;
  }

 private:
  char Peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  void Skip() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }
  void Expect(char c) {
    if (Peek() != c) throw std::runtime_error(std::string("JSON: expected ") + c + " at " + std::to_string(at_));
    ++at_;
  }
  std::string String() {
    Expect('"');
    std::string out;
    while (at_ < text_.size() && text_[at_] != '"') {
      char c = text_[at_++];
      if (c != '\\') {
        out += c;
        continue;
      }
      char e = text_[at_++];
      switch (e) {
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'u': {
          unsigned code = std::stoul(text_.substr(at_, 4), nullptr, 16);
          at_ += 4;
          if (code >= 0xD800 && code < 0xDC00 && text_.compare(at_, 2, "\\u") == 0) {
            unsigned low = std::stoul(text_.substr(at_ + 2, 4), nullptr, 16);
            if (low >= 0xDC00 && low < 0xE000) {
              code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
              at_ += 6;
            }
          }
          if (code >= 0xD800 && code < 0xE000) code = 0xFFFD;
          AppendUtf8(out, code);
          break;
        }
        default: out += e;
      }
    }
    Expect('"');
    return out;
  }
  const std::string& text_;
  std::size_t at_ = 0;
};

inline std::string DumpScript() { return std::string(QORVANE_SOURCE_DIR) + "/tools/mdb-reader/dump-table.mjs"; }

// What mdb-reader reads from TABLE of FILE: all rows, or LIMIT rows from row OFFSET on.
ReadTable ReadWithMdbReader(const std::string& file, const std::string& table, long offset = 0, long limit = -1);

// A value in the form the dump script prints.
Cell ScriptForm(const ColumnDefinition& column, const Value& value);

// What our engine reads from TABLE, in the dump script's forms.
ReadTable ReadWithEngine(const std::string& file, const std::string& table);

// mdb-json's rows: one map column -> text per row (numbers as written, null when absent).
std::vector<std::map<std::string, Cell>> ReadWithMdbJson(const std::string& file, const std::string& table);

// mdb-count's answer, or -1.
inline long MdbCount(const std::string& file, const std::string& table) {
  qorvane::test::RequireOracle(qorvane::test::Oracle::Mdbtools);
  std::string output = Run("mdb-count " + Quote(file) + " " + Quote(table));
  return output.empty() ? -1 : std::stol(output);
}

// Cells equal, numbers compared as numbers (the readers print them differently).
bool SameCell(const Cell& a, const Cell& b);

// Runs the shared structural checker (jetcheck.py) on FILE; its report goes to OUTPUT. True
// when it found nothing wrong.
bool Jetcheck(const std::string& file, std::string* output = nullptr);

// Our reading and mdb-reader's have the same stored row count, columns and rows, in any order
// (readers differ on where relocated rows come); WHERE names the table in failures.
void ExpectSameRows(ReadTable ours, ReadTable theirs, const std::string& where);

// Our reader, mdb-reader and mdbtools (mdb-count, mdb-json) see the same rows of TABLE.
void ExpectReadersAgree(const std::string& path, const std::string& table);

// Every real index of TABLE holds exactly the keys of its live rows, in a tree the index
// module's verifier accepts, and its usage map names exactly the tree's pages.
void ExpectIndexesMatchRows(const std::string& path, const std::string& table);

}  // namespace qorvane::jet::test
