// Code page tables built through glibc iconv, and the mark <-> code page mapping of FoxPro
// headers (including the dBase language-driver ids other writers leave in the same byte).
#include "foxpro/codepage.h"
#include "common/utf8.h"

#include <iconv.h>

#include <cerrno>
#include <vector>

#include "common/error.h"

namespace qorvane::foxpro {
namespace {

struct MarkEntry {
  std::uint8_t mark;
  int code_page;
};

// FoxPro's own marks first (the reverse mapping takes the first match), then dBase language
// driver ids that map to the same pages.
constexpr MarkEntry kMarks[] = {
    {0x01, 437},   {0x02, 850},   {0x03, 1252},  {0x04, 10000}, {0x64, 852},   {0x65, 866},
    {0x66, 865},   {0x67, 861},   {0x68, 895},   {0x69, 620},   {0x6A, 737},   {0x6B, 857},
    {0x78, 950},   {0x79, 949},   {0x7A, 936},   {0x7B, 932},   {0x7C, 874},   {0x7D, 1255},
    {0x7E, 1256},  {0x96, 10007}, {0x97, 10029}, {0x98, 10006}, {0xC8, 1250},  {0xC9, 1251},
    {0xCA, 1254},  {0xCB, 1253},  {0x08, 865},   {0x09, 437},   {0x0A, 850},   {0x0B, 437},
    {0x0D, 437},   {0x0E, 850},   {0x0F, 437},   {0x10, 850},   {0x11, 437},   {0x12, 850},
    {0x13, 932},   {0x14, 850},   {0x15, 437},   {0x16, 850},   {0x17, 865},   {0x18, 437},
    {0x19, 437},   {0x1A, 850},   {0x1B, 437},   {0x1C, 863},   {0x1D, 850},   {0x1F, 852},
    {0x22, 852},   {0x23, 852},   {0x24, 860},   {0x25, 850},   {0x26, 866},   {0x37, 850},
    {0x40, 852},   {0x4D, 936},   {0x4E, 949},   {0x4F, 950},   {0x50, 874},   {0x57, 1252},
    {0x58, 1252},  {0x59, 1252},
};

std::string IconvName(int code_page) {
  switch (code_page) {
    case 10000: return "MACINTOSH";
    case 10007: return "MAC-CYRILLIC";
    case 10029: return "MAC-CENTRALEUROPE";
    default: return "CP" + std::to_string(code_page);
  }
}

bool IsDoubleByte(int code_page) {
  return code_page == 932 || code_page == 936 || code_page == 949 || code_page == 950;
}

// Simple case mapping for the scripts FoxPro code pages hold (Latin, Greek, Cyrillic).
char32_t UpperOf(char32_t c) {
  if (c >= 'a' && c <= 'z') return c - 32;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  if (c == 0xFF) return 0x178;
  if (c >= 0x100 && c <= 0x137 && (c & 1)) return c - 1;
  if (c >= 0x139 && c <= 0x148 && !(c & 1)) return c - 1;
  if (c >= 0x14A && c <= 0x177 && (c & 1)) return c - 1;
  if (c >= 0x179 && c <= 0x17E && !(c & 1)) return c - 1;
  if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 32;
  if (c >= 0x430 && c <= 0x44F) return c - 32;
  if (c >= 0x450 && c <= 0x45F) return c - 80;
  return c;
}

char32_t LowerOf(char32_t c) {
  if (c >= 'A' && c <= 'Z') return c + 32;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
  if (c == 0x178) return 0xFF;
  if (c >= 0x100 && c <= 0x137 && !(c & 1)) return c + 1;
  if (c >= 0x139 && c <= 0x148 && (c & 1)) return c + 1;
  if (c >= 0x14A && c <= 0x177 && !(c & 1)) return c + 1;
  if (c >= 0x179 && c <= 0x17E && (c & 1)) return c + 1;
  if (c >= 0x391 && c <= 0x3A9 && c != 0x3A2) return c + 32;
  if (c >= 0x410 && c <= 0x42F) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}

class Iconv {
 public:
  Iconv(const std::string& to, const std::string& from) : handle_(::iconv_open(to.c_str(), from.c_str())) {}
  ~Iconv() {
    if (ok()) ::iconv_close(handle_);
  }
  bool ok() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
  // Converts all of input; false when iconv refuses any of it.
  bool Convert(std::string_view input, std::string& out) const {
    ::iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    std::vector<char> buffer(input.size() * 4 + 16);
    char* in = const_cast<char*>(input.data());
    std::size_t in_left = input.size();
    char* target = buffer.data();
    std::size_t out_left = buffer.size();
    std::size_t result = ::iconv(handle_, &in, &in_left, &target, &out_left);
    if (result == static_cast<std::size_t>(-1)) return false;
    if (::iconv(handle_, nullptr, nullptr, &target, &out_left) == static_cast<std::size_t>(-1)) return false;
    out.append(buffer.data(), static_cast<std::size_t>(target - buffer.data()));
    return true;
  }

