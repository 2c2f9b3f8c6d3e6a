// Line ends, lengths of lines, and bytes that no line may hold.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/check_findings.h"
#include "host/safe_edit/lines.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostLineBytes = 998;         // of any line
constexpr std::size_t kMostHeaderLineBytes = 4095;  // of what the library takes for a field

struct LineEndCounts {
  std::uint64_t crLf = 0;
  std::uint64_t lf = 0;
  std::uint64_t cr = 0;

  void Add(std::string_view text) {
    for (std::size_t at = text.find_first_of("\r\n"); at != std::string_view::npos;
         at = text.find_first_of("\r\n", at)) {
      if (text.substr(at, 2) == "\r\n") {
        ++crLf;
        at += 2;
      } else {
        ++(text[at] == '\n' ? lf : cr);
        ++at;
      }
    }
  }
};

bool IsBinary(const OutlinePart& part) {
  return part.kind == OutlineKind::kLeaf && part.encoding == "binary";
}

// The counts without bodies that may hold any bytes.
LineEndCounts CountLineEnds(std::string_view message, const std::vector<CheckedPart>& parts) {
  LineEndCounts counts;
  std::string_view rest = message;
  for (const CheckedPart& checked : parts) {
    const std::string_view body = checked.part->body;
    // Bodies of decoded messages lie elsewhere.
    const bool isHere =
        body.data() >= rest.data() && body.data() + body.size() <= rest.data() + rest.size();
    if (IsBinary(*checked.part) && isHere) {
      const auto before = static_cast<std::size_t>(body.data() - rest.data());
      counts.Add(rest.substr(0, before));
      rest.remove_prefix(before + body.size());
    }
  }
  counts.Add(rest);
  return counts;
}

void CheckLineEnds(std::string_view message, const std::vector<CheckedPart>& parts,
                   CheckFindings* findings) {
  const LineEndCounts counts = CountLineEnds(message, parts);
  const int kinds = (counts.crLf > 0 ? 1 : 0) + (counts.lf > 0 ? 1 : 0) + (counts.cr > 0 ? 1 : 0);
  const std::uint64_t all = counts.crLf + counts.lf + counts.cr;
  std::string text = "lines do not end alike (CR LF ";
  text.append(std::to_string(counts.crLf)).append(", LF ").append(std::to_string(counts.lf));
  text.append(", CR ")
      .append(std::to_string(counts.cr))
      .append("); those that are not as most are");
  findings->Add("mixed-line-ends", "",
                kinds > 1 ? all - std::max({counts.crLf, counts.lf, counts.cr}) : 0, text);
  // A message that ends all its lines by LF is how files have it.
  findings->Add("bare-lf", "", counts.crLf > 0 ? counts.lf : 0,
                "LF without a CR in a message with CR LF");
  findings->Add("bare-cr", "", counts.cr, "CR without an LF");
}

void CheckNuls(std::string_view text, const std::string& place, CheckFindings* findings) {
  findings->Add("nul-byte", place,
                static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\0')),
                "NUL bytes");
}

void CheckHeaderLines(const CheckedPart& checked, CheckFindings* findings) {
  const std::string_view header = checked.part->header;
  std::uint64_t tooLong = 0;
  std::uint64_t hopeless = 0;
  Lines lines(header);
  for (Line line; lines.Next(&line);) {
    const std::size_t length = line.end - line.begin;
    tooLong += length > kMostLineBytes ? 1U : 0U;
    hopeless += length > kMostHeaderLineBytes ? 1U : 0U;
  }
  findings->Add("header-line-too-long", checked.headerPlace, tooLong,
                "header lines over 998 bytes");
  findings->Add("header-line-over-4095", checked.headerPlace, hopeless,
                "header lines over 4095 bytes, which some readers take for the body");
  CheckNuls(header, checked.headerPlace, findings);
}

void CheckBodyLines(std::string_view text, const std::string& place, CheckFindings* findings) {
  std::uint64_t tooLong = 0;
  Lines lines(text);
  for (Line line; lines.Next(&line);) {
    tooLong += line.end - line.begin > kMostLineBytes ? 1U : 0U;
  }
  findings->Add("line-too-long", place, tooLong, "lines over 998 bytes");
  CheckNuls(text, place, findings);
}

}  // namespace

void CheckLines(std::string_view message, const std::vector<CheckedPart>& parts,
                CheckFindings* findings) {
  CheckLineEnds(message, parts, findings);
  for (const CheckedPart& checked : parts) {
    const OutlinePart& part = *checked.part;
    CheckHeaderLines(checked, findings);
    if (part.kind == OutlineKind::kMultipart) {
      CheckBodyLines(part.preamble, checked.bodyPlace, findings);
      CheckBodyLines(part.epilogue, checked.bodyPlace, findings);
    } else if (part.kind == OutlineKind::kLeaf && !IsBinary(part)) {
      CheckBodyLines(part.body, checked.bodyPlace, findings);
    }
  }
}

}  // namespace zevka::host
