// INI files, settings tags and the settings directory (see settings.h).
#include "app/settings.h"

#include <unistd.h>

#include <cstdlib>
#include <map>
#include <string_view>
#include <vector>

#include "app/paths.h"
#include "common/os.h"

namespace qorvane::app {
namespace {

bool SameNoCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// The lines of a settings file; a file that is not there has none.
std::vector<std::string> ReadLines(const std::string& path) {
  std::vector<std::string> lines;
  if (!os::IsRegularFile(path)) return lines;
  std::vector<std::byte> bytes = os::ReadWholeFile(path);
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  while (!text.empty()) {
    std::size_t end = text.find('\n');
    std::string line(text.substr(0, end));
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

// The section name of a "[name]" line, or nullopt.
std::optional<std::string> SectionOf(const std::string& line) {
  std::string trimmed = Trim(line);
  if (trimmed.size() >= 2 && trimmed.front() == '[' && trimmed.back() == ']') {
    return Trim(trimmed.substr(1, trimmed.size() - 2));
  }
  return std::nullopt;
}

// The key of a "key=value" line, or nullopt.
std::optional<std::string> KeyOf(const std::string& line, std::string* value) {
  std::string trimmed = Trim(line);
  if (trimmed.empty() || trimmed[0] == ';') return std::nullopt;
  std::size_t equals = trimmed.find('=');
  if (equals == std::string::npos) return std::nullopt;
  if (value) *value = Trim(trimmed.substr(equals + 1));
  return Trim(trimmed.substr(0, equals));
}

}  // namespace

std::string ReadProfileString(const std::string& path, const std::string& section,
                              const std::string& key, const std::string& default_value) {
  bool in_section = false;
  for (const std::string& line : ReadLines(path)) {
    if (auto name = SectionOf(line)) {
      in_section = SameNoCase(*name, section);
      continue;
    }
    std::string value;
    if (in_section) {
      if (auto found = KeyOf(line, &value); found && SameNoCase(*found, key)) {
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
          value = value.substr(1, value.size() - 2);
        }
        return value;
      }
    }
  }
  return default_value;
}

namespace {

// Sets KEY=VALUE of SECTION in LINES, replacing the key's line or adding the section or key.
void SetProfileLine(std::vector<std::string>& lines, const std::string& section,
                    const std::string& key, const std::string& value) {
  std::string new_line = key + "=" + value;
  bool in_section = false;
  bool written = false;
  std::ptrdiff_t section_end = -1;  // index after the last line of the wanted section
  for (std::size_t i = 0; i < lines.size() && !written; ++i) {
    if (auto name = SectionOf(lines[i])) {
      in_section = SameNoCase(*name, section);
      if (in_section) section_end = static_cast<std::ptrdiff_t>(i) + 1;
      continue;
    }
    if (!in_section) continue;
    if (!Trim(lines[i]).empty()) section_end = static_cast<std::ptrdiff_t>(i) + 1;
    if (auto found = KeyOf(lines[i], nullptr); found && SameNoCase(*found, key)) {
      lines[i] = new_line;
      written = true;
    }
  }
  if (!written) {
    if (section_end >= 0) {
      lines.insert(lines.begin() + section_end, new_line);
    } else {
      if (!lines.empty() && !Trim(lines.back()).empty()) lines.push_back("");
      lines.push_back("[" + section + "]");
      lines.push_back(new_line);
    }
  }
}

void SaveLines(const std::string& path, const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  std::string temporary = path + ".new";
  os::WriteWholeFile(temporary, std::as_bytes(std::span<const char>(text.data(), text.size())));
  os::Rename(temporary, path);
}

}  // namespace

void WriteProfileString(const std::string& path, const std::string& section,
                        const std::string& key, const std::string& value) {
  std::vector<std::string> lines = ReadLines(path);
  SetProfileLine(lines, section, key, value);
  SaveLines(path, lines);
}

void WriteProfileStrings(const std::string& path, const std::vector<ProfileEntry>& entries) {
  std::vector<std::string> lines = ReadLines(path);
  for (const ProfileEntry& entry : entries) SetProfileLine(lines, entry.section, entry.key, entry.value);
  SaveLines(path, lines);
}

std::optional<SettingTag> SettingTag::Parse(const std::string& tag) {
  SettingTag parsed;
  std::size_t start = 0;
  if (!tag.empty() && tag[0] == '<') {
    std::size_t close = tag.find('>');
    if (close == std::string::npos) return std::nullopt;
    parsed.directory_token = tag.substr(0, close + 1);
    start = close + 1;
  }
  std::size_t open = tag.find('[', start);
  std::size_t close = tag.find(']', open == std::string::npos ? start : open);
  std::size_t bar = tag.find('|', close == std::string::npos ? start : close);
  if (open == std::string::npos || close == std::string::npos || bar == std::string::npos) {
    return std::nullopt;
  }
  parsed.file_name = tag.substr(start, open - start);
  parsed.section = tag.substr(open + 1, close - open - 1);
  parsed.key = tag.substr(close + 1, bar - close - 1);
  parsed.default_value = tag.substr(bar + 1);
  if (parsed.file_name.empty() || parsed.key.empty()) return std::nullopt;
  return parsed;
}

Settings Settings::FormInit(const std::optional<std::string>& settings_option) {
  std::string directory;
  if (settings_option && !settings_option->empty()) {
    directory = *settings_option;
  } else if (const char* env = std::getenv("QORVANE_SETTINGS_DIR"); env && *env) {
    directory = env;
  } else if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
    directory = std::string(xdg) + "/qorvane";
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    directory = std::string(home) + "/.config/qorvane";
  } else {
    directory = ".";
  }
  CkRSlash(directory);
  return Settings(directory, InstallDirectory());
}

Settings::Settings(std::string directory, std::string install_directory)
    : directory_(std::move(directory)), install_directory_(std::move(install_directory)) {
  CkRSlash(directory_);
}

std::string Settings::ConverterFile() const {
  return ResolveInDirectory(directory_, kConverterSettingsFile);
}

std::string Settings::TargetProgramFile() const {
  return ResolveInDirectory(directory_, kTargetSettingsFile);
}

std::string Settings::FileOf(const SettingTag& tag) const {
  const std::string& dir = tag.directory_token == "<APPDIR>" ? install_directory_ : directory_;
  return ResolveInDirectory(dir, tag.file_name);
}

std::string Settings::Read(const std::string& tag) const {
  auto parsed = SettingTag::Parse(tag);
  if (!parsed) return "";
  return ReadProfileString(FileOf(*parsed), parsed->section, parsed->key, parsed->default_value);
}

void Settings::Write(const std::string& tag, const std::string& value) const {
  WriteMany({{tag, value}});
}

void Settings::WriteMany(const std::vector<std::pair<std::string, std::string>>& tagged_values) const {
  std::map<std::string, std::vector<ProfileEntry>> by_file;
  for (const auto& [tag, value] : tagged_values) {
    auto parsed = SettingTag::Parse(tag);
    if (!parsed) continue;
    by_file[FileOf(*parsed)].push_back({parsed->section, parsed->key, value});
  }
  if (by_file.empty()) return;
  MakeFolders(directory_);  // a fresh account has no ~/.config/qorvane (nor ~/.config)
  for (const auto& [file, entries] : by_file) WriteProfileStrings(file, entries);
}

void MakeFolders(const std::string& folder) {
  std::string path = Trim(folder);
  RemoveRSlash(path);
  if (path.empty() || os::IsDirectory(path)) return;
  std::size_t parent = path.rfind(kPathSeparator);
  if (parent != std::string::npos && parent > 0) MakeFolders(path.substr(0, parent));
  os::MakeDirectory(path);
}

std::string InstallDirectory() {
  std::string buffer(4096, '\0');
  ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
  if (length <= 0) return "./";
  buffer.resize(static_cast<std::size_t>(length));
  return ParseFileName(buffer).directory;
}

}  // namespace qorvane::app
