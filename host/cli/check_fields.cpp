// Header blocks: what is no field, fields that are missing, and fields that stand more than once.
#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "host/cli/check_findings.h"
#include "host/kit/text.h"
#include "host/safe_edit/lines.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostShown = 60;

// Fields that a message may have once, and those that any part may have once.
constexpr std::array<std::string_view, 12> kOnceInMessages = {
    "date", "from",       "sender",      "reply-to",   "to",      "cc",
    "bcc",  "message-id", "in-reply-to", "references", "subject", "mime-version"};
constexpr std::array<std::string_view, 3> kOnceInParts = {"content-id", "content-description",
                                                          "content-disposition"};

template <typename List>
bool Holds(const List& list, std::string_view name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

bool Is8Bit(char character) {
  return (static_cast<unsigned char>(character) & 0x80U) != 0;
}

// Whether empty lines stand where a message's fields should begin. A part may have an empty header.
bool BeginsBlank(const CheckedPart& checked) {
  const OutlinePart& part = *checked.part;
  const bool isBroken = !part.brokenLines.empty() && Trim(part.brokenLines).empty();
  const bool isEmpty = checked.isMessage && part.fields.empty() && !part.body.empty() &&
                       !part.header.empty() && Trim(part.header).empty();
  return isBroken || isEmpty;
}

void CheckBrokenLine(const CheckedPart& checked, CheckFindings* findings) {
  const OutlinePart& part = *checked.part;
  std::string_view broken = part.brokenLines;
  const bool isFirst = broken.data() == part.header.data();
  if (isFirst && broken.starts_with("From ")) {
    findings->Add("mbox-from-line", checked.headerPlace, 1,
                  "the line of an mbox in front of the fields");
    broken.remove_prefix(std::min(broken.find_first_of("\r\n"), broken.size()));
  } else if (BeginsBlank(checked)) {
    findings->Add(
        "blank-before-header", checked.headerPlace, 1,
        "empty lines in front of the fields, which some readers take for an empty header");
  }
  if (const std::string_view line = Trim(broken); !line.empty()) {
    std::string text = "a line in the header block is no field: \"";
    const std::size_t length = std::min(line.find_first_of("\r\n"), kMostShown);
    text.append(Printable(line.substr(0, length))).append("\"");
    findings->Add("header-broken", checked.headerPlace, 1, text);
  }
}

void CheckForms(const CheckedPart& checked, CheckFindings* findings) {
  std::uint64_t eightBit = 0;
  std::uint64_t blanksBeforeColon = 0;
  std::uint64_t emptyContinuations = 0;
  bool isUtf8 = true;
  for (const OutlineField& field : checked.part->fields) {
    if (std::any_of(field.whole.begin(), field.whole.end(), Is8Bit)) {
      ++eightBit;
      isUtf8 = isUtf8 && IsUtf8(field.whole);
    }
    const std::string_view behind = field.whole.substr(field.name.size(), 1);
    blanksBeforeColon += behind == " " || behind == "\t" ? 1U : 0U;
    Lines lines(field.whole);
    Line line;
    lines.Next(&line);
    while (lines.Next(&line)) {
      const std::string_view text = field.whole.substr(line.begin, line.end - line.begin);
      emptyContinuations += Trim(text).empty() ? 1U : 0U;
    }
  }
  findings->Add("header-8bit", checked.headerPlace, eightBit,
                isUtf8 ? "fields with bytes beyond ASCII, in UTF-8"
                       : "fields with bytes beyond ASCII that are no UTF-8");
  findings->Add("blank-before-colon", checked.headerPlace, blanksBeforeColon,
                "fields with a blank between name and colon");
  findings->Add(
      "blank-continuation-line", checked.headerPlace, emptyContinuations,
      "continuation lines of blanks only, which some readers take for the end of the header");
}

void CheckRepeated(const CheckedPart& checked, CheckFindings* findings) {
  std::map<std::string, std::uint64_t> counts;
  for (const OutlineField& field : checked.part->fields) {
    ++counts[Lower(field.name)];
  }
  std::string names;
  std::uint64_t surplus = 0;
  for (const auto& [name, count] : counts) {
    const bool once =
        Holds(kOnceInParts, name) || (checked.isMessage && Holds(kOnceInMessages, name));
    if (once && count > 1) {
      names.append(names.empty() ? "" : ", ").append(name);
      surplus += count - 1;
    }
  }
  findings->Add("duplicate-field", checked.headerPlace, surplus,
                "fields that may stand once stand again: " + names);
  const auto several = [&counts](const char* name) { return counts[name] > 1 ? counts[name] : 0; };
  findings->Add("several-content-types", checked.headerPlace, several("content-type"),
                "Content-Type fields; readers may take any of them");
  findings->Add("several-encodings", checked.headerPlace, several("content-transfer-encoding"),
                "Content-Transfer-Encoding fields; readers may take any of them");
}

void CheckMissing(const CheckedPart& checked, CheckFindings* findings) {
  const OutlinePart& part = *checked.part;
  const auto isMissing = [&part](std::string_view name) {
    return FindField(part, name) == nullptr;
  };
  findings->Add("missing-from", checked.headerPlace, isMissing("from") ? 1 : 0, "no From field");
  findings->Add("missing-date", checked.headerPlace, isMissing("date") ? 1 : 0, "no Date field");
  const bool isMime = !isMissing("content-type") || !isMissing("content-transfer-encoding");
  findings->Add("missing-mime-version", checked.headerPlace,
                isMime && isMissing("mime-version") ? 1 : 0,
                "no MIME-Version field, so a strict reader passes over type and encoding");
}

}  // namespace

void CheckFields(const CheckedPart& part, CheckFindings* findings) {
  CheckBrokenLine(part, findings);
  CheckForms(part, findings);
  CheckRepeated(part, findings);
  // Embedded messages need only one of the fields.
  if (part.isMessage && !part.parent) {
    CheckMissing(part, findings);
  }
}

}  // namespace zevka::host
