// Encoded words in header fields, "=?charset?B or Q?text?=": measured, decoded one run at a time or
// in a whole text, and written for text that is not ASCII.
//
// Follows RFC 2047 but for this: "_" in a Q word stays "_", a text decoded whole shows a second
// word of a run twice, and an encoder's word is as long as the text asks, neither split nor folded.
// Words are decoded with the body decoders.
//
// Every text ends at its first NUL. Where a decoder state is asked for, it is as before afterwards:
// it is put aside, cleared and restored around each word, so that a body being decoded never
// notices. `lineEnd` is how soft line breaks end in Q words. Nothing is thrown.
//
// Threads: no state but the caller's.
#ifndef ZEVKA_CODEC_ENCODED_WORDS_H
#define ZEVKA_CODEC_ENCODED_WORDS_H

#include <cstddef>
#include <span>
#include <string_view>

#include "codec/decode_state.h"
#include "codec/line_end_style.h"

namespace zevka {

// Words in one run; one more makes the run malformed.
inline constexpr int kMaxWordsInRun = 32;

// The characters of the word that the text starts with; 0 when it starts with none.
//   "=?utf-8?Q?abc?= tail"  15
//   "=?utf-8?Q?abc?x"       14, up to the "?" that should have been "?="
//   "=?utf-8?Q?abc"         14, one more than the text has: the terminator counts
// KEEP(word-length-past-end): cut the result to the text before using it as an offset.
std::size_t EncodedWordLength(std::string_view text);

// Decodes the words that the text starts with, blanks before and between them left out.
//   out         always terminated, and filled with zeros up to its end when no conversion failed;
//               without room nothing is done
//   charsetOut  receives the charset of the last word decoded, padded and, where it is too long,
//               not terminated; empty: not asked for
//   depth       words of this run that the caller has decoded already; 0 for a run of its own
//   convert     whether words are turned from their charset into the process's encoding
// Result: the bytes decoded from words; 0 when the text does not start with one and was copied as
// it is; -1 for a malformed or empty word, for more than 32 words, or when a conversion failed or
// gave nothing: `out` and `charsetOut` may then hold the words before that.
// KEEP(word-tail-uncounted): plain text behind the words is copied too, without its leading blanks,
// but not counted.
int DecodeEncodedWords(DecodeState& state, std::string_view text, std::span<char> out,
                       std::span<char> charsetOut, int depth, bool convert, LineEndStyle lineEnd);

// DecodeEncodedWords for a run of its own.
int DecodeWordRun(DecodeState& state, std::string_view text, std::span<char> out,
                  std::span<char> charsetOut, bool convert, LineEndStyle lineEnd);

// Copies a text with its words decoded and converted.
//   out  receives the text, cut to the room and terminated; what lies behind the terminator is
//        without meaning. Empty: nothing is written
// Result: 0; -1 when a word is malformed or cannot be converted: `out` holds no text.
int DecodeHeaderText(DecodeState& state, std::string_view text, std::span<char> out,
                     LineEndStyle lineEnd);

// Writes a text that holds bytes of 128 and above as ASCII: from the first such word to the end it
// becomes one UTF-8 Q word. Words that the text holds are decoded first, or kept as they are when
// one of them cannot be.
//   out  receives the text, cut to the room and terminated. Empty: nothing is written, the result
//        tells whether encoding is needed
// Result: 1 encoded, or needing it; 0 when there is nothing to encode, when memory ran out, or when
// the text ends with a word that was kept: the caller writes the text as it is, whatever `out`
// holds.
int EncodeHeaderText(DecodeState& state, std::string_view text, std::span<char> out,
                     LineEndStyle lineEnd);

}  // namespace zevka

#endif  // ZEVKA_CODEC_ENCODED_WORDS_H
