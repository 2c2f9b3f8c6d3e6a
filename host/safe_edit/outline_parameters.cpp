#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/outline.h"
#include "host/safe_edit/transfer_decoding.h"
#include "host/safe_edit/value_scanner.h"

namespace zevka::host {

namespace {

// Whether "name =" stands here; the scanner stays where it is.
bool BeginsParameter(ValueScanner scanner) {
  if (scanner.TakeWord(";=").empty()) {
    return false;
  }
  scanner.SkipBlanksAndComments();
  return !scanner.AtEnd() && scanner.Peek() == '=';
}

// A value without quotes up to the semicolon, with the blanks within it, but not over the next
// parameter when its semicolon is missing.
std::string TakePlainValue(ValueScanner* scanner) {
  std::string value;
  for (;;) {
    value += scanner->TakeWord(";");
    if (!scanner->AtEnd() && scanner->Peek() == '"') {  // stray or never closed
      scanner->SkipOne();
      continue;
    }
    const std::size_t before = scanner->Position();
    scanner->SkipBlanksAndComments();
    if (scanner->AtEnd() || scanner->Peek() == ';' || BeginsParameter(*scanner)) {
      return value;
    }
    if (scanner->Position() > before) {
      value.push_back(' ');
    } else {
      value.push_back(scanner->Peek());  // the bracket of a comment that is never closed
      scanner->SkipOne();
    }
  }
}

std::string TakeValue(ValueScanner* scanner) {
  scanner->SkipBlanksAndComments();
  std::optional<std::string> quoted = scanner->TakeQuoted();
  return quoted ? std::move(*quoted) : TakePlainValue(scanner);
}

// "%41" is "A".
std::string WithoutPercents(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t percent = text.find('%');
    result.append(text.substr(0, percent));
    if (percent == std::string_view::npos) {
      break;
    }
    text.remove_prefix(percent + 1);
    if (const std::optional<char> byte = HexByte(text)) {
      result.push_back(*byte);
      text.remove_prefix(2);
    } else {
      result.push_back('%');
    }
  }
  return result;
}

// Without the charset and the language in front, "utf-8'en'".
std::string_view WithoutCharset(std::string_view text) {
  const std::size_t first = text.find('\'');
  const std::size_t second = first == std::string_view::npos ? first : text.find('\'', first + 1);
  return second == std::string_view::npos ? text : text.substr(second + 1);
}

// The place of a piece in "*12" or "*12*".
std::optional<std::size_t> PieceIndex(std::string_view text) {
  constexpr std::size_t kMostDigits = 6;
  if (text.ends_with('*')) {
    text.remove_suffix(1);
  }
  if (text.empty() || text.size() > kMostDigits) {
    return std::nullopt;
  }
  std::size_t index = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    index = index * 10 + static_cast<std::size_t>(c - '0');
  }
  return index;
}

}  // namespace

std::string MediaTypeOf(std::string_view value) {
  constexpr std::string_view kStops = "/;,=";
  ValueScanner scanner(value);
  scanner.SkipBlanksAndComments();
  if (std::optional<std::string> quoted = scanner.TakeQuoted()) {
    return MediaTypeOf(*quoted);
  }
  std::string type = Lower(scanner.TakeWord(kStops));
  scanner.SkipBlanksAndComments();
  if (type.empty() || !scanner.Take('/')) {
    return {};
  }
  scanner.SkipBlanksAndComments();
  type += '/';
  return type += Lower(scanner.TakeWord(kStops));
}

std::vector<OutlineParameter> Parameters(std::string_view value) {
  std::vector<OutlineParameter> result;
  ValueScanner scanner(value);
  scanner.SkipBlanksAndComments();
  if (!BeginsParameter(scanner)) {
    scanner.TakeWord(";");  // the media type or the disposition
  }
  for (;;) {
    scanner.SkipBlanksAndComments();
    if (scanner.AtEnd()) {
      return result;
    }
    const std::string_view name = scanner.TakeWord(";=");
    scanner.SkipBlanksAndComments();
    if (name.empty()) {
      if (!scanner.AtEnd() && !scanner.TakeQuoted()) {
        scanner.SkipOne();
      }
    } else if (scanner.Take('=')) {
      std::string lowerName = Lower(name);
      result.push_back({std::move(lowerName), TakeValue(&scanner)});
    }
  }
}

std::optional<std::string> JoinedParameter(const std::vector<OutlineParameter>& parameters,
                                           std::string_view lowerName) {
  std::map<std::size_t, const OutlineParameter*> pieces;
  const OutlineParameter* extended = nullptr;
  for (const OutlineParameter& parameter : parameters) {
    std::string_view rest = parameter.name;
    if (!rest.starts_with(lowerName)) {
      continue;
    }
    rest.remove_prefix(lowerName.size());
    if (rest.empty()) {
      return parameter.value;
    }
    if (rest == "*") {
      extended = extended == nullptr ? &parameter : extended;
    } else if (rest.starts_with('*')) {
      if (const std::optional<std::size_t> index = PieceIndex(rest.substr(1))) {
        pieces.emplace(*index, &parameter);
      }
    }
  }
  if (extended != nullptr) {
    return WithoutPercents(WithoutCharset(extended->value));
  }
  if (pieces.empty()) {
    return std::nullopt;
  }
  std::string joined;
  for (const auto& [index, piece] : pieces) {
    const bool isEncoded = piece->name.ends_with('*');
    const std::string_view text =
        isEncoded && index == 0 ? WithoutCharset(piece->value) : std::string_view(piece->value);
    joined += isEncoded ? WithoutPercents(text) : std::string(text);
  }
  return joined;
}

std::optional<std::string> FindParameter(const OutlinePart& part, std::string_view lowerField,
                                         std::string_view lowerName) {
  const OutlineField* field = FindField(part, lowerField);
  if (field == nullptr) {
    return std::nullopt;
  }
  return JoinedParameter(Parameters(field->value), lowerName);
}

}  // namespace zevka::host
