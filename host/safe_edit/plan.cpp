#include "host/safe_edit/plan.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "host/kit/field_text.h"
#include "host/kit/text.h"
#include "host/safe_edit/field_values.h"
#include "host/safe_edit/footer_marks.h"

namespace zevka::host {

namespace {

ReasonNote BadWish(std::string_view what, std::string_view which) {
  std::string detail(what);
  if (!which.empty()) {
    detail += ": ";
    detail += Printable(which);
  }
  return {Reason::kBadWish, "", detail};
}

// Lines of UTF-8 without characters that steer a terminal.
bool IsFooterText(std::string_view text) {
  return IsUtf8(text) && std::none_of(text.begin(), text.end(), [](char character) {
           const auto byte = static_cast<unsigned char>(character);
           return (byte < ' ' && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
         });
}

bool IsPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return character >= ' ' && character <= '~'; });
}

// As in "2" or "1.3".
bool IsPartNumber(std::string_view number) {
  bool digitBefore = false;
  for (const char character : number) {
    const bool digit = character >= '0' && character <= '9';
    if (!digit && (character != '.' || !digitBefore)) {
      return false;
    }
    digitBefore = digit;
  }
  return digitBefore;
}

// Why a footer would change something else than a text for people; empty when it would not.
std::string NoPlaceForFooter(const OutlinePart& message, std::string_view footer) {
  // Other footers get a part of their own.
  const bool goesInline = std::all_of(footer.begin(), footer.end(), [](char character) {
    return static_cast<unsigned char>(character) < 0x80;
  });
  if (message.mediaType == "message/partial") {
    return "is a piece of a larger message";
  }
  if (goesInline && message.kind == OutlineKind::kLeaf && message.mediaType == "text/plain" &&
      IsAttached(message)) {
    return "its only text is an attached file";
  }
  return {};
}

void PlanFooter(const Outline& message, const Wishes& wishes, const EditOptions& options,
                Plan* plan) {
  if (wishes.footer.empty()) {
    return;
  }
  const std::string digest = FooterDigest(wishes.footer);
  if (IsMarked(message.Message(), options.markerField, digest)) {
    plan->fulfilled.push_back({Reason::kFooterMarked, "", options.markerField});
    return;
  }
  const std::string plain = PlainFooter(wishes.footer);
  if (const OutlinePart* part = PartWithFooter(message, plain, plan->edit.removed)) {
    plan->fulfilled.push_back({Reason::kFooterPresent, part->number, ""});
    return;
  }
  if (const std::string reason = NoPlaceForFooter(message.Message(), plain); !reason.empty()) {
    plan->impossible.push_back({Reason::kRefused, "", reason});
    return;
  }
  plan->edit.plainFooter = plain;
  plan->edit.fields.push_back({options.markerField, digest, true});
}

void PlanFields(const OutlinePart& message, const Wishes& wishes, Plan* plan) {
  for (const FieldWish& wish : wishes.fields) {
    const OutlineField* field = FindField(message, Lower(wish.name));
    if (!wish.add && field != nullptr && IsWishedValue(field->value, wish, wishes.subjectSuffix)) {
      plan->fulfilled.push_back({Reason::kAsWanted, "", wish.name});
    } else {
      plan->edit.fields.push_back(wish);
    }
  }
}

void PlanSubject(const OutlinePart& message, const Wishes& wishes, Plan* plan) {
  if (wishes.subjectSuffix.empty()) {
    return;
  }
  const std::string_view wanted = Trim(wishes.subjectSuffix);
  const bool isSet =
      std::any_of(plan->edit.fields.begin(), plan->edit.fields.end(),
                  [](const FieldWish& wish) { return Lower(wish.name) == "subject"; });
  const bool isThere = !isSet && std::all_of(message.fields.begin(), message.fields.end(),
                                             [wanted](const OutlineField& field) {
                                               return Lower(field.name) != "subject" ||
                                                      Trim(Unfolded(field.value)).ends_with(wanted);
                                             });
  if (isThere) {
    plan->fulfilled.push_back({Reason::kAsWanted, "", "Subject"});
  } else {
    plan->edit.subjectSuffix = wishes.subjectSuffix;
  }
}

