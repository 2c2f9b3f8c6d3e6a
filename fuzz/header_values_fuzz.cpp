// Values of header fields: media types, comments, display names, folding, and what the fields of a
// part say about it, each as the reference or a plain model has it; no reading looks outside its
// value, and what was folded can be unfolded.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/support/exact.h"
#include "fuzz/support/input.h"
#include "fuzz/support/law.h"
#include "fuzz/support/target.h"
#include "mime/classification.h"
#include "mime/header_folding.h"
#include "mime/header_list.h"
#include "mime/header_values.h"
#include "tests/support/reference/header_values_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::array<LineEndStyle, 4> kStyles{LineEndStyle::kCrLf, LineEndStyle::kCr,
                                              LineEndStyle::kLf, LineEndStyle::kUnknown};
constexpr std::array<std::string_view, 4> kTypes{"application/x-pkcs7-signature",
                                                 "application/x-pkcs7-mime", "message/rfc822", "a"};
constexpr std::size_t kFoldedLine = 70;
constexpr std::size_t kMostFields = 8;

std::string UpToNul(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

void CheckType(const ExactText& value, std::string_view type) {
  Signatures signatures;
  const bool matches = MatchContentType(signatures, value.Text(), type);
  const reference::TypeMatch expected =
      reference::MatchType(std::string(value.Text()), std::string(type));
  Law(matches == expected.matches, "the reference matches the same types");
  Law(signatures.protocol == expected.marksSigned, "the reference sees the same protocols");
  Law(!signatures.domain, "a type marks no domain");
  signatures.protocol = true;
  MatchContentType(signatures, value.Text(), type);
  Law(signatures.protocol, "a mark is never taken away");
}

void CheckComments(const ExactText& value) {
  Law(StripComments(value.Text()) == reference::WithoutComments(std::string(value.Text())),
      "the reference drops the same comments");
}

void CheckName(const ExactText& value, std::string_view parameter, LineEndStyle style) {
  const DisplayName before{"earlier", "old", 77};
  DisplayName name = before;
  DecodeState lent;
  lent.quotedPrintable.state = 2;
  const bool found = ExtractName(name, lent, style, value.Text(), parameter);
  Law(lent.quotedPrintable.state == 2 && lent.base64.invalidTotal == 0,
      "the decoder comes back as it was");
  const reference::Name expected = reference::NameIn(
      std::string(value.Text()), std::string(parameter), std::string(LineEndBytes(style)));
  Law(found == expected.found, "the reference finds the same parameters");
  Law(name.text == expected.text, "the reference gives the same name");
  Law(name.offset == expected.offset.value_or(before.offset), "the name has the same place");
  Law(expected.malformed || name.charset == expected.charset.value_or(before.charset),
      "the name has the same charset");
  Law(name.charset.size() < 32, "a charset is not too long");
}

std::size_t Words(std::string_view line) {
  std::size_t words = 0;
  bool blank = true;
  for (const char c : line) {
    const bool now = c == ' ' || c == '\t';
    words += blank && !now ? 1U : 0U;
    blank = now;
  }
  return words;
}

std::string_view Trimmed(std::string_view line, bool front) {
  constexpr std::string_view kBlanks = " \t";
  if (line.find_first_not_of(kBlanks) == std::string_view::npos) {
    return {};
  }
  line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
  return front ? line.substr(line.find_first_not_of(kBlanks)) : line;
}

// Each line of a folded value is as full as it may be: the first word of the next one would have
// made it too long. The blanks in front of the first word and behind the last are not counted.
void CheckLines(std::size_t nameLength, const std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string_view line = Trimmed(lines[i], i == 0);
    const std::size_t column = line.size() + (i == 0 ? nameLength + 2 : 0);
    Law(Words(line) < 2 || column <= kFoldedLine, "a line of several words is not too long");
    if (i + 1 < lines.size()) {
      const std::string& next = lines[i + 1];
      const std::size_t word = next.find_first_not_of(" \t");
      Law(word != std::string::npos && word > 0, "a line goes on with a blank and a word");
      const std::size_t added = std::min(next.find_first_of(" \t", word), next.size());
      Law(column + added > kFoldedLine, "no line is broken without need");
    }
  }
}

