#include "host/safe_edit/encoded_words.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "host/kit/text.h"
#include "host/safe_edit/transfer_decoding.h"

namespace zevka::host {

namespace {

std::string DecodeQ(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const char c = text.front();
    text.remove_prefix(1);
    if (c == '=') {
      if (const std::optional<char> byte = HexByte(text)) {
        result.push_back(*byte);
        text.remove_prefix(2);
        continue;
      }
    }
    result.push_back(c == '_' ? ' ' : c);
  }
  return result;
}

struct Word {
  std::string bytes;
  std::size_t lengthBytes = 0;  // of its spelling; 0 when there is none
};

// The encoded word, "=?charset?B?text?=", at the head of a text.
Word WordAtHead(std::string_view text) {
  const std::size_t charsetEnd = text.find('?', 2);
  if (charsetEnd == std::string_view::npos || text.size() < charsetEnd + 3 ||
      text[charsetEnd + 2] != '?') {
    return {};
  }
  const char coding = text[charsetEnd + 1];
  const std::size_t begin = charsetEnd + 3;
  const std::size_t end = text.find('?', begin);
  if (end == std::string_view::npos || text.substr(end, 2) != "?=") {
    return {};
  }
  const std::string_view inside = text.substr(begin, end - begin);
  if (coding == 'B' || coding == 'b') {
    return {DecodeBase64(inside), end + 2};
  }
  if (coding == 'Q' || coding == 'q') {
    return {DecodeQ(inside), end + 2};
  }
  return {};
}

}  // namespace

std::string DecodedWords(std::string_view text) {
  std::string result;
  bool isBehindWord = false;
  while (!text.empty()) {
    const std::size_t begin = std::min(text.find("=?"), text.size());
    const std::string_view plain = text.substr(0, begin);
    text.remove_prefix(begin);
    Word word = WordAtHead(text);
    if (!isBehindWord || word.lengthBytes == 0 || !Trim(plain).empty()) {
      result += plain;
    }
    isBehindWord = word.lengthBytes > 0;
    if (!isBehindWord) {
      result += text.substr(0, 2);
    }
    result += word.bytes;
    text.remove_prefix(isBehindWord ? word.lengthBytes : std::min<std::size_t>(2, text.size()));
  }
  return result;
}

}  // namespace zevka::host
