#include "tests/shapes/shapes.h"

#include <algorithm>
#include <stdexcept>

namespace zevka::test {
namespace {

constexpr std::string_view kPlain = "Subject: s\r\n\r\n";
constexpr std::string_view kMixed = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
constexpr std::string_view kEmbedded = "Content-Type: message/rfc822\r\n\r\n";
constexpr std::string_view kTextLine =
    "A line of text as mail has them, sixty-two characters long.\r\n";

std::string Number(std::size_t number) {
  return std::to_string(number);
}

// For each number below the count, what `piece` makes of it.
template <typename Piece>
std::string Each(std::size_t count, Piece piece) {
  std::string all;
  for (std::size_t number = 0; number < count; ++number) {
    all += piece(number);
  }
  return all;
}

std::string PartsOf(std::string_view delimiter) {
  std::string text;
  for (const char* body : {"one", "two"}) {
    text.append(delimiter).append("\r\n\r\n").append(body).append("\r\n");
  }
  return text.append(delimiter).append("--\r\n");
}

// --- boundaries and delimiters

std::string Boundaries(std::size_t count) {
  return "Content-Type: multipart/mixed" +
         Each(count, [](std::size_t n) { return ";\r\n boundary=b" + Number(n) + "."; }) +
         "\r\n\r\n" + PartsOf("--b" + Number(count - 1) + ".");
}

// None of the boundaries occurs, and all the text must be searched for each.
std::string BoundariesMissed(std::size_t count) {
  return "Content-Type: multipart/mixed" +
         Each(count, [](std::size_t n) { return ";\r\n boundary=b" + Number(n) + "."; }) +
         "\r\n\r\n" + Each(count, [](std::size_t n) { return "--b" + Number(n) + ",--b\r\n"; });
}

std::string ContentTypes(std::size_t count) {
  return Each(count,
              [](std::size_t n) {
                return "Content-Type: multipart/mixed; boundary=b" + Number(n) + ".\r\n";
              }) +
         "\r\n" + PartsOf("--b" + Number(count - 1) + ".");
}

std::string EmptyBoundaries(std::size_t count) {
  return "Content-Type: multipart/mixed" + Times(";\r\n boundary=\"\"", count) + "\r\n\r\n" +
         Times("--\r\n", count);
}

// Each boundary is the one before it and a dash; the text is dashes.
std::string BoundaryPrefixes(std::size_t count) {
  return "Content-Type: multipart/mixed" +
         Each(count / 32 + 1,
              [](std::size_t n) {
                // As long on average however many there are, so that growth is that of their
                // number.
                return ";\r\n boundary=\"" + Times("-", 40 + n * 97 % 3000) + "x\"";
              }) +
         "\r\n\r\n" + Times(Times("-", 70) + "\r\n", count);
}

// Many boundaries that begin alike for long, and text that begins like them at every place.
std::string BoundariesAlike(std::size_t count) {
  return "Content-Type: multipart/mixed" +
         Each(count / 64 + 2,
              [](std::size_t n) {
                return ";\r\n boundary=\"" + Times("-", 2000) + Number(n) + "\"";
              }) +
         "\r\n\r\n" + Times("-", 40 * count) + "\r\n";
}

std::string AlmostDelimiters(std::size_t count) {
  return std::string(kMixed) + "--b\r\n\r\n" +
         Times("--bx\r\n-b\r\n--c\r\n- -b\r\n--b \r\n--B\r\n--\r\nb\r\n", count) + "--b--\r\n";
}

std::string BlanksBehindDelimiters(std::size_t count) {
  return std::string(kMixed) + "--b\r" + Times(" \t", count) +
         "\r\n\r\nT: 1\r\n\r\nbody\r\n--b--\r\n";
}

// --- fields

std::string LongField(std::size_t count) {
  return "Subject: begin" +
         Times("\r\n a folded line of a long field, seventy characters of text in it..", count) +
         "\r\n\r\nbody\r\n";
}

std::string ManyFields(std::size_t count) {
  return Each(count, [](std::size_t n) { return "X-" + Number(n) + ": v\r\n"; }) + "\r\nbody\r\n";
}

std::string TabLines(std::size_t count) {
  return "Subject: s" + Times("\r\n\t", count) + "\r\n\r\nbody\r\n";
}

std::string WordsInOneField(std::size_t count) {
  return "Content-Disposition: attachment; filename=\"" +
         Times("=?utf-8?B?w6nDqcOp?=\r\n ", count) + "\"\r\n\r\nbody\r\n";
}

std::string WordsInManyFields(std::size_t count) {
  return Times("Content-Type: text/plain; name=\"=?utf-8?Q?caf=C3=A9?=\"\r\n", count) +
         "\r\nbody\r\n";
}

std::string Parameters(std::size_t count) {
  return "Content-Type: text/plain" +
         Each(count, [](std::size_t n) { return ";\r\n p" + Number(n) + "=v"; }) +
         "\r\n\r\nbody\r\n";
}

std::string BareWords(std::size_t count) {
  return "Content-Type: text/plain" + Times("; boundary name protocol\r\n ", count) +
         "\r\n\r\nbody\r\n";
}

std::string OpenQuotes(std::size_t count) {
  return "Content-Type: text/plain" + Times("; boundary=\"\r\n ", count) + "x\r\n\r\nbody\r\n";
}

std::string OpenComments(std::size_t count) {
  return "Content-Type: text/plain" + Times("; boundary((((((((((\r\n ", count) +
         "\r\n\r\nbody\r\n";
}

std::string CommentsInNames(std::size_t count) {
  return Times("Subject((((((((((())))))))))): v\r\n", count) + "\r\nbody\r\n";
}

std::string Signatures(std::size_t count) {
  return Times("DKIM-Signature: v=1\r\n", count) + "\r\nbody\r\n";
}

// --- parts

std::string ManyParts(std::size_t count) {
  return std::string(kMixed) +
         Each(count,
              [](std::size_t n) {
                return "--b\r\nX-N: " + Number(n) + "\r\n\r\n" + std::string(kTextLine);
              }) +
         "--b--\r\n";
}

std::string TinyParts(std::size_t count) {
  return std::string(kMixed) + Times("--b\r\n\r\n", count) + "--b--\r\n";
}

// Parts in parts, none with a text: a thousand at most in each, so that all have their own names.
std::string TinyPartsInParts(std::size_t count) {
  const std::size_t outer = std::min<std::size_t>(count / 100 + 1, 1000);
  const std::string inner = "--a\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n" +
                            Times("--b\r\nA: b\r\n\r\n", count / outer) + "--b--\r\n\r\n";
  return "Content-Type: multipart/mixed; boundary=a\r\n\r\n" + Times(inner, outer) + "--a--\r\n";
}

std::string ManyEmbedded(std::size_t count) {
  return std::string(kMixed) +
         Times("--b\r\n" + std::string(kEmbedded) + "A: b\r\n\r\nbody\r\n", count) + "--b--\r\n";
}

std::string NestedEmbedded(std::size_t count) {
  return Times(kEmbedded, count) + "Subject: inner\r\n\r\nbody\r\n";
}

// As deep as embedded messages are followed, with a growing text inside.
std::string EmbeddedBelowTheLimit(std::size_t count) {
  return Times(kEmbedded, 100) + "Subject: inner\r\n\r\n" + Times(kTextLine, count);
}

std::string NestedMultiparts(std::size_t count) {
  std::string text;
  for (std::size_t level = 0; level < count; ++level) {
    const std::string boundary = "b" + Number(level) + ".";
    text +=
        "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n";
  }
  return text + "T: 1\r\n\r\ninner\r\n";
}

std::string NestedByTurns(std::size_t count) {
  return Each(count,
              [](std::size_t n) {
                return "Content-Type: multipart/mixed; boundary=b" + Number(n) + ".\r\n\r\n--b" +
                       Number(n) + ".\r\n" + std::string(kEmbedded);
              }) +
         "T: 1\r\n\r\ninner\r\n";
}

// The delimiters of the inner ones end the parts of the outermost.
std::string NestedUnderOneBoundary(std::size_t count) {
  return Times("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n" + std::string(kEmbedded),
               count) +
         "T: 1\r\n\r\ninner\r\n";
}

// --- bytes

std::string Nuls(std::size_t count) {
  const std::string nul(1, '\0');
  return "Sub" + nul + "ject: a" + nul + "b\r\nX-A: v" + nul + "w\r\n" + nul + "\r\n" +
         std::string(count, '\0');
}

std::string NulFields(std::size_t count) {
  const std::string field = std::string("X-A: v") + '\0' + "w\r\n";
  return Times(field, count) + "\r\n" + std::string(count, '\0');
}

std::string LineEnds(std::size_t count) {
  return "Subject: s\n\r\nbody" + Times("\r\n\n\r\r\r\n \n\n\r \r\n", count);
}

std::string OnlyLineEnds(std::size_t count) {
  return Times("\n", count);
}

std::string Padding(std::size_t count) {
  return "Content-Transfer-Encoding: base64\r\n\r\n" + Times("====", count);
}

std::string Escapes(std::size_t count) {
  return "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + Times("=\r= =X=\n", count);
}

std::string SoftBreaks(std::size_t count) {
  return "Content-Transfer-Encoding: quoted-printable\r\n\r\n" + Times("=\r\n", count);
}

std::string OneLine(std::size_t count) {
  return Times("word ", count);
}

std::string OneBodyLine(std::size_t count) {
  return std::string(kPlain) + Times("word ", count);
}

std::string Empty(std::size_t count) {
  return std::string(kPlain) + Times("\r\n", count);
}

}  // namespace

std::string Times(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t number = 0; number < count; ++number) {
    all += text;
  }
  return all;
}