void CheckFolding(std::string_view name, std::string_view text, std::string_view lineEnd) {
  std::string value(text);
  value.erase(
      std::remove_if(value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n'; }),
      value.end());
  const ExactText exact(value);
  std::string folded = FoldHeaderValue(name, exact.Text(), lineEnd);
  if (value.empty()) {
    Law(folded.empty(), "an empty value stays empty");
    return;
  }
  std::vector<std::string> lines;
  std::string unfolded;
  for (std::size_t end = 0; end != std::string::npos;) {
    end = folded.find(lineEnd);
    lines.push_back(folded.substr(0, end));
    unfolded += lines.back();
    folded.erase(0, end == std::string::npos ? end : end + lineEnd.size());
  }
  Law(unfolded == (value.front() == ' ' ? "" : " ") + value, "folding adds line ends only");
  CheckLines(name.size(), lines);
}

void CheckRefolding(std::string_view steps, bool increasing, std::string_view text,
                    std::string_view lineEnd) {
  SegmentList segments;
  SegmentNode last = 0;
  std::vector<std::size_t> same;
  for (const char step : steps) {
    const auto by = static_cast<unsigned char>(step);
    last = by + (increasing ? last : 0U);
    segments.push_back(last);
    same.push_back(last);
  }
  const ExactText value(text);
  Law(RefoldHeaderValue(value.Text(), segments, lineEnd) ==
          reference::Refold(std::string(text), same, std::string(lineEnd)),
      "the reference breaks the value at the same places");
}

// What the fields of a part say, kept by a plain model.
class Model {
 public:
  Model(std::int32_t depth, LineEndStyle style) : style_(style) {
    part_.depth = depth;
    part_.lineEnd.firstStyle = style;
  }

  void Field(std::string_view nameText, std::string_view valueText) {
    const ExactText name(nameText);
    const ExactText value(valueText);
    ClassifyHeader(part_, name.Text(), value.Text());
    const std::string kind = reference::Lower(reference::WithoutComments(std::string(nameText)));
    Expect(kind, std::string(valueText));
    Law(part_.kind.hasSubject == kind_.hasSubject, "a subject is known");
    Law(part_.kind.hasFileName == kind_.hasFileName, "a file name is known");
    Law(part_.kind.isMultipart == kind_.isMultipart, "a multipart is known");
    Law(part_.kind.isEmbeddedMessage == kind_.isEmbeddedMessage, "an embedded message is known");
    Law(part_.kind.wrongBodyEncoding == kind_.wrongBodyEncoding, "a wrong encoding is known");
    Law(part_.kind.encoding == kind_.encoding, "the encoding is known");
    Law(part_.signatures.domain == signatures_.domain, "a domain's signature is known");
    Law(part_.signatures.protocol == signatures_.protocol, "a signed protocol is known");
    Law(part_.name.text == name_, "the name is known");
  }

 private:
  void Expect(const std::string& kind, const std::string& value) {
    kind_.hasSubject |= kind == "subject";
    kind_.wrongBodyEncoding |= kind == "x-wrongbodyencoding";
    signatures_.domain |= kind == "dkim-signature" || kind == "domainkey-signature";
    if (kind == "content-transfer-encoding") {
      kind_.encoding = EncodingIn(reference::Lower(value));
    } else if (kind == "content-disposition") {
      kind_.hasFileName |= TakeName(value, "filename");
    } else if (kind == "content-type") {
      ExpectType(value);
    }
  }

  bool TakeName(const std::string& value, const std::string& parameter) {
    const reference::Name name =
        reference::NameIn(value, parameter, std::string(LineEndBytes(style_)));
    if (name.found) {
      name_ = name.text;
    }
    return name.found;
  }

  bool Matches(const std::string& value, const std::string& type) {
    const reference::TypeMatch match = reference::MatchType(value, type);
    signatures_.protocol |= match.marksSigned;
    return match.matches;
  }

  void ExpectType(const std::string& value) {
    if (!kind_.hasFileName) {
      TakeName(value, "name");
    }
    if (Matches(value, "application/x-pkcs7-mime") ||
        Matches(value, "application/x-pkcs7-signature")) {
      return;
    }
    if (Matches(value, "message/rfc822")) {
      kind_.isEmbeddedMessage = true;
    } else if (part_.depth < 16) {
      CollectBoundaries(boundaries_, value);
      kind_.isMultipart = !boundaries_.candidates.empty();
      Law(part_.boundaries.candidates == boundaries_.candidates, "the boundaries are collected");
    }
  }

  static TransferEncoding EncodingIn(const std::string& value) {
    if (value.find("quoted-printable") != std::string::npos) {
      return TransferEncoding::kQuotedPrintable;
    }
    return value.find("base64") != std::string::npos ? TransferEncoding::kBase64
                                                     : TransferEncoding::kOther;
  }

  LineEndStyle style_;
  PartState part_;
  Classification kind_;
  Signatures signatures_;
  BoundarySet boundaries_;
  std::optional<std::string> name_;
};

// The list keeps names and values up to their first NUL, and finds the first field of a name.
void CheckList(const HeaderList& list, std::string_view name, std::string_view value) {
  const HeaderNode& last = list.back();
  Law(last.name == UpToNul(name) && last.value == UpToNul(value) && last.segments.empty(),
      "a field is kept up to its first NUL");
  const auto first = std::find_if(list.begin(), list.end(), [&](const HeaderNode& field) {
    return reference::Lower(field.name) == reference::Lower(std::string(name));
  });
  const ExactText exact(name);
  Law(FindField(list, exact.Text()) == first, "the first field of a name is found");
}

void CheckFields(std::int32_t depth, LineEndStyle style, std::string_view text) {
  Model model(depth, style);
  HeaderList list;
  HeaderSizes sizes;
  std::size_t longestName = 255;
  std::size_t longestValue = 1023;
  for (std::size_t fields = 0; !text.empty() && fields < kMostFields; ++fields) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::string_view name = line.substr(0, line.find(':'));
    const std::string_view value = line.substr(std::min(name.size() + 1, line.size()));
    AppendNode(list, name, value);
    CheckList(list, name, value);
    sizes.Cover(name.size(), value.size());
    longestName = std::max(longestName, name.size());
    longestValue = std::max(longestValue, value.size());
    Law(sizes.nameSize == longestName + 1 && sizes.valueSize == longestValue + 1,
        "buffers of the sizes told hold every field");
    model.Field(UpToNul(name), UpToNul(value));
  }
}

void CheckOneInput(Input input) {
  const std::uint8_t choice = input.Byte();
  const LineEndStyle style = kStyles[choice & 3];
  const bool increasing = (choice & 4) != 0;
  const std::int32_t depth = (choice & 8) != 0 ? 16 : 15;
  const std::string_view type = kTypes[(choice >> 4) & 3];
  const std::string_view parameter = (choice & 64) != 0 ? "filename" : "name";
  const std::string_view steps = input.Text(input.Number(6));
  const std::string_view text = input.Rest();
  const ExactText value(UpToNul(text));
  CheckType(value, type);
  CheckComments(value);
  CheckName(value, parameter, style);
  CheckFolding(steps, text, LineEndBytes(style));
  CheckRefolding(steps, increasing, text, LineEndBytes(style));
  CheckFields(depth, style, text);
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput(zevka::fuzz::Input(data, size));
  return 0;
}
