#include "fuzz/support/tree_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "codec/ascii.h"
#include "codec/encoded_words.h"
#include "mime/header_folding.h"
#include "tests/support/reference/base64_reference.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::size_t kBlock = 4096;        // bytes read at once
constexpr std::size_t kBase64Line = 72;     // characters
constexpr std::size_t kEncodedRoom = 2048;  // characters, the terminator included

bool IsCoded(const Tree& tree) {
  return tree.encoding == TransferEncoding::kBase64 ||
         tree.encoding == TransferEncoding::kQuotedPrintable;
}

bool IsSetByHost(const Field& field) {
  return field.lineEnds.empty();
}

std::string HostValueText(const Tree& tree, const Field& field) {
  if (EqualsNoCase(field.name, "Content-Type")) {
    return field.value;
  }
  DecodeState decoder;
  std::array<char, kEncodedRoom> encoded{};
  if (EncodeHeaderText(decoder, field.value, {}, tree.firstStyle) != 0 &&
      EncodeHeaderText(decoder, field.value, encoded, tree.firstStyle) != 0) {
    return FoldHeaderValue(field.name, encoded.data(), tree.lineEnd);
  }
  return FoldHeaderValue(field.name, field.value, tree.lineEnd);
}

// The value in its lines, as it was read; a space stands for an empty first line.
std::string ReadValueText(const Tree& tree, const Field& field) {
  std::string text = field.lineEnds.front() == 0 ? " " : "";
  std::size_t from = 0;
  for (std::size_t line = 0; line < field.lineEnds.size(); ++line) {
    text += line == 0 ? "" : tree.lineEnd;
    text += field.value.substr(from, field.lineEnds[line] - from);
    from = field.lineEnds[line];
  }
  return text;
}

std::string ValueText(const Tree& tree, const Field& field, std::string_view subjectSuffix) {
  std::string text = IsSetByHost(field) ? HostValueText(tree, field) : ReadValueText(tree, field);
  if (EqualsNoCase(field.name, "Subject")) {
    text += subjectSuffix;
  }
  return text;
}

// A line end is put behind a body that does not end with one; what was read last tells.
std::string WithLineEnd(const Tree& tree, std::string body) {
  const std::size_t lastRead = body.size() % kBlock;
  const std::string_view last = std::string_view(body).substr(body.size() - lastRead);
  if (!last.empty() && !last.ends_with(tree.lineEnd)) {
    body += tree.lineEnd;
  }
  return body;
}

// Line breaks of the message become LF; nothing when there are others.
std::optional<std::string> WithBareLf(const Tree& tree, const std::string& body) {
  std::string text;
  for (std::size_t at = 0; at < body.size();) {
    if (body.compare(at, tree.lineEnd.size(), tree.lineEnd) == 0) {
      text += '\n';
      at += tree.lineEnd.size();
    } else if (body[at] == '\r' || body[at] == '\n') {
      return std::nullopt;
    } else {
      text += body[at++];
    }
  }
  return text;
}

std::optional<std::string> EncodedBody(const Tree& tree) {
  const std::string body = tree.decoded.value_or("");
  const std::string_view style = LineEndBytes(tree.firstStyle);
  if (tree.encoding == TransferEncoding::kBase64) {
    return reference::EncodeBase64BreakBefore(body, kBase64Line, style) + tree.lineEnd;
  }
  const std::optional<std::string> lines = WithBareLf(tree, body);
  if (!lines || style != tree.lineEnd) {
    return std::nullopt;
  }
  return reference::EncodeQp(*lines, tree.lineEnd);
}

std::optional<std::string> BodyText(const Tree& tree) {
  if (tree.isModified && IsCoded(tree)) {
    return EncodedBody(tree);
  }
  return WithLineEnd(tree, tree.isModified ? tree.decoded.value_or("") : tree.encoded);
}

// The text of a part, and of a multipart what stands behind its header block with the places of the
// delimiters in it.
struct PartText {
  std::string whole;
  std::string content;
  std::vector<std::size_t> delimiters;
};

