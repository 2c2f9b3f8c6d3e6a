// Multiparts: boundaries, delimiters, and what stands around them.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/check_findings.h"
#include "host/kit/text.h"
#include "host/safe_edit/lines.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostBoundaryBytes = 70;
constexpr std::string_view kBoundaryCharacters =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ'()+_,-./:=? ";

// Boundaries that the Content-Type fields name; a boundary in pieces is one.
std::uint64_t CountBoundaries(const OutlinePart& part) {
  std::uint64_t count = 0;
  for (const OutlineField& field : part.fields) {
    if (Lower(field.name) != "content-type") {
      continue;
    }
    bool hasPieces = false;
    for (const OutlineParameter& parameter : Parameters(field.value)) {
      count += parameter.name == "boundary" ? 1U : 0U;
      hasPieces = hasPieces || parameter.name.starts_with("boundary*");
    }
    count += hasPieces ? 1U : 0U;
  }
  return count;
}

bool IsGoodBoundary(std::string_view boundary) {
  return !boundary.empty() && boundary.size() <= kMostBoundaryBytes &&
         boundary.find_first_not_of(kBoundaryCharacters) == std::string_view::npos;
}

void CheckType(const CheckedPart& checked, CheckFindings* findings) {
  const OutlinePart& part = *checked.part;
  const OutlineField* field = FindField(part, "content-type");
  if (field == nullptr) {
    return;
  }
  findings->Add("bad-content-type", checked.headerPlace, MediaTypeOf(field->value).empty() ? 1 : 0,
                "a Content-Type without type and subtype");
  const std::uint64_t boundaries = CountBoundaries(part);
  const bool isMultipart = part.mediaType.starts_with("multipart/");
  findings->Add("several-boundaries", checked.headerPlace, boundaries > 1 ? boundaries : 0,
                "boundaries; readers may take any of them");
  findings->Add("boundary-missing", checked.headerPlace, isMultipart && boundaries == 0 ? 1 : 0,
                "a multipart without a boundary");
  findings->Add("boundary-on-other-type", checked.headerPlace,
                !isMultipart && boundaries > 0 ? 1 : 0,
                "a boundary on a type that is no multipart, which some readers split all the same");
  findings->Add(
      "bad-boundary", checked.headerPlace,
      isMultipart && boundaries > 0 && !IsGoodBoundary(part.boundary) ? 1 : 0,
      "a boundary that is empty, over 70 characters or of characters that it may not have");
  findings->Add("boundary-not-found", checked.bodyPlace,
                isMultipart && boundaries > 0 && part.kind == OutlineKind::kLeaf ? 1 : 0,
                "a multipart in which its boundary does not occur");
}

void CheckClosing(const CheckedPart& checked, CheckFindings* findings) {
  const OutlinePart& part = *checked.part;
  findings->Add("missing-closing-delimiter", checked.bodyPlace, part.isClosed ? 0 : 1,
                "a multipart that is not closed");
  findings->Add("text-after-closing-delimiter", checked.bodyPlace, Trim(part.epilogue).size(),
                "bytes of text behind the closing delimiter, which readers do not show");
}

// The multiparts around a part, the nearest first, itself included.
std::vector<const OutlinePart*> MultipartsAround(const std::vector<CheckedPart>& parts,
                                                 std::size_t index) {
  std::vector<const OutlinePart*> around;
  for (std::optional<std::size_t> at = index; at; at = parts[*at].parent) {
    if (parts[*at].part->kind == OutlineKind::kMultipart) {
      around.push_back(parts[*at].part);
    }
  }
  return around;
}

// Two multiparts of which one's delimiter begins like the other's.
void CheckAmbiguous(const std::vector<CheckedPart>& parts, std::size_t index,
                    CheckFindings* findings) {
  const std::string_view own = parts[index].part->boundary;
  const std::vector<const OutlinePart*> around = MultipartsAround(parts, index);
  const auto clashes =
      std::count_if(around.begin() + 1, around.end(), [own](const OutlinePart* outer) {
        return own.starts_with(outer->boundary) || outer->boundary.starts_with(own);
      });
  findings->Add(
      "ambiguous-boundary", parts[index].headerPlace, clashes > 0 ? 1 : 0,
      "a boundary that begins like that of a multipart around it, or the other way round");
}

// Lines that begin like a delimiter of a multipart around and are none.
void CheckLoose(const std::vector<CheckedPart>& parts, std::size_t index, std::string_view text,
                CheckFindings* findings) {
  const std::vector<const OutlinePart*> around = MultipartsAround(parts, index);
  if (around.empty()) {
    return;
  }
  std::uint64_t count = 0;
  Lines lines(text);
  for (Line line; lines.Next(&line);) {
    std::string_view words = text.substr(line.begin, line.end - line.begin);
    if (!words.starts_with("--")) {
      continue;
    }
    words.remove_prefix(2);
    const bool isLoose =
        std::any_of(around.begin(), around.end(), [words](const OutlinePart* multipart) {
          return !multipart->boundary.empty() && words.starts_with(multipart->boundary);
        });
    count += isLoose ? 1U : 0U;
  }
  findings->Add(
      "loose-delimiter", parts[index].bodyPlace, count,
      "lines that begin like a delimiter and go on otherwise, or stand behind the closing one");
}

}  // namespace

void CheckStructure(const std::vector<CheckedPart>& parts, std::size_t index,
                    CheckFindings* findings) {
  const CheckedPart& checked = parts[index];
  CheckType(checked, findings);
  if (checked.part->kind == OutlineKind::kMultipart) {
    CheckClosing(checked, findings);
    CheckAmbiguous(parts, index, findings);
    CheckLoose(parts, index, checked.part->preamble, findings);
    CheckLoose(parts, index, checked.part->epilogue, findings);
  } else if (checked.part->kind == OutlineKind::kLeaf) {
    CheckLoose(parts, index, checked.part->body, findings);
  }
}

}  // namespace zevka::host
