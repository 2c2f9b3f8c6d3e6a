#include "codec/encoded_words.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>

#include "codec/ascii.h"
#include "codec/base64.h"
#include "codec/bounded_copy.h"
#include "codec/charset_convert.h"
#include "codec/quoted_printable.h"

namespace zevka {
namespace {

constexpr std::size_t kCharsetRoom = 64;  // bytes; 63 of a charset's name are kept
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr std::string_view kWordStart = "=?";

constexpr bool IsNonAscii(char c) {
  return static_cast<unsigned char>(c) >= 128;
}

// What a word is made of.
struct Word {
  std::string_view charset;
  char encoding;  // 'b' or 'q'
  std::string_view encoded;
  std::string_view rest;  // what stands behind the word
};

// "B?" or "Q?" in either case; else 0.
char EncodingAt(std::string_view text) {
  if (text.size() < 2 || text[1] != '?') {
    return 0;
  }
  const char letter = ToLowerAscii(text[0]);
  return letter == 'b' || letter == 'q' ? letter : '\0';
}

// The word that the text, known to start with "=?", starts with; nothing when it is malformed.
std::optional<Word> ParseWord(std::string_view text) {
  text.remove_prefix(kWordStart.size());
  const std::size_t charsetEnd = text.find('?');
  if (charsetEnd == std::string_view::npos) {
    return std::nullopt;
  }
  Word word{text.substr(0, charsetEnd), 0, {}, {}};
  text.remove_prefix(charsetEnd + 1);
  word.encoding = EncodingAt(text);
  if (word.encoding == 0) {
    return std::nullopt;
  }
  text.remove_prefix(2);
  const std::size_t end = text.find('?');
  if (end == std::string_view::npos || text.substr(end, 2) != "?=") {
    return std::nullopt;
  }
  word.encoded = text.substr(0, end);
  word.rest = text.substr(end + 2);
  return word;
}

// Decodes the text of a word with a cleared decoder. KEEP(word-underscore): the body decoder is
// used as it is, so "_" stays "_".
std::size_t DecodeBytes(DecodeState& state, const Word& word, std::span<char> out,
                        LineEndStyle lineEnd) {
  const std::span input(reinterpret_cast<const unsigned char*>(word.encoded.data()),
                        word.encoded.size());
  const std::span output(reinterpret_cast<unsigned char*>(out.data()), out.size());
  const DecodeState saved = state;
  state = DecodeState{};
  const std::size_t count = word.encoding == 'q' ? QpDecodeChunk(state, lineEnd, input, output)
                                                 : Base64DecodeChunk(state.base64, input, output);
  state = saved;
  return count;
}

// Decodes one word into `out`, which is not empty.
// Result: the bytes decoded; 0 for a word that is empty or cannot be converted.
std::size_t DecodeWord(DecodeState& state, const Word& word, std::span<char> out,
                       std::span<char> charsetOut, bool convert, LineEndStyle lineEnd) {
  const std::size_t count = DecodeBytes(state, word, out, lineEnd);
  // KEEP(word-empty): a word without a byte is malformed.
  if (count == 0) {
    return 0;
  }
  out[std::min(count, out.size() - 1)] = '\0';
  std::array<char, kCharsetRoom> charset{};
  CopyTerminated(charset.data(), charset.size(), word.charset);
  CopyPadded(charsetOut.data(), charsetOut.size(), charset.data());
  if (!convert) {
    return count;
  }
  const int converted =
      ConvertToNarrow(charset.data(), {out.data(), count}, out.data(), out.size());
  return converted < 1 ? 0 : std::min(static_cast<std::size_t>(converted), out.size());
}

// Where the plain text behind a run goes.
enum class Tail : std::uint8_t { kCopied, kLeftOut };

int DecodeRun(DecodeState& state, std::string_view text, std::span<char> out,
              std::span<char> charsetOut, int depth, bool convert, LineEndStyle lineEnd,
              Tail tail) {
  out = out.first(std::min<std::size_t>(out.size(), INT_MAX));
  std::size_t total = 0;
  for (int words = depth;; ++words) {
    while (!text.empty() && IsBlank(text.front())) {
      text.remove_prefix(1);
    }
    const std::span<char> room = out.subspan(total);
    if (!text.starts_with(kWordStart)) {
      if (tail == Tail::kCopied) {
        CopyTerminated(room.data(), room.size(), text);
      }
      return static_cast<int>(total);
    }
    // KEEP(words-32): the limit meets the 33rd word, not the text behind the 32nd.
    if (words >= kMaxWordsInRun) {
      return -1;
    }
    if (room.empty()) {
      return static_cast<int>(total);
    }
    const std::optional<Word> word = ParseWord(text);
    const std::size_t count =
        word ? DecodeWord(state, *word, room, charsetOut, convert, lineEnd) : 0;
    if (count == 0) {
      return -1;
    }
    total += count;
    text = word->rest;
  }
}

// A text that grows up to a fixed room; what goes beyond is dropped.
class BoundedText {
 public:
  explicit BoundedText(std::span<char> room) : room_(room) {}

  void Append(std::string_view text) {
    used_ += text.copy(room_.data() + used_, room_.size() - used_);
  }
  void Append(char c) { Append({&c, 1}); }
  void AppendEscaped(char c) {
    const auto byte = static_cast<unsigned char>(c);
    Append('=');
    Append(kHexDigits[byte >> 4]);
    Append(kHexDigits[byte & 15]);
  }
  // Zeros up to the end of the room; a text that fills it loses its last character.
  void Terminate() {
    const std::size_t kept = std::min(used_, room_.size() - 1);
    std::fill(room_.begin() + static_cast<std::ptrdiff_t>(kept), room_.end(), '\0');
  }
  bool IsEmpty() const { return used_ == 0; }
  bool IsFull() const { return used_ == room_.size(); }

