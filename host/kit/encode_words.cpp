#include "host/kit/encode_words.h"

#include <algorithm>
#include <cstddef>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBegin = "=?utf-8?q?";
constexpr std::string_view kEnd = "?=";
constexpr std::size_t kMostInWord = 75 - kBegin.size() - kEnd.size();
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

// The length of the word that the text begins with: up to a blank outside quotes.
std::size_t WordBytes(std::string_view text) {
  std::size_t index = 0;
  while (index < text.size() && kBlanks.find(text[index]) == std::string_view::npos) {
    const std::size_t quote = text[index] == '"' ? text.find('"', index + 1) : index;
    index = quote == std::string_view::npos ? index + 1 : quote + 1;
  }
  return index;
}

bool NeedsEncoding(std::string_view word) {
  return word.find("=?") != std::string_view::npos ||
         std::any_of(word.begin(), word.end(),
                     [](char character) { return static_cast<unsigned char>(character) >= 0x80; });
}

// One byte in the Q encoding; only what is safe in every place stands for itself.
std::string Encoded(char character) {
  const auto byte = static_cast<unsigned char>(character);
  const bool isPlain = (character >= 'a' && character <= 'z') ||
                       (character >= 'A' && character <= 'Z') ||
                       (character >= '0' && character <= '9');
  if (isPlain) {
    return {character};
  }
  return {'=', kHexDigits[byte >> 4], kHexDigits[byte & 0x0F]};
}

// Words of at most 75 characters, each of whole characters.
void AppendWords(std::string_view text, std::string* result) {
  std::string word;
  bool isFirst = true;
  const auto end = [&] {
    result->append(isFirst ? "" : " ").append(kBegin).append(word).append(kEnd);
    word.clear();
    isFirst = false;
  };
  while (!text.empty()) {
    const std::size_t length = std::max<std::size_t>(FirstCodePoint(text).lengthBytes, 1);
    std::string character;
    for (const char byte : text.substr(0, length)) {
      character += Encoded(byte);
    }
    if (word.size() + character.size() > kMostInWord) {
      end();
    }
    word += character;
    text.remove_prefix(length);
  }
  end();
}

}  // namespace

std::string WithEncodedWords(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t blanks = std::min(text.find_first_not_of(kBlanks), text.size());
    result += text.substr(0, blanks);
    text.remove_prefix(blanks);
    // Blanks between encoded words are nobody's, so words side by side are encoded as one text.
    std::size_t run = 0;
    std::size_t next = 0;
    std::size_t word = WordBytes(text);
    while (word > 0 && NeedsEncoding(text.substr(next, word))) {
      run = next + word;
      next = std::min(text.find_first_not_of(kBlanks, run), text.size());
      word = WordBytes(text.substr(next));
    }
    if (run > 0) {
      AppendWords(text.substr(0, run), &result);
    } else {
      run = word;
      result += text.substr(0, run);
    }
    text.remove_prefix(run);
  }
  return result;
}

}  // namespace zevka::host
