// Path and file helpers of the conversion: the trailing-separator rules, the "is this data file
// there" tests, and the split of a full file name. On Linux the separator is '/', so the
// trailing backslash of the old program becomes a trailing slash here.
#pragma once

#include <string>

namespace qorvane::app {

inline constexpr char kPathSeparator = '/';

// Trims blanks on both sides (the blanks of a text box: spaces and tabs).
std::string Trim(const std::string& text);

// Returns the trimmed path; when it is not empty and does not end in the separator, PATH itself
// becomes the trimmed path plus one separator. A path of blanks returns "" and stays as it was.
std::string CkRSlash(std::string& path);
// Trims PATH; when it is not empty and ends in the separator, removes that one final character.
void RemoveRSlash(std::string& path);
// As RemoveRSlash, and returns the result.
std::string StripRChar(std::string& path);

// True only when the file is there and at least 1 byte long: an empty file counts as missing.
// The file-name part is matched without regard to case, as the data comes from Windows.
bool FileExists(const std::string& full_name);
// As FileExists, and also false when the directory part or the file-name part is empty.
bool FilePathExists(const std::string& full_name);

struct ParsedFileName {
  std::string directory;  // up to and including the last separator ("" when there is none)
  std::string file_name;  // the rest, extension included
  std::string base_name;  // file_name without its extension
  std::string extension;  // without the dot ("" when there is none)
};
ParsedFileName ParseFileName(const std::string& full_name);

// The path of NAME inside DIR as spelled on disk (found without regard to case), or DIR/NAME.
std::string ResolveInDirectory(const std::string& dir, const std::string& name);

}  // namespace qorvane::app
