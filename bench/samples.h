// Messages and bodies for measuring, made here: the same bytes in every run, on every machine.
// Lines end with CR LF.
#ifndef ZEVKA_BENCH_SAMPLES_H
#define ZEVKA_BENCH_SAMPLES_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zevka::bench {

// Bodies. `bytes` is about the length of the result, which ends with a line end.
std::string Noise(std::size_t bytes);                // any byte, no lines
std::string AsciiText(std::size_t bytes);            // words, lines up to 72 characters
std::string Utf8Text(std::size_t bytes);             // the same, one word in three not ASCII
std::string Base64Lines(std::size_t bytes);          // of noise, 76 characters a line
std::string QuotedPrintableText(std::size_t bytes);  // of UTF-8 text, lines up to 76 characters

// Messages with one body of about so many bytes.
std::string PlainMessage(std::size_t bodyBytes);
std::string EightBitMessage(std::size_t bodyBytes);
std::string QuotedPrintableMessage(std::size_t bodyBytes);
// multipart/mixed: a short text and an attachment.
std::string Base64Message(std::size_t attachmentBytes);

// multipart/mixed (multipart/alternative, attachments), as most mail with attachments is.
std::string UsualMessage(std::size_t attachmentBytes);
// One multipart of that many parts of some 300 bytes: text, quoted-printable and base64 in turns.
std::string ManyParts(std::size_t count);
// Multiparts in one another, each with a leaf of so many bytes.
std::string Nested(std::size_t levels, std::size_t leafBytes);
// A short text under that many header fields, every fourth of them folded.
std::string ManyFields(std::size_t count);

// What follows the header block.
std::string_view BodyOf(std::string_view message);

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_SAMPLES_H