 private:
  iconv_t handle_;
};

}  // namespace

struct CodePage::Converters {
  Iconv to_utf8;
  Iconv from_utf8;
  Converters(const std::string& name) : to_utf8("UTF-8", name), from_utf8(name, "UTF-8") {}
};

int CodePageFromMark(std::uint8_t mark) {
  for (const MarkEntry& entry : kMarks) {
    if (entry.mark == mark) return entry.code_page;
  }
  return 0;
}

std::uint8_t MarkFromCodePage(int code_page) {
  for (const MarkEntry& entry : kMarks) {
    if (entry.code_page == code_page) return entry.mark;
  }
  return 0;
}

CodePage::CodePage(int number) : number_(number), double_byte_(IsDoubleByte(number)) {
  const std::string name = IconvName(number);
  Iconv probe("UTF-8", name);
  if (!probe.ok()) {
    throw Error(ErrorKind::NotSupported,
                "code page " + std::to_string(number) + " is not supported by this system's iconv");
  }
  for (int byte = 0; byte < 256; ++byte) {
    std::string utf8;
    char input = static_cast<char>(byte);
    char32_t code_point = static_cast<char32_t>(byte);
    if (byte >= 0x80 && !double_byte_) {
      if (probe.Convert(std::string_view(&input, 1), utf8) && !utf8.empty()) {
        std::size_t position = 0;
        code_point = DecodeUtf8(utf8, position);
      } else {
        undefined_[byte] = true;
      }
    }
    utf8.clear();
    AppendUtf8(utf8, code_point);
    table_[byte].length = static_cast<std::uint8_t>(utf8.size());
    for (std::size_t i = 0; i < utf8.size(); ++i) table_[byte].bytes[i] = utf8[i];
    if (!double_byte_ && !reverse_.count(code_point)) reverse_[code_point] = static_cast<unsigned char>(byte);
  }
  for (int byte = 0; byte < 256; ++byte) {
    upper_[byte] = lower_[byte] = static_cast<unsigned char>(byte);
    if (double_byte_ && byte >= 0x80) continue;
    std::size_t position = 0;
    std::string_view utf8(table_[byte].bytes, table_[byte].length);
    char32_t c = DecodeUtf8(utf8, position);
    auto upper = reverse_.find(UpperOf(c));
    if (upper != reverse_.end()) upper_[byte] = upper->second;
    auto lower = reverse_.find(LowerOf(c));
    if (lower != reverse_.end()) lower_[byte] = lower->second;
  }
  if (double_byte_) converters_ = std::make_unique<Converters>(name);
}

CodePage::~CodePage() = default;

bool CodePage::Decode(std::string_view bytes, std::string& out) const {
  if (double_byte_) {
    const std::size_t start = out.size();
    if (converters_->to_utf8.Convert(bytes, out)) return true;
    // A broken double-byte sequence: keep each byte as its Latin-1 character.
    out.resize(start);
    for (unsigned char c : bytes) AppendUtf8(out, c);
    return false;
  }
  out.reserve(out.size() + bytes.size());
  bool defined = true;
  std::size_t run_start = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (c < 0x80) continue;
    out.append(bytes.data() + run_start, i - run_start);
    out.append(table_[c].bytes, table_[c].length);
    defined = defined && !undefined_[c];
    run_start = i + 1;
  }
  out.append(bytes.data() + run_start, bytes.size() - run_start);
  return defined;
}

std::string CodePage::Decode(std::string_view bytes) const {
  std::string out;
  Decode(bytes, out);
  return out;
}

std::optional<std::string> CodePage::Encode(std::string_view utf8) const {
  std::string out;
  if (double_byte_) {
    if (!converters_->from_utf8.Convert(utf8, out)) return std::nullopt;
    return out;
  }
  out.reserve(utf8.size());
  std::size_t position = 0;
  while (position < utf8.size()) {
    unsigned char c = static_cast<unsigned char>(utf8[position]);
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
      ++position;
      continue;
    }
    char32_t code_point = DecodeUtf8(utf8, position);
    auto found = reverse_.find(code_point);
    if (found == reverse_.end()) return std::nullopt;
    out.push_back(static_cast<char>(found->second));
  }
  return out;
}

}  // namespace qorvane::foxpro
