// Transfer encodings: faults in base64 and quoted-printable, and encodings where there may be none.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/cli/check_findings.h"
#include "host/kit/text.h"
#include "host/safe_edit/lines.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostEncodedLine = 76;
constexpr std::size_t kGroup = 4;  // characters of base64 that go together

bool IsBase64Character(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '+' || character == '/';
}

bool IsHexDigit(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F') ||
         (character >= 'a' && character <= 'f');
}

std::uint64_t CountLongLines(std::string_view body) {
  std::uint64_t count = 0;
  Lines lines(body);
  for (Line line; lines.Next(&line);) {
    count += line.end - line.begin > kMostEncodedLine ? 1U : 0U;
  }
  return count;
}

void CheckBase64(std::string_view body, const std::string& place, CheckFindings* findings) {
  std::uint64_t invalid = 0;
  std::uint64_t afterPadding = 0;
  std::uint64_t characters = 0;
  std::uint64_t padding = 0;
  for (const char character : body) {
    if (IsBase64Character(character)) {
      ++characters;
      afterPadding += padding > 0 ? 1U : 0U;
    } else if (character == '=') {
      ++padding;
    } else if (std::string_view(" \t\r\n").find(character) == std::string_view::npos) {
      ++invalid;
    }
  }
  findings->Add("base64-invalid", place, invalid, "characters that base64 does not have");
  findings->Add("base64-after-padding", place, afterPadding, "characters of base64 behind its end");
  const bool isWhole = (characters + padding) % kGroup == 0 && padding < kGroup - 1;
  findings->Add("base64-cut", place, afterPadding == 0 && !isWhole ? 1 : 0,
                "base64 that is cut, or whose padding is wrong");
  findings->Add("base64-long-line", place, CountLongLines(body), "lines of base64 over 76 bytes");
}

struct QuotedPrintableFaults {
  std::uint64_t invalid = 0;
  std::uint64_t raw = 0;
  std::uint64_t blanks = 0;

  void AddLine(std::string_view line) {
    const std::size_t last = line.find_last_not_of(" \t");
    const std::size_t length = last == std::string_view::npos ? 0 : last + 1;
    const std::string_view text = line.substr(0, length);
    // Behind a soft break they mean nothing.
    blanks += text.size() < line.size() && !text.ends_with('=') ? 1U : 0U;
    for (std::size_t index = 0; index < text.size(); ++index) {
      const auto byte = static_cast<unsigned char>(text[index]);
      raw += (byte < 0x20 && byte != '\t') || byte > 0x7E ? 1U : 0U;
      if (text[index] == '=' && index + 1 < text.size()) {
        const std::string_view digits = text.substr(index + 1, 2);
        const bool isEscape =
            digits.size() == 2 && std::all_of(digits.begin(), digits.end(), IsHexDigit);
        invalid += isEscape ? 0 : 1;
      }
    }
  }
};

void CheckQuotedPrintable(std::string_view body, const std::string& place,
                          CheckFindings* findings) {
  QuotedPrintableFaults faults;
  Lines lines(body);
  for (Line line; lines.Next(&line);) {
    faults.AddLine(body.substr(line.begin, line.end - line.begin));
  }
  findings->Add("qp-invalid", place, faults.invalid,
                "\"=\" in quoted-printable that begin neither an escape nor a soft line break");
  findings->Add("qp-raw-byte", place, faults.raw,
                "bytes in quoted-printable that should have been encoded");
  findings->Add("qp-trailing-blank", place, faults.blanks,
                "lines of quoted-printable that end with a blank, which some readers drop");
  findings->Add("qp-long-line", place, CountLongLines(body),
                "lines of quoted-printable over 76 bytes");
}

void Check7Bit(std::string_view body, const std::string& place, CheckFindings* findings) {
  const auto count = std::count_if(body.begin(), body.end(), [](char character) {
    return (static_cast<unsigned char>(character) & 0x80U) != 0;
  });
  findings->Add("body-8bit", place, static_cast<std::uint64_t>(count),
                "bytes beyond ASCII in a part that says that it has none");
}

bool IsKnown(std::string_view encoding) {
  constexpr std::array<std::string_view, 5> kKnown = {"7bit", "8bit", "binary", "base64",
                                                      "quoted-printable"};
  return std::find(kKnown.begin(), kKnown.end(), encoding) != kKnown.end();
}

}  // namespace

void CheckEncoding(const CheckedPart& checked, CheckFindings* findings) {
  const OutlinePart& part = *checked.part;
  const bool isEncoded = part.encoding == "base64" || part.encoding == "quoted-printable";
  findings->Add("unknown-encoding", checked.headerPlace, IsKnown(part.encoding) ? 0 : 1,
                "a transfer encoding that is not known: " + Printable(part.encoding));
  if (part.kind != OutlineKind::kLeaf) {
    findings->Add("encoded-composite", checked.headerPlace, isEncoded ? 1 : 0,
                  "a transfer encoding on a multipart or an embedded message, which may have none");
  }
  if (part.kind == OutlineKind::kMultipart) {
    Check7Bit(part.preamble, checked.bodyPlace, findings);
  } else if (part.encoding == "base64") {
    CheckBase64(part.body, checked.bodyPlace, findings);
  } else if (part.encoding == "quoted-printable") {
    CheckQuotedPrintable(part.body, checked.bodyPlace, findings);
  } else if (part.kind == OutlineKind::kLeaf && part.encoding == "7bit") {
    Check7Bit(part.body, checked.bodyPlace, findings);
  }
}

}  // namespace zevka::host