std::optional<PartText> PartTextOf(const Tree& tree, std::string_view subjectSuffix) {
  PartText text;
  for (const Field& field : tree.fields) {
    text.whole += field.name + ":" + ValueText(tree, field, subjectSuffix) + tree.lineEnd;
  }
  text.whole += tree.fields.empty() ? "" : tree.lineEnd;
  std::optional<std::string> body = BodyText(tree);
  if (!body) {
    return std::nullopt;
  }
  text.content = std::move(*body);
  const std::string delimiter = tree.delimiter.value_or("--");
  for (const Tree& child : tree.children) {
    if (child.isRemoved) {
      continue;
    }
    const std::optional<PartText> childText = PartTextOf(child, {});
    if (!childText) {
      return std::nullopt;
    }
    if (tree.isMultipart) {
      text.delimiters.push_back(text.content.size());
      text.content += delimiter + tree.lineEnd;
      text.content += childText->whole.empty() ? tree.lineEnd : childText->whole;
    } else {
      text.content += childText->whole;
    }
  }
  if (tree.isMultipart) {
    text.delimiters.push_back(text.content.size());
    text.content += delimiter + "--" + tree.lineEnd + tree.lineEnd;
  }
  text.whole += text.content;
  return text;
}

// Whether all line ends of a text are of one kind.
bool HasOnlyLineEnd(std::string_view text, std::string_view lineEnd) {
  for (std::size_t at = text.find_first_of("\r\n"); at < text.size();
       at = text.find_first_of("\r\n", at)) {
    const bool pair = text.substr(at, 2) == "\r\n";
    if (text.substr(at, pair ? 2 : 1) != lineEnd) {
      return false;
    }
    at += lineEnd.size();
  }
  return true;
}

std::vector<std::size_t> PlacesOf(std::string_view delimiter, std::string_view text) {
  std::vector<std::size_t> places;
  for (std::size_t at = text.find(delimiter); at < text.size(); at = text.find(delimiter, at + 1)) {
    places.push_back(at);
  }
  return places;
}

}  // namespace

std::optional<std::string> TextOf(const Tree& tree, std::string_view subjectSuffix) {
  const std::optional<PartText> text = PartTextOf(tree, subjectSuffix);
  return text ? std::optional<std::string>(text->whole) : std::nullopt;
}

namespace {

constexpr std::size_t kLongestLine = 4095;  // characters; one more is no field
constexpr std::size_t kMostChildren = 1000;
constexpr int kDeepestMultipart = 15;

class Reader {
 public:
  Reader(std::string_view lineEnd, std::string_view subjectSuffix)
      : lineEnd_(lineEnd), subjectSuffix_(subjectSuffix) {}

  std::optional<Tree> Read(const Tree& tree, int depth) {
    Tree read = tree;
    read.decoded = std::nullopt;
    read.isModified = false;
    read.firstStyle = LineEndStyle::kUnknown;
    read.children.clear();
    const std::optional<std::string> body = BodyText(tree);
    if (!body || tree.lineEnd != lineEnd_ || !ReadFields(tree, depth == 0, read)) {
      return std::nullopt;
    }
    read.encoded = *body;
    if (tree.fields.empty()) {
      const std::string_view line = FirstLine(*body);
      if (line.find(':') != std::string_view::npos) {
        return std::nullopt;
      }
      // What has no line of text tells no line end.
      read.lineEnd = line.empty() || line.size() > kLongestLine ? "\r\n" : read.lineEnd;
    }
    if (tree.isMultipart ? !ReadMultipart(tree, depth, read) : !ReadEmbedded(tree, depth, read)) {
      return std::nullopt;
    }
    return read;
  }

 private:
  static bool ChangesThePart(std::string_view name) {
    static constexpr std::array<std::string_view, 6> kNames = {
        "Content-Type",   "Content-Transfer-Encoding", "Content-Disposition",
        "DKIM-Signature", "DomainKey-Signature",       "X-NoCharsWrongEncoded",
    };
    return std::any_of(kNames.begin(), kNames.end(),
                       [&](std::string_view one) { return EqualsNoCase(one, name); });
  }

