// Tag keys from records, the index verifier and the rebuild.
#include "foxpro/index_maintenance.h"

#include <algorithm>
#include <optional>

#include "common/error.h"
#include "common/os.h"
#include "foxpro/expression.h"
#include "foxpro/format.h"

namespace qorvane::foxpro {
namespace {

std::string UpperAscii(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

// A tag ready to evaluate: its parsed expressions.
struct CompiledTag {
  const IndexTag* tag;
  Expression key;
  std::optional<Expression> filter;
  unsigned char pad;
};

unsigned char PadFor(ExpressionValue::Type type) {
  return type == ExpressionValue::Type::Character || type == ExpressionValue::Type::Logical ? ' ' : '\0';
}

// Why a tag cannot be evaluated by this program, or empty when it can.
std::string Unsupported(const IndexTag& tag) {
  if (!tag.collation.empty()) return "it uses the collation " + tag.collation + " (only MACHINE is supported)";
  if (tag.descending) return "it is a descending tag";
  if (tag.options & format::kTagOptionNullableKeys) return "its keys carry Visual FoxPro null markers";
  return "";
}

CompiledTag Compile(const Table& table, const IndexTag& tag) {
  std::string reason = Unsupported(tag);
  if (!reason.empty()) throw Error(ErrorKind::NotSupported, reason);
  CompiledTag compiled{&tag, Expression::Parse(tag.key_expression, table), std::nullopt, ' '};
  if (!tag.for_expression.empty()) {
    compiled.filter = Expression::Parse(tag.for_expression, table);
    if (compiled.filter->type() != ExpressionValue::Type::Logical) {
      throw Error(ErrorKind::NotSupported, "the FOR expression is not a logical value");
    }
  }
  compiled.pad = PadFor(compiled.key.type());
  return compiled;
}

// Keys of several tags, in one walk over the table.
std::vector<std::vector<IndexEntry>> ComputeEntries(const Table& table, const std::vector<CompiledTag>& tags) {
  std::vector<std::vector<IndexEntry>> result(tags.size());
  for (std::uint32_t record = 0; record < table.record_count(); ++record) {
    auto bytes = table.RecordBytes(record);
    for (std::size_t t = 0; t < tags.size(); ++t) {
      const CompiledTag& tag = tags[t];
      if (tag.filter && !tag.filter->Evaluate(bytes).logical) continue;
      result[t].push_back({EncodeIndexKey(tag.key.Evaluate(bytes), tag.tag->key_length), record + 1});
    }
  }
  for (std::size_t t = 0; t < tags.size(); ++t) {
    auto& entries = result[t];
    // Sorted by (key, record), which orders every entry as records are distinct. The sort moves
    // small items (the first eight key bytes and the entry's place) rather than the entries, and
    // a tag whose keys come in record order already costs one pass.
    struct SortItem {
      std::uint64_t prefix;
      std::uint32_t place;
    };
    std::vector<SortItem> order(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const std::string& key = entries[i].key;
      std::uint64_t prefix = 0;
      for (std::size_t b = 0; b < 8; ++b) prefix = (prefix << 8) | (b < key.size() ? static_cast<unsigned char>(key[b]) : 0u);
      order[i] = {prefix, static_cast<std::uint32_t>(i)};
    }
    auto item_less = [&entries](const SortItem& a, const SortItem& b) {
      const IndexEntry& left = entries[a.place];
      const IndexEntry& right = entries[b.place];
      // Equal prefixes, or a key shorter than eight bytes, fall back to the whole key.
      if (a.prefix != b.prefix && left.key.size() >= 8 && right.key.size() >= 8) return a.prefix < b.prefix;
      int compared = left.key.compare(right.key);
      return compared != 0 ? compared < 0 : left.record < right.record;
    };
    if (!std::is_sorted(order.begin(), order.end(), item_less)) {
      std::sort(order.begin(), order.end(), item_less);
      std::vector<IndexEntry> sorted;
      sorted.reserve(entries.size());
      for (const SortItem& item : order) sorted.push_back(std::move(entries[item.place]));
      entries = std::move(sorted);
    }
    if (tags[t].tag->unique()) {
      entries.erase(std::unique(entries.begin(), entries.end(),
                                [](const IndexEntry& a, const IndexEntry& b) { return a.key == b.key; }),
                    entries.end());
    }
  }
  return result;
}

// Whether a tag reads one of the fields: by its parsed expressions, or when they cannot be
// parsed, by the field name appearing as a word in their text.
bool ReadsAny(const Table& table, const IndexTag& tag, const std::vector<std::size_t>& fields) {
  for (const std::string* text : {&tag.key_expression, &tag.for_expression}) {
    if (text->empty()) continue;
    try {
      Expression expression = Expression::Parse(*text, table);
      for (std::size_t field : expression.fields()) {
        if (std::find(fields.begin(), fields.end(), field) != fields.end()) return true;
      }
    } catch (const Error&) {
      std::string upper = UpperAscii(*text);
      for (std::size_t field : fields) {
        std::string name = UpperAscii(table.fields()[field].name);
        for (std::size_t at = upper.find(name); at != std::string::npos; at = upper.find(name, at + 1)) {
          auto word = [&](std::size_t i) { return i < upper.size() && (std::isalnum(static_cast<unsigned char>(upper[i])) || upper[i] == '_'); };
          if ((at == 0 || !word(at - 1)) && !word(at + name.size())) return true;
        }
      }
    }
  }
  return false;
}

std::string Describe(const std::string& key) {
  std::string text;
  bool printable = std::all_of(key.begin(), key.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x20; });
  if (printable) return "'" + key + "'";
  static const char kHex[] = "0123456789ABCDEF";
  for (unsigned char c : key) {
    text.push_back(kHex[c >> 4]);
    text.push_back(kHex[c & 15]);
  }
  return "0x" + text;
}

}  // namespace

IndexCheck VerifyIndex(const Table& table, const CompoundIndex& index) {
  IndexCheck check;
  std::vector<CompiledTag> compiled;
  for (const IndexTag& tag : index.tags()) {
    try {
      compiled.push_back(Compile(table, tag));
    } catch (const Error& error) {
      check.unchecked.push_back(index.name() + ": tag " + tag.name + " (" + tag.key_expression + "): " + error.what());
    }
  }
  auto expected = ComputeEntries(table, compiled);
  for (std::size_t t = 0; t < compiled.size(); ++t) {
    const IndexTag& tag = *compiled[t].tag;
    const std::string where = index.name() + ": tag " + tag.name + ": ";
    std::vector<IndexEntry> stored;
    try {
      stored = index.ReadTag(tag, compiled[t].pad);
    } catch (const Error& error) {
      check.problems.push_back(error.what());
      continue;
    }
    bool in_order = true;
    for (std::size_t i = 1; i < stored.size(); ++i) {
      const IndexEntry& a = stored[i - 1];
      const IndexEntry& b = stored[i];
      int compared = a.key.compare(b.key);
      if (compared > 0 || (compared == 0 && a.record >= b.record)) {
        in_order = false;
        check.problems.push_back(where + "key " + Describe(b.key) + " of record " + std::to_string(b.record) +
                                 " is out of order after " + Describe(a.key));
      }
    }
    // A tag in order is compared as it is; only one out of order is sorted first.
    std::vector<IndexEntry> sorted;
    if (!in_order) {
      sorted = stored;
      std::sort(sorted.begin(), sorted.end(), [](const IndexEntry& a, const IndexEntry& b) {
        return a.key != b.key ? a.key < b.key : a.record < b.record;
      });
    }
    const std::vector<IndexEntry>& compared = in_order ? stored : sorted;
    if (compared != expected[t]) {
      check.problems.push_back(where + "holds " + std::to_string(stored.size()) + " keys where the table gives " +
                               std::to_string(expected[t].size()));
      std::vector<IndexEntry> missing, extra;
      std::set_difference(expected[t].begin(), expected[t].end(), compared.begin(), compared.end(), std::back_inserter(missing),
                          [](const IndexEntry& a, const IndexEntry& b) { return a.key != b.key ? a.key < b.key : a.record < b.record; });
      std::set_difference(compared.begin(), compared.end(), expected[t].begin(), expected[t].end(), std::back_inserter(extra),
                          [](const IndexEntry& a, const IndexEntry& b) { return a.key != b.key ? a.key < b.key : a.record < b.record; });
      for (std::size_t i = 0; i < missing.size() && i < 5; ++i) {
        check.problems.push_back(where + "record " + std::to_string(missing[i].record) + " should have the key " +
                                 Describe(missing[i].key) + " but the tag lacks it");
      }
      for (std::size_t i = 0; i < extra.size() && i < 5; ++i) {
        check.problems.push_back(where + "the key " + Describe(extra[i].key) + " of record " +
                                 std::to_string(extra[i].record) + " does not match the table");
      }
    }
  }
  return check;
}

void CheckIndexRebuildable(const Table& table, const CompoundIndex& index, const std::vector<std::size_t>& changed_fields) {
  for (const IndexTag& tag : index.tags()) {
    if (!ReadsAny(table, tag, changed_fields)) continue;
    try {
      Compile(table, tag);
    } catch (const Error& error) {
      std::string expression = tag.key_expression + (tag.for_expression.empty() ? "" : " FOR " + tag.for_expression);
      throw Error(ErrorKind::NotSupported, table.name() + ": the index tag " + tag.name + " (" + expression +
                                               ") of " + index.name() + " cannot be rebuilt: " + error.what() +
                                               "; the table is left unchanged");
    }
  }
}

std::vector<std::byte> RebuildIndex(const Table& table, const CompoundIndex& index,
                                    const std::vector<std::size_t>& changed_fields) {
  CheckIndexRebuildable(table, index, changed_fields);
  std::vector<TagContent> contents;
  std::vector<CompiledTag> affected;
  std::vector<std::size_t> affected_slots;
  for (const IndexTag& tag : index.tags()) {
    TagContent content;
    content.tag = tag;
    if (ReadsAny(table, tag, changed_fields)) {
      affected.push_back(Compile(table, tag));
      affected_slots.push_back(contents.size());
      content.pad = affected.back().pad;
    } else {
      // Untouched tags keep their keys; the pad only matters for decoding, so take it from the
      // expression when it parses, else assume character keys.
      try {
        content.pad = PadFor(Expression::Parse(tag.key_expression, table).type());
      } catch (const Error&) {
        content.pad = ' ';
      }
      content.entries = index.ReadTag(tag, content.pad);
    }
    contents.push_back(std::move(content));
  }
  auto entries = ComputeEntries(table, affected);
  for (std::size_t i = 0; i < affected.size(); ++i) contents[affected_slots[i]].entries = std::move(entries[i]);
  return BuildCompoundIndex(contents);
}

std::vector<std::byte> RebuildWholeIndex(const Table& table, const CompoundIndex& index) {
  std::vector<std::size_t> every_field(table.fields().size());
  for (std::size_t i = 0; i < every_field.size(); ++i) every_field[i] = i;
  return RebuildIndex(table, index, every_field);
}

void ReplaceIndexFile(const std::string& path, std::span<const std::byte> bytes) {
  std::string temporary = path + ".qorvane-new";
  try {
    os::WriteWholeFile(temporary, bytes);
    os::Rename(temporary, path);
  } catch (const Error&) {
    os::RemoveFile(temporary);
    throw;
  }
  auto slash = path.rfind('/');
  os::SyncDirectory(slash == std::string::npos ? "." : path.substr(0, slash));
}

std::vector<std::byte> BuildIndexFromTable(const Table& table, const std::vector<TagDefinition>& definitions) {
  std::vector<IndexTag> tags;
  for (const TagDefinition& definition : definitions) {
    IndexTag tag;
    tag.name = UpperAscii(definition.name);
    tag.key_expression = definition.key_expression;
    tag.for_expression = definition.for_expression;
    tag.options = definition.unique ? format::kTagOptionUnique : 0;
    tags.push_back(tag);
  }
  std::vector<CompiledTag> compiled;
  for (IndexTag& tag : tags) {
    Expression key = Expression::Parse(tag.key_expression, table);
    // The key length is the length of the key's value: a character expression is measured on
    // a blank record (field lengths do not depend on the contents).
    std::size_t length = 8;
    if (key.type() == ExpressionValue::Type::Logical) length = 1;
    if (key.type() == ExpressionValue::Type::Character) {
      std::vector<std::byte> blank(table.header().record_length, std::byte{' '});
      length = key.Evaluate(blank).bytes.size();
    }
    if (length == 0 || length > format::kMaxKeyLength) {
      throw Error(ErrorKind::NotSupported, "the index expression \"" + tag.key_expression + "\" gives keys of " +
                                               std::to_string(length) + " bytes (1-240 are possible)");
    }
    tag.key_length = static_cast<std::uint16_t>(length);
  }
  for (IndexTag& tag : tags) compiled.push_back(Compile(table, tag));
  auto entries = ComputeEntries(table, compiled);
  std::vector<TagContent> contents;
  for (std::size_t i = 0; i < tags.size(); ++i) contents.push_back({tags[i], compiled[i].pad, std::move(entries[i])});
  return BuildCompoundIndex(contents);
}

}  // namespace qorvane::foxpro
