// Command-line words to check boxes (see choices.h).
#include "cli/choices.h"

#include "app/steps.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace qorvane::cli {
namespace {

// A word of one list (--steps, --clear, --massage) and the check box it sets, read from the
// run's step tables.
struct Word {
  const char* word;
  app::CheckBox check_box;
  const char* alias = nullptr;  // the window's caption word for the same box, accepted too
};

template <typename Entries>
std::vector<Word> WordsOf(const Entries& entries) {
  std::vector<Word> words;
  for (const auto& entry : entries) {
    if constexpr (requires { entry.caption_word; }) {
      words.push_back({entry.word, entry.check_box, entry.caption_word});
    } else {
      words.push_back({entry.word, entry.check_box});
    }
  }
  return words;
}

bool Names(const Word& word, const std::string& item) {
  return item == word.word || (word.alias != nullptr && item == word.alias);
}

const std::vector<Word>& StepList() {
  static const std::vector<Word> words = WordsOf(app::ConversionSteps());
  return words;
}
const std::vector<Word>& ClearList() {
  static const std::vector<Word> words = WordsOf(app::ClearChoices());
  return words;
}
const std::vector<Word>& MassageList() {
  static const std::vector<Word> words = WordsOf(app::MassageSteps());
  return words;
}

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> items;
  std::stringstream stream(text);
  std::string item;
  while (std::getline(stream, item, ',')) {
    std::string word;
    for (char c : item) {
      if (!std::isspace(static_cast<unsigned char>(c))) word += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (!word.empty()) items.push_back(word);
  }
  return items;
}

std::string Words(const std::vector<Word>& words) {
  std::string text;
  for (const Word& word : words) {
    text += (text.empty() ? "" : ", ") + std::string(word.word);
    if (word.alias) text += std::string(" (or ") + word.alias + ")";
  }
  return text;
}

// Sets every box of WORDS from LIST ("all", "none" or words); returns any number of boxes set.
std::optional<std::string> ApplyList(const std::string& option, const std::string& list,
                                     const std::vector<Word>& words, app::FormModel& form,
                                     int* set_count) {
  std::vector<std::string> items = SplitList(list);
  bool all = items.size() == 1 && items[0] == "all";
  bool none = items.empty() || (items.size() == 1 && items[0] == "none");
  for (const std::string& item : items) {
    if (all || none) break;
    bool known = false;
    for (const Word& word : words) known = known || Names(word, item);
    if (!known) {
      return "--" + option + ": unknown name '" + item + "' (use all, none, or " + Words(words) + ")";
    }
  }
  *set_count = 0;
  for (const Word& word : words) {
    bool checked = all;
    if (!all && !none) {
      for (const std::string& item : items) checked = checked || Names(word, item);
    }
    form.SetCheck(word.check_box, checked);
    *set_count += checked ? 1 : 0;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> ApplyChoices(const ConvertChoices& choices, app::FormModel& form) {
  int count = 0;
  if (auto error = ApplyList("steps", choices.steps, StepList(), form, &count)) return error;
  if (auto error = ApplyList("clear", choices.clear, ClearList(), form, &count)) return error;
  if (auto error = ApplyList("massage", choices.massage, MassageList(), form, &count)) return error;
  form.SetCheck(app::CheckBox::ckbMassage, count > 0);
  form.SetCheck(app::CheckBox::ckbPrelim, choices.prelim);
  form.SetCheck(app::CheckBox::ckbViewLog, choices.view_log);
  form.lstfilenum.clear();
  std::stringstream stream(choices.files);
  std::string number;
  while (std::getline(stream, number, ',')) {
    std::size_t first = number.find_first_not_of(" \t");
    if (first == std::string::npos) continue;
    std::size_t last = number.find_last_not_of(" \t");
    std::string trimmed = number.substr(first, last - first + 1);
    // A number listed twice is converted once.
    if (std::find(form.lstfilenum.begin(), form.lstfilenum.end(), trimmed) == form.lstfilenum.end()) {
      form.lstfilenum.push_back(trimmed);
    }
  }
  return std::nullopt;
}

std::optional<std::string> CheckFileNumbers(const std::vector<std::string>& numbers) {
  constexpr std::size_t kLongest = 8;  // the key is the number, "-A" and blanks in 10 characters
  for (const std::string& number : numbers) {
    bool digit = std::any_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (number.size() > kLongest || number.find_first_of(" \t") != std::string::npos || !digit) {
      return "'" + number + "' is not a file number (file numbers hold digits, as 95-0003 or 1001: at most 8 "
             "characters, no blanks)";
    }
  }
  return std::nullopt;
}

std::string StepWords() { return Words(StepList()); }
std::string ClearWords() { return Words(ClearList()); }
std::string MassageWords() { return Words(MassageList()); }

}  // namespace qorvane::cli
