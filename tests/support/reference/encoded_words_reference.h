// Encoded words the slow way, to be compared with the library: whole texts are copied for every
// step, and a run is decoded by a function that calls itself. Shares no code with the library; the
// conversion between charsets is the caller's. No text given holds a NUL.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_ENCODED_WORDS_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_ENCODED_WORDS_REFERENCE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace zevka::reference {

// Turns bytes of a charset into text for a room of so many bytes; nothing when that fails. Null:
// bytes stay as they are.
using Convert = std::function<std::optional<std::string>(
    const std::string& charset, const std::string& bytes, std::size_t room)>;

// The length of the word that a text starts with, 0 for none.
std::size_t WordLength(const std::string& text);

struct Run {
  int count = 0;                       // bytes decoded from words, or -1
  std::string bytes;                   // what was decoded, and the text behind the words
  std::optional<std::string> charset;  // of the last word
};

// Decodes the words that a text starts with into a room of that many bytes, terminator included.
Run DecodeRun(const std::string& text, std::size_t room, int depth, const std::string& lineEnd,
              const Convert& convert);

// A whole text with its words decoded, up to its first NUL; nothing when one of them cannot be.
std::optional<std::string> DecodeText(const std::string& text, std::size_t room,
                                      const std::string& lineEnd, const Convert& convert);

struct EncodedText {
  bool used = false;  // false: the text is to be written as it is
  std::string text;   // also of a text that is not used
};

// A text with its words from the first byte of 128 on encoded, as with endless room.
EncodedText EncodeText(const std::string& text, const std::string& lineEnd, const Convert& convert);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_ENCODED_WORDS_REFERENCE_H