  // One field as its text is read again.
  bool ReadField(const Tree& tree, const Field& field, bool isMessage, Tree& read) const {
    const std::string text = ValueText(tree, field, isMessage ? subjectSuffix_ : "");
    if (IsSetByHost(field) &&
        (ChangesThePart(field.name) || field.value.find_first_of("\r\n") != std::string::npos)) {
      return false;
    }
    Field again{field.name, {}, {}};
    for (std::size_t at = 0; at <= text.size();) {
      const std::size_t end = std::min(text.find(lineEnd_, at), text.size());
      const std::size_t before = again.lineEnds.empty() ? field.name.size() + 1 : 0;
      if (before + end - at >= kLongestLine) {
        return false;
      }
      again.value += text.substr(at, end - at);
      again.lineEnds.push_back(again.value.size());
      at = end + lineEnd_.size();
    }
    read.fields.push_back(again);
    return true;
  }

  bool ReadFields(const Tree& tree, bool isMessage, Tree& read) const {
    read.fields.clear();
    for (const Field& field : tree.fields) {
      const bool mayContinue = !field.name.empty() && IsBlank(field.name.front());
      if ((mayContinue && !read.fields.empty()) || !ReadField(tree, field, isMessage, read)) {
        return false;
      }
    }
    return true;
  }

  // The first line that has text.
  std::string_view FirstLine(std::string_view body) const {
    const std::size_t begin = std::min(body.find_first_not_of("\r\n"), body.size());
    return body.substr(begin, body.find(lineEnd_, begin) - begin);
  }

  // How often the fields speak of a boundary; what else they say of it is not looked at.
  static std::size_t BoundariesNamed(const Tree& tree) {
    std::size_t named = 0;
    for (const Field& field : tree.fields) {
      std::size_t at = FindNoCase(field.value, "boundary");
      while (at != std::string::npos) {
        ++named;
        at = FindNoCase(field.value, "boundary", at + 1);
      }
    }
    return named;
  }

  bool ReadMultipart(const Tree& tree, int depth, Tree& read) {
    const std::optional<PartText> text = PartTextOf(tree, {});
    if (!text || !tree.delimiter || BoundariesNamed(tree) != 1 || depth > kDeepestMultipart ||
        text->delimiters.size() < 2 || text->delimiters.size() > kMostChildren ||
        PlacesOf(*tree.delimiter, text->content) != text->delimiters) {
      return false;
    }
    for (const Tree& child : tree.children) {
      if (child.isRemoved) {
        continue;
      }
      std::optional<Tree> again = Read(child, depth + 1);
      if (!again) {
        return false;
      }
      const bool isEmpty = again->fields.empty() && again->encoded.empty();
      again->encoded = isEmpty ? std::string(lineEnd_) : again->encoded;
      read.children.push_back(std::move(*again));
    }
    return true;
  }

  bool ReadEmbedded(const Tree& tree, int depth, Tree& read) {
    if (tree.children.empty()) {
      return true;
    }
    std::optional<Tree> again = Read(tree.children.front(), depth + 1);
    if (!again || !read.encoded.empty() || tree.children.size() != 1) {
      return false;
    }
    read.children.push_back(std::move(*again));
    return true;
  }

  std::string_view lineEnd_;
  std::string_view subjectSuffix_;
};

}  // namespace

std::optional<Tree> ReadBack(const Tree& tree, std::string_view subjectSuffix) {
  const std::optional<std::string> text = TextOf(tree, subjectSuffix);
  if (!text || text->find('\0') != std::string::npos || !HasOnlyLineEnd(*text, tree.lineEnd) ||
      subjectSuffix.find_first_of("\r\n") != std::string_view::npos) {
    return std::nullopt;
  }
  return Reader(tree.lineEnd, subjectSuffix).Read(tree, 0);
}

}  // namespace zevka::fuzz