 private:
  std::span<char> room_;
  std::size_t used_ = 0;
};

// What stands in a Q word as it is.
constexpr bool IsPlainInWord(char c) {
  return c > ' ' && c <= '~' && c != '=' && c != '?' && c != '_';
}

std::size_t FindNonAscii(std::string_view text, std::size_t from) {
  const auto* const found =
      std::find_if(text.begin() + from, text.end(), [](char c) { return IsNonAscii(c); });
  return static_cast<std::size_t>(found - text.begin());
}

// The blank in front of the word around `at`, or `from` when it stands there or there is none.
std::size_t FindWordStart(std::string_view text, std::size_t from, std::size_t at) {
  while (at > from && !IsBlank(text[at])) {
    --at;
  }
  return at;
}

// EncodedWordLength for a text without a NUL: a look at its first characters settles most places.
std::size_t WordLength(std::string_view text) {
  if (!text.starts_with(kWordStart) || text.size() == kWordStart.size()) {
    return 0;
  }
  const std::size_t charsetEnd = text.find_first_of("? \t", kWordStart.size());
  if (charsetEnd == std::string_view::npos || text[charsetEnd] != '?' ||
      EncodingAt(text.substr(charsetEnd + 1)) == 0) {
    return 0;
  }
  const std::size_t end = text.find('?', charsetEnd + 3);
  if (end == std::string_view::npos) {
    return text.size() + 1;
  }
  return text.substr(end, 2) == "?=" ? end + 2 : end + 1;
}

// Encodes from `at` until the text or the room ends or a word stands there; gives that place.
std::size_t EncodeUntilWord(std::string_view text, std::size_t at, BoundedText& out) {
  while (at < text.size() && !out.IsFull() && WordLength(text.substr(at)) == 0) {
    if (IsPlainInWord(text[at])) {
      out.Append(text[at]);
    } else {
      out.AppendEscaped(text[at]);
    }
    ++at;
  }
  return at;
}

// Encodes a text that may hold words which could not be decoded. See EncodeHeaderText.
int EncodeText(std::string_view text, std::span<char> room) {
  BoundedText out(room);
  std::size_t at = 0;
  for (;;) {
    const std::size_t nonAscii = FindNonAscii(text, at);
    // KEEP(encode-kept-word-last): 0 also behind a word that was copied, with part of the text in
    // `out`.
    if (nonAscii == text.size()) {
      return 0;
    }
    if (room.empty()) {
      return 1;
    }
    // KEEP(encode-blank-inside): the blank in front of the first word is encoded with it, so "=?"
    // follows the text before without one.
    const std::size_t start = FindWordStart(text, at, nonAscii);
    if (start != at) {
      out.Append(text.substr(at, start - at));
    } else if (!out.IsEmpty()) {
      out.Append(' ');
    }
    out.Append("=?utf-8?q?");
    // KEEP(encode-to-end): one word up to the end of the text, neither split nor folded.
    at = EncodeUntilWord(text, start, out);
    if (at == text.size() || out.IsFull()) {
      out.Append("?=");
      out.Terminate();
      return 1;
    }
    const std::string_view word =
        text.substr(at, WordLength(text.substr(at)));  // cut to the text by substr
    out.Append("?= ");
    out.Append(word);
    at += word.size();
  }
}

}  // namespace

std::size_t EncodedWordLength(std::string_view text) {
  return WordLength(CutAtNul(text));
}

int DecodeEncodedWords(DecodeState& state, std::string_view text, std::span<char> out,
                       std::span<char> charsetOut, int depth, bool convert, LineEndStyle lineEnd) {
  return DecodeRun(state, CutAtNul(text), out, charsetOut, depth, convert, lineEnd, Tail::kCopied);
}

int DecodeWordRun(DecodeState& state, std::string_view text, std::span<char> out,
                  std::span<char> charsetOut, bool convert, LineEndStyle lineEnd) {
  return DecodeEncodedWords(state, text, out, charsetOut, 0, convert, lineEnd);
}

int DecodeHeaderText(DecodeState& state, std::string_view text, std::span<char> out,
                     LineEndStyle lineEnd) {
  text = CutAtNul(text);
  std::size_t used = 0;
  while (!text.empty() && used < out.size()) {
    const std::size_t length = text.front() == '=' ? WordLength(text) : 0;
    if (length == 0) {
      out[used++] = text.front();
      text.remove_prefix(1);
      continue;
    }
    const int count =
        DecodeRun(state, text, out.subspan(used), {}, 0, true, lineEnd, Tail::kLeftOut);
    if (count < 0) {
      return -1;
    }
    // KEEP(word-twice): the whole run was decoded, but only its first word is done with; the others
    // come again.
    used += static_cast<std::size_t>(count);
    text.remove_prefix(std::min(length, text.size()));
  }
  if (!out.empty()) {
    out[std::min(used, out.size() - 1)] = '\0';
  }
  return 0;
}

int EncodeHeaderText(DecodeState& state, std::string_view text, std::span<char> out,
                     LineEndStyle lineEnd) {
  text = CutAtNul(text);
  if (text.empty()) {
    return 0;
  }
  const std::size_t workRoom = 2 * text.size();
  const std::unique_ptr<char[]> work(new (std::nothrow) char[workRoom]);
  if (!work) {
    return 0;
  }
  if (DecodeHeaderText(state, text, {work.get(), workRoom}, lineEnd) == 0) {
    work[workRoom - 1] = '\0';
    text = work.get();
  }
  return EncodeText(text, out);
}

}  // namespace zevka
