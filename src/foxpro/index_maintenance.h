// Keeping a table's structural .cdx true to its records: the keys each tag should hold
// (evaluated from the table), a verifier that compares every tag with them, and the rebuild
// that follows a write-back. Tags whose expressions do not read a changed field keep their
// stored keys; the others are evaluated afresh, and a tag that cannot be (an expression the
// evaluator does not know, a collation other than MACHINE, a descending or Visual FoxPro null-
// marker tag) stops the write-back before anything is written.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "foxpro/cdx.h"
#include "foxpro/table.h"

namespace qorvane::foxpro {

struct IndexCheck {
  std::vector<std::string> problems;   // keys that differ from the table, broken order or pages
  std::vector<std::string> unchecked;  // tags the verifier cannot evaluate, with the reason
  bool ok() const { return problems.empty(); }
};

// Walks every tag of index and compares it with the table's records.
IndexCheck VerifyIndex(const Table& table, const CompoundIndex& index);

// Throws qorvane::Error (NotSupported) naming the table, the tag and its expression when a
// tag that reads any of changed_fields cannot be rebuilt.
void CheckIndexRebuildable(const Table& table, const CompoundIndex& index,
                           const std::vector<std::size_t>& changed_fields);

// A new .cdx for the table's current records: tags reading changed_fields re-evaluated, the
// others copied key for key. Throws like CheckIndexRebuildable.
std::vector<std::byte> RebuildIndex(const Table& table, const CompoundIndex& index,
                                    const std::vector<std::size_t>& changed_fields);

// A new .cdx for the table's current records with every tag evaluated afresh: how an index
// that no longer agrees with its table is mended. Throws like CheckIndexRebuildable.
std::vector<std::byte> RebuildWholeIndex(const Table& table, const CompoundIndex& index);

// Writes BYTES as the index at PATH: into PATH.qorvane-new, synced, renamed over PATH, and the
// folder synced, so that PATH is the old index or the new one whole, whenever the run stops.
void ReplaceIndexFile(const std::string& path, std::span<const std::byte> bytes);

// A tag's definition for a new index (BuildIndexFromTable): name, key and FOR expressions.
struct TagDefinition {
  std::string name;
  std::string key_expression;
  std::string for_expression;
  bool unique = false;
};
// A whole .cdx computed from the table's records. Throws NotSupported for an expression the
// evaluator does not know.
std::vector<std::byte> BuildIndexFromTable(const Table& table, const std::vector<TagDefinition>& tags);

}  // namespace qorvane::foxpro