// Looks for a part below multiparts only: the library does not reach into embedded messages.
class Removals {
 public:
  explicit Removals(std::set<std::string>* removed) : removed_(removed) {}

  // Whether the part of that number, or one around it, can go.
  bool Add(const OutlinePart& multipart, std::string_view number) {
    for (const OutlinePart& child : multipart.children) {
      if (child.number == number) {
        removed_->insert(child.number);
        return true;
      }
      if (child.kind == OutlineKind::kMultipart && number.starts_with(child.number + ".")) {
        return Add(child, number);
      }
    }
    return false;
  }

  // A multipart that would have no part left goes itself, and what goes with it is not named.
  // False when nothing would be left of `multipart`.
  bool Settle(const OutlinePart& multipart) {
    std::size_t left = 0;
    for (const OutlinePart& child : multipart.children) {
      if (removed_->count(child.number) == 0 && child.kind == OutlineKind::kMultipart &&
          !child.children.empty() && !Settle(child)) {
        removed_->insert(child.number);
      }
      if (removed_->count(child.number) != 0) {
        Forget(child);
      } else {
        ++left;
      }
    }
    return left > 0;
  }

 private:
  void Forget(const OutlinePart& removedPart) {
    const std::string prefix = removedPart.number + ".";
    std::erase_if(*removed_,
                  [&prefix](const std::string& number) { return number.starts_with(prefix); });
  }

  std::set<std::string>* removed_;
};

void PlanRemovals(const OutlinePart& message, const Wishes& wishes, Plan* plan) {
  Removals removals(&plan->edit.removed);
  for (const std::string& number : wishes.removeParts) {
    if (message.kind != OutlineKind::kMultipart || !removals.Add(message, number)) {
      plan->impossible.push_back({Reason::kNoSuchPart, number, ""});
    }
  }
  if (!plan->edit.removed.empty() && !removals.Settle(message)) {
    plan->impossible.push_back({Reason::kBadWish, "", "no part would be left"});
  }
}

}  // namespace

std::optional<ReasonNote> FindBadWish(const Wishes& wishes, const EditOptions& options) {
  if (!IsFieldName(options.markerField)) {
    return BadWish("no name of a field", options.markerField);
  }
  if (!IsFooterText(wishes.footer)) {
    return BadWish("the footer is no text in UTF-8", "");
  }
  if (!wishes.footer.empty() && PlainFooter(wishes.footer).empty()) {
    return BadWish("the footer is blank", "");
  }
  for (const FieldWish& wish : wishes.fields) {
    if (!IsFieldName(wish.name)) {
      return BadWish("no name of a field (letters, digits and '-')", wish.name);
    }
    if (!IsFieldValue(wish.value)) {
      return BadWish("the value is empty or no line of text in UTF-8", wish.name);
    }
  }
  for (const std::string& number : wishes.removeParts) {
    if (!IsPartNumber(number)) {
      return BadWish("no number of a part", number);
    }
  }
  if (!IsPrintableAscii(wishes.subjectSuffix)) {
    return BadWish("the subject suffix is no line of ASCII", wishes.subjectSuffix);
  }
  return std::nullopt;
}

bool Plan::HasWork() const {
  return !edit.plainFooter.empty() || !edit.fields.empty() || !edit.removed.empty() ||
         !edit.subjectSuffix.empty();
}

Plan MakePlan(const Outline& message, const Wishes& wishes, const EditOptions& options) {
  Plan plan;
  PlanFields(message.Message(), wishes, &plan);
  PlanRemovals(message.Message(), wishes, &plan);
  PlanFooter(message, wishes, options, &plan);
  PlanSubject(message.Message(), wishes, &plan);
  return plan;
}

}  // namespace zevka::host