std::string PlainMessage(std::size_t bytes) {
  return "Subject: plain\r\n\r\n" +
         Times(kTextLine, std::max<std::size_t>(bytes / kTextLine.size(), 1));
}

const std::vector<Shape>& HostileShapes() {
  static const std::vector<Shape> shapes = {
      {"boundaries", Boundaries, 100000, 2000},
      {"boundaries-missed", BoundariesMissed, 100000, 2000},
      {"content-types", ContentTypes, 50000, 1000},
      {"empty-boundaries", EmptyBoundaries, 100000, 2000},
      {"boundary-prefixes", BoundaryPrefixes, 60000, 1000},
      {"boundaries-alike", BoundariesAlike, 60000, 1000},
      {"almost-delimiters", AlmostDelimiters, 100000, 2000},
      {"blanks-behind-delimiters", BlanksBehindDelimiters, 1000000, 20000},
      {"long-field", LongField, 15000, 1000},
      {"many-fields", ManyFields, 100000, 2000},
      {"tab-lines", TabLines, 300000, 5000},
      {"words-in-one-field", WordsInOneField, 50000, 1000},
      {"words-in-many-fields", WordsInManyFields, 50000, 1000},
      {"parameters", Parameters, 100000, 2000},
      {"bare-words", BareWords, 100000, 2000},
      {"open-quotes", OpenQuotes, 100000, 2000},
      {"open-comments", OpenComments, 100000, 2000},
      {"comments-in-names", CommentsInNames, 50000, 1000},
      {"signatures", Signatures, 100000, 2000},
      {"many-parts", ManyParts, 10000, 200},
      {"tiny-parts", TinyParts, 10000, 200},
      {"tiny-parts-in-parts", TinyPartsInParts, 100000, 500},
      {"many-embedded", ManyEmbedded, 1000, 100},
      {"nested-embedded", NestedEmbedded, 1000, 200},
      {"embedded-below-the-limit", EmbeddedBelowTheLimit, 20000, 100},
      {"nested-multiparts", NestedMultiparts, 100000, 100},
      {"nested-by-turns", NestedByTurns, 50000, 100},
      {"nested-under-one-boundary", NestedUnderOneBoundary, 10000, 100},
      {"nuls", Nuls, 4000000, 50000},
      {"nul-fields", NulFields, 100000, 2000},
      {"line-ends", LineEnds, 200000, 5000},
      {"only-line-ends", OnlyLineEnds, 2000000, 50000},
      {"padding", Padding, 1000000, 20000},
      {"escapes", Escapes, 400000, 10000},
      {"soft-breaks", SoftBreaks, 1000000, 20000},
      {"one-line", OneLine, 1000000, 20000},
      {"one-body-line", OneBodyLine, 1000000, 20000},
      {"empty", Empty, 1000000, 20000},
  };
  return shapes;
}

const Shape& ShapeNamed(std::string_view name) {
  const auto& shapes = HostileShapes();
  const auto found = std::find_if(shapes.begin(), shapes.end(),
                                  [&](const Shape& shape) { return shape.name == name; });
  if (found == shapes.end()) {
    throw std::runtime_error("no shape " + std::string(name));
  }
  return *found;
}

}  // namespace zevka::test
