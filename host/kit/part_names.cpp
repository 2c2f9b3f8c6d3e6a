#include "host/kit/part_names.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "host/kit/encoded_words.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

struct Parameter {
  std::string name;  // in lower case, as in "filename*0*"
  std::string value;
};

constexpr std::string_view kBlanks = " \t\r\n";

// Takes a quoted string off the head of the text; one that is never closed reaches to the end.
std::string TakeQuoted(std::string_view* text) {
  std::string value;
  std::size_t at = 1;
  for (; at < text->size() && (*text)[at] != '"'; ++at) {
    if ((*text)[at] == '\\' && at + 1 < text->size()) {
      ++at;
    }
    value += (*text)[at];
  }
  text->remove_prefix(std::min(at + 1, text->size()));
  return value;
}

// Takes what stands in front of the next of these characters.
std::string_view TakeUpTo(std::string_view* text, std::string_view stops) {
  const std::string_view taken = text->substr(0, text->find_first_of(stops));
  text->remove_prefix(taken.size());
  return taken;
}

std::string TakeValue(std::string_view* text) {
  text->remove_prefix(std::min(text->find_first_not_of(kBlanks), text->size()));
  return text->starts_with('"') ? TakeQuoted(text) : std::string(Trim(TakeUpTo(text, ";")));
}

std::vector<Parameter> ParametersOf(std::string_view text) {
  std::vector<Parameter> parameters;
  while (!text.empty()) {
    std::string name = Lower(Trim(TakeUpTo(&text, ";=\"")));
    if (text.starts_with('=')) {
      text.remove_prefix(1);
      parameters.push_back({std::move(name), TakeValue(&text)});
    } else if (text.starts_with('"')) {
      TakeQuoted(&text);  // part of no parameter
    } else {
      text.remove_prefix(std::min<std::size_t>(1, text.size()));
    }
  }
  return parameters;
}

int HexDigit(char digit) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t value = kDigits.find(Lower(std::string_view(&digit, 1)));
  return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

std::string WithoutPercents(std::string_view text) {
  std::string bytes;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const int high = text[at] == '%' && at + 2 < text.size() ? HexDigit(text[at + 1]) : -1;
    const int low = high < 0 ? -1 : HexDigit(text[at + 2]);
    if (low < 0) {
      bytes += text[at];
    } else {
      bytes += static_cast<char>(high * 16 + low);
      at += 2;
    }
  }
  return bytes;
}

// The pieces of one extended parameter: "name*" alone, or "name*0", "name*1*" ...
class ExtendedName {
 public:
  //   suffix  what stands behind the parameter's name, from the first '*' on
  void Add(std::string_view suffix, std::string_view value) {
    const bool isEncoded = suffix.ends_with('*');
    const std::string_view number = suffix.substr(1, suffix.find('*', 1) - 1);
    std::size_t index = 0;
    for (const char digit : number.substr(0, kMostDigits)) {
      index = index * 10 + static_cast<std::size_t>(digit - '0');
    }
    pieces_.emplace(index, std::pair{isEncoded, value});
  }

  std::optional<std::string> Joined() const {
    if (pieces_.empty()) {
      return std::nullopt;
    }
    std::string charset;
    std::string bytes;
    for (const auto& [index, piece] : pieces_) {
      std::string_view text = piece.second;
      if (index == 0 && piece.first) {
        charset = TakeCharset(&text);
      }
      bytes += piece.first ? WithoutPercents(text) : std::string(text);
    }
    return IsUtf8(bytes) && charset.empty() ? bytes : TextInUtf8(charset, bytes).value_or(bytes);
  }

 private:
  static constexpr std::size_t kMostDigits = 6;

  // Takes the charset and the language off the head, "utf-8'en'".
  static std::string TakeCharset(std::string_view* text) {
    const std::size_t first = text->find('\'');
    const std::size_t second =
        first == std::string_view::npos ? first : text->find('\'', first + 1);
    if (second == std::string_view::npos) {
      return {};
    }
    std::string charset(text->substr(0, first));
    text->remove_prefix(second + 1);
    return charset;
  }

  std::map<std::size_t, std::pair<bool, std::string_view>> pieces_;
};

void AddName(std::string name, std::vector<std::string>* names) {
  if (!name.empty() && std::find(names->begin(), names->end(), name) == names->end()) {
    names->push_back(std::move(name));
  }
}

// Whether it is an extended form: "*", "*1" or "*1*".
bool IsExtension(std::string_view suffix) {
  if (!suffix.starts_with('*')) {
    return false;
  }
  suffix.remove_prefix(1);
  if (suffix.ends_with('*')) {
    suffix.remove_suffix(1);
  }
  return suffix.find_first_not_of("0123456789") == std::string_view::npos;
}

void AddNames(std::string_view value, std::string_view lowerName, std::vector<std::string>* names) {
  const std::vector<Parameter> parameters = ParametersOf(value);
  ExtendedName whole;
  ExtendedName pieces;
  for (const Parameter& parameter : parameters) {
    if (parameter.name.starts_with(lowerName)) {
      const std::string_view suffix = std::string_view(parameter.name).substr(lowerName.size());
      if (IsExtension(suffix)) {
        (suffix == "*" ? whole : pieces).Add(suffix, parameter.value);
      }
    }
  }
  AddName(whole.Joined().value_or(""), names);
  AddName(pieces.Joined().value_or(""), names);
  for (const Parameter& parameter : parameters) {
    if (parameter.name == lowerName) {
      AddName(WordsInUtf8(parameter.value), names);
    }
  }
}

}  // namespace

std::vector<std::string> NamesInFields(const std::vector<HeaderField>& fields) {
  constexpr std::array<std::string_view, 2> kFields = {"content-disposition", "content-type"};
  constexpr std::array<std::string_view, 2> kParameters = {"filename", "name"};
  std::vector<std::string> names;
  for (const std::string_view fieldName : kFields) {
    for (const HeaderField& field : fields) {
      if (Lower(field.name) == fieldName) {
        for (const std::string_view parameter : kParameters) {
          AddNames(field.value, parameter, &names);
        }
      }
    }
  }
  return names;
}

}  // namespace zevka::host
