// A message as a value: the tree of its parts with all that a host can see of them and what the
// parser found out, to be compared, changed by a model, and written by one (tree_text).
#ifndef ZEVKA_FUZZ_SUPPORT_TREE_H
#define ZEVKA_FUZZ_SUPPORT_TREE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "codec/line_end_style.h"
#include "mime/mime_part.h"

namespace zevka::fuzz {

struct Field {
  std::string name;
  std::string value;
  std::vector<std::size_t> lineEnds;  // lengths of the value up to each line's end; empty: set by
                                      // the host
  bool operator==(const Field&) const = default;
};

struct Tree {
  std::vector<Field> fields;
  std::string encoded;                 // the body as it stands
  std::optional<std::string> decoded;  // when it was asked for

  TransferEncoding encoding = TransferEncoding::kNone;
  bool isMultipart = false;
  bool isEmbeddedMessage = false;
  bool isSignedByDomain = false;
  bool isSignedByProtocol = false;
  std::string displayName;
  std::string displayCharset;

  std::optional<std::string> delimiter;  // "--" and the boundary that the body uses

  std::string lineEnd;  // of lines that the library makes
  LineEndStyle firstStyle = LineEndStyle::kUnknown;
  bool isModified = false;
  bool isRemoved = false;
  std::vector<Tree> children;

  bool operator==(const Tree&) const = default;
};

enum class Decode { kNone, kModified, kAll };

// A body of a part, by its slot 27 or 29.
std::string BodyOf(MIMEPart& part,
                   std::uint64_t (MIMEPart::*read)(void*, std::uint64_t, std::int64_t));

// The tree of an open message.
//   decode  which bodies to decode. This may add fields, to the part and so to the tree
Tree TreeOf(MIMEPart& part, Decode decode);

// Forgets which line end each part met first: no text that is written tells it.
void ForgetFirstStyles(Tree& tree);

// The first field of that name, compared without regard to case; null when there is none.
const Field* FindField(const Tree& tree, std::string_view name);

// Where two trees differ first, in words with the place of the part; empty when they do not.
std::string Difference(const Tree& left, const Tree& right);

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_TREE_H
