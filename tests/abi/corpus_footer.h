// What a footer is to make of a message, worked out from the message's own fields.
#ifndef ZEVKA_TESTS_ABI_CORPUS_FOOTER_H
#define ZEVKA_TESTS_ABI_CORPUS_FOOTER_H

#include <string>
#include <vector>

#include "tests/abi/corpus_tree.h"

namespace zevka::test {

inline constexpr const char* kPlainFooter = "Scanned\r\nOK";
// 66 bytes, so that its base64 text has a full line of 76 characters and a rest.
inline constexpr const char* kNonAsciiFooter =
    "Gepr\xC3\xBC"
    "ft: keine Sch\xC3\xA4"
    "dlinge gefunden. \xC3\x9C"
    "ber 60 Bytes lang, gewiss.";

// Signed: takes no footer. Inline: at the end of its text. Last child: as a part of its own.
// Wrapper: in a new message around it.
enum class Road { kRefused, kInline, kLastChild, kWrapper };

Road RoadOf(const Node& message, bool plainFooter);

// True when the body is quoted-printable or base64.
bool IsEncodedBody(const Node& message);

// The fields as a later reading shows them: of the two that mark a faulty body, one is never read.
std::vector<Field> WithMarkers(const Node& message);

// The part that holds the footer.
Node FooterPart(const std::string& lineEnd, bool plain);

// The message as it stands inside a wrapper, and the fields that went up to the wrapper.
Node WrappedMessage(const Node& message);
std::vector<Field> EnvelopeFields(const Node& message);

// Faults of a quoted-printable body make the line end of the last line read, which is the first
// line of the body, that of the whole part: where it is another one than in the fields, the line
// breaks of the encoded text are written with it and come back so.
bool IsEncodedAnewInOtherLineEnds(const Node& before, const Node& after,
                                  const std::string& expected);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_FOOTER_H
