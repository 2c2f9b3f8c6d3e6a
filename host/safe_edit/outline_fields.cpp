#include "host/safe_edit/outline_fields.h"

#include <algorithm>
#include <string>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/value_scanner.h"

namespace zevka::host {

namespace {

char LowerChar(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The field of that name that counts.
const OutlineField* CountingField(const OutlinePart& part, std::string_view lowerName,
                                  OutlineWay way) {
  const auto matches = [lowerName](const OutlineField& field) {
    return EqualsLower(field.name, lowerName);
  };
  if (way == OutlineWay::kUsual) {
    return FindField(part, lowerName);
  }
  const auto last = std::find_if(part.fields.rbegin(), part.fields.rend(), matches);
  return last == part.fields.rend() ? nullptr : &*last;
}

std::string EncodingOf(std::string_view value) {
  ValueScanner scanner(value);
  scanner.SkipBlanksAndComments();
  if (std::optional<std::string> quoted = scanner.TakeQuoted()) {
    return Lower(Trim(*quoted));
  }
  return Lower(scanner.TakeWord(";,"));
}

std::string BoundaryOf(std::string_view value, OutlineWay way) {
  std::vector<OutlineParameter> parameters = Parameters(value);
  if (way == OutlineWay::kOther) {
    std::reverse(parameters.begin(), parameters.end());
  }
  std::string boundary = JoinedParameter(parameters, "boundary").value_or("");
  boundary.resize(boundary.find_last_not_of(" \t") + 1);  // delimiter lines cannot show them
  return boundary;
}

}  // namespace

FieldHead HeadOf(std::string_view line) {
  const std::size_t nameEnd = line.find_first_of(": \t");
  if (nameEnd == 0 || nameEnd == std::string_view::npos) {
    return {};
  }
  const std::size_t colon = line.find_first_not_of(" \t", nameEnd);
  if (colon == std::string_view::npos || line[colon] != ':') {
    return {};
  }
  return {nameEnd, colon + 1};
}

bool EqualsLower(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return LowerChar(a) == b; });
}

std::string Unfolded(std::string_view value) {
  std::string result;
  for (const char c : Trim(value)) {
    if (c != '\r' && c != '\n') {
      result.push_back(c);
    }
  }
  return result;
}

const OutlineField* FindField(const OutlinePart& part, std::string_view lowerName) {
  const auto found = std::find_if(
      part.fields.begin(), part.fields.end(),
      [lowerName](const OutlineField& field) { return EqualsLower(field.name, lowerName); });
  return found == part.fields.end() ? nullptr : &*found;
}

void SettleType(OutlinePart* part, std::string_view defaultType, OutlineWay way) {
  if (const OutlineField* field = CountingField(*part, "content-type", way)) {
    part->mediaType = MediaTypeOf(field->value);
    if (part->mediaType.starts_with("multipart/")) {
      part->boundary = BoundaryOf(field->value, way);
    }
  }
  if (part->mediaType.empty()) {
    part->mediaType = defaultType;
  }
  if (const OutlineField* field = CountingField(*part, "content-transfer-encoding", way)) {
    part->encoding = EncodingOf(field->value);
  }
  if (part->encoding.empty()) {
    part->encoding = "7bit";
  }
}

bool HoldsMessage(const OutlinePart& part) {
  return part.mediaType == "message/rfc822" || part.mediaType == "message/global";
}

bool IsTransferEncoded(const OutlinePart& part) {
  return part.encoding == "base64" || part.encoding == "quoted-printable";
}

}  // namespace zevka::host
