#include "host/kit/encoded_words.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kMostCharsetName = 40;

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

// Fit for iconv_open, which takes orders behind a slash.
bool IsCharsetName(std::string_view name) {
  return !name.empty() && name.size() <= kMostCharsetName &&
         std::all_of(name.begin(), name.end(), [](char character) {
           return (character >= 'a' && character <= 'z') ||
                  (character >= 'A' && character <= 'Z') ||
                  (character >= '0' && character <= '9') ||
                  std::string_view("-_.:+()").find(character) != std::string_view::npos;
         });
}

class Converter {
 public:
  explicit Converter(const std::string& charset)
      : handle_(::iconv_open("UTF-8", charset.c_str())) {}
  ~Converter() {
    if (IsKnown()) {
      ::iconv_close(handle_);
    }
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // iconv_open fails with the handle -1.
  bool IsKnown() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  std::string Convert(std::string_view bytes) const {
    std::string result;
    std::string copy(bytes);  // iconv does not promise to leave it alone
    char* from = copy.data();
    std::size_t fromLeft = copy.size();
    while (fromLeft > 0) {
      const bool isWhole = Step(&from, &fromLeft, &result);
      if (!isWhole && fromLeft > 0) {
        result += kReplacement;
        ++from;
        --fromLeft;
      }
    }
    Step(nullptr, nullptr, &result);  // what a charset with shifts still holds back
    return result;
  }

 private:
  // Converts up to the end of the input or of one block; false when a byte stands in the way.
  bool Step(char** from, std::size_t* fromLeft, std::string* result) const {
    std::array<char, 512> block{};
    char* to = block.data();
    std::size_t toLeft = block.size();
    const std::size_t done = ::iconv(handle_, from, fromLeft, &to, &toLeft);
    const bool isStopped = done == static_cast<std::size_t>(-1) && errno != E2BIG;
    result->append(block.data(), block.size() - toLeft);
    return !isStopped;
  }

  iconv_t handle_;
};

int HexDigit(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string DecodedQ(std::string_view text) {
  std::string bytes;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const int high = index + 2 < text.size() ? HexDigit(text[index + 1]) : -1;
    const int low = high >= 0 ? HexDigit(text[index + 2]) : -1;
    if (text[index] == '=' && low >= 0) {
      bytes += static_cast<char>(high * 16 + low);
      index += 2;
    } else {
      bytes += text[index] == '_' ? ' ' : text[index];
    }
  }
  return bytes;
}

// Nothing for a character that base64 does not have; padding ends the text.
std::optional<std::string> DecodedB(std::string_view text) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  for (const char character : text.substr(0, text.find('='))) {
    const std::size_t value = kAlphabet.find(character);
    if (value == std::string_view::npos) {
      return std::nullopt;
    }
    bits = (bits << 6) | static_cast<std::uint32_t>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  return bytes;
}

struct Word {
  std::string charset;  // in lower case
  std::string bytes;
  std::size_t lengthBytes = 0;  // of the whole word
};

// The word that begins here, at "=?".
std::optional<Word> WordAt(std::string_view text) {
  const std::size_t charsetEnd = text.find('?', 2);
  if (charsetEnd == std::string_view::npos || charsetEnd + 3 >= text.size() ||
      text[charsetEnd + 2] != '?') {
    return std::nullopt;
  }
  const std::size_t begin = charsetEnd + 3;
  const std::size_t end = text.find('?', begin);
  if (end == std::string_view::npos || text.substr(end, 2) != "?=") {
    return std::nullopt;
  }
  const std::string_view body = text.substr(begin, end - begin);
  if (std::any_of(body.begin(), body.end(), IsBlank)) {
    return std::nullopt;
  }
  const std::string_view charset = text.substr(2, charsetEnd - 2);
  Word word = {Lower(charset.substr(0, charset.find('*'))), {}, end + 2};
  const char encoding = text[charsetEnd + 1];
  if (encoding == 'Q' || encoding == 'q') {
    word.bytes = DecodedQ(body);
  } else if (encoding == 'B' || encoding == 'b') {
    std::optional<std::string> bytes = DecodedB(body);
    if (!bytes) {
      return std::nullopt;
    }
    word.bytes = *std::move(bytes);
  } else {
    return std::nullopt;
  }
  return word;
}

// Words of one charset behind each other, waiting to be converted as one text.
struct Run {
  std::string charset;
  std::string bytes;
  std::string_view source;
};

void EndRun(Run* run, std::string* result) {
  if (!run->source.empty()) {
    const std::optional<std::string> converted = TextInUtf8(run->charset, run->bytes);
    *result += converted ? *converted : std::string(run->source);
  }
  *run = {};
}

}  // namespace

std::optional<std::string> TextInUtf8(std::string_view charset, std::string_view bytes) {
  if (!IsCharsetName(charset)) {
    return std::nullopt;
  }
  const Converter converter{std::string(charset)};
  if (!converter.IsKnown()) {
    return std::nullopt;
  }
  return converter.Convert(bytes);
}

std::string WordsInUtf8(std::string_view text) {
  std::string result;
  Run run;
  std::size_t plain = 0;  // where the text begins that is not in `result` or `run`
  std::size_t start = text.find("=?");
  while (start != std::string_view::npos) {
    std::optional<Word> word = WordAt(text.substr(start));
    if (!word) {
      start = text.find("=?", start + 1);
      continue;
    }
    const std::string_view between = text.substr(plain, start - plain);
    const bool isBehindWord =
        !run.source.empty() && std::all_of(between.begin(), between.end(), IsBlank);
    if (!isBehindWord || run.charset != word->charset) {
      EndRun(&run, &result);
      result += isBehindWord ? std::string_view() : between;
      run = {word->charset, {}, text.substr(start, 0)};
    }
    run.bytes += word->bytes;
    plain = start + word->lengthBytes;
    const std::size_t runStart = static_cast<std::size_t>(run.source.data() - text.data());
    run.source = text.substr(runStart, plain - runStart);
    start = text.find("=?", plain);
  }
  EndRun(&run, &result);
  return result.append(text.substr(plain));
}

}  // namespace zevka::host
