#include "host/safe_edit/verify_fields.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "host/kit/text.h"
#include "host/safe_edit/field_values.h"

namespace zevka::host {

namespace {

using Fields = std::vector<const OutlineField*>;

constexpr std::string_view kMimeVersion = "mime-version";
constexpr std::string_view kContentType = "content-type";

Fields FieldsOf(const OutlinePart& part) {
  Fields fields;
  for (const OutlineField& field : part.fields) {
    fields.push_back(&field);
  }
  return fields;
}

std::string Named(std::string_view what, std::string_view name) {
  std::string text(what);
  text += ": ";
  return text += Printable(name);
}

// The fields that must still be there: those that are replaced are taken out, once for each wish.
Fields WithoutReplaced(Fields fields, const AppliedEdit& edit) {
  for (const FieldWish& wish : edit.fields) {
    if (wish.add) {
      continue;
    }
    const std::string lowerName = Lower(wish.name);
    const auto replaced = std::find_if(
        fields.begin(), fields.end(),
        [&lowerName](const OutlineField* field) { return Lower(field->name) == lowerName; });
    if (replaced != fields.end()) {
      fields.erase(replaced);
    }
  }
  return fields;
}

// Whether the field is still the one it was; a Subject may have got the suffix.
bool IsKept(const OutlineField& before, const OutlineField& after, const AppliedEdit& edit) {
  if (before.name != after.name) {
    return false;
  }
  if (SameValue(before.value, after.value)) {
    return true;
  }
  if (edit.subjectSuffix.empty() || Lower(before.name) != "subject") {
    return false;
  }
  std::string suffixed = Unfolded(before.value);
  suffixed += edit.subjectSuffix;
  return SameValue(suffixed, after.value);
}

// Takes the fields that are kept, in their order, out of `now`; the first that is missing, or null.
const OutlineField* TakeKept(const Fields& kept, const AppliedEdit& edit, Fields* now) {
  Fields others;
  auto next = now->begin();
  for (const OutlineField* field : kept) {
    while (next != now->end() && !IsKept(*field, **next, edit)) {
      others.push_back(*next++);
    }
    if (next == now->end()) {
      return field;
    }
    ++next;
  }
  others.insert(others.end(), next, now->end());
  *now = std::move(others);
  return nullptr;
}

// Takes the first field from `place` on that is the one it was out of `now`; false when there is
// none.
//   place  moved to what stands behind it
bool TakeFrom(const OutlineField& field, const AppliedEdit& edit, std::size_t* place, Fields* now) {
  const auto begin = now->begin() + static_cast<std::ptrdiff_t>(*place);
  const auto found = std::find_if(begin, now->end(), [&](const OutlineField* candidate) {
    return IsKept(field, *candidate, edit);
  });
  if (found == now->end()) {
    return false;
  }
  *place = static_cast<std::size_t>(now->erase(found) - now->begin());
  return true;
}

void TakeFirst(std::string_view lowerName, Fields* fields) {
  const auto found = std::find_if(
      fields->begin(), fields->end(),
      [lowerName](const OutlineField* field) { return Lower(field->name) == lowerName; });
  if (found != fields->end()) {
    fields->erase(found);
  }
}

// What is wrong with the fields that were not there before: each must have been asked for, and each
// wish must have brought one.
std::string DifferenceOfOthers(Fields others, const AppliedEdit& edit) {
  for (const FieldWish& wish : edit.fields) {
    const std::string lowerName = Lower(wish.name);
    const auto wished = std::find_if(others.begin(), others.end(), [&](const OutlineField* field) {
      return Lower(field->name) == lowerName &&
             IsWishedValue(field->value, wish, edit.subjectSuffix);
    });
    if (wished == others.end()) {
      return Named("a field was not set", wish.name);
    }
    others.erase(wished);
  }
  return others.empty() ? std::string() : Named("a field has come", others.front()->name);
}

}  // namespace

std::string DifferenceOfFields(const OutlinePart& before, const OutlinePart& after) {
  Fields now = FieldsOf(after);
  if (const OutlineField* missing = TakeKept(FieldsOf(before), AppliedEdit(), &now)) {
    return Named("a field is missing or altered", missing->name);
  }
  return now.empty() ? std::string() : Named("a field has come", now.front()->name);
}

std::string DifferenceOfMessageFields(const OutlinePart& before, const OutlinePart& after,
                                      const AppliedEdit& edit) {
  Fields now = FieldsOf(after);
  const Fields kept = WithoutReplaced(FieldsOf(before), edit);
  if (const OutlineField* missing = TakeKept(kept, edit, &now)) {
    return Named("a field is missing or altered", missing->name);
  }
  return DifferenceOfOthers(std::move(now), edit);
}

std::string DifferenceOfWrappedFields(const OutlinePart& before, const OutlinePart& wrapper,
                                      const OutlinePart& firstPart, const AppliedEdit& edit) {
  // Each side keeps the order of the fields that it took, but for MIME-Version, which the wrapper
  // has in front; a field stands on one side only.
  Fields outer = FieldsOf(wrapper);
  Fields inner = FieldsOf(firstPart);
  std::size_t outerPlace = 0;
  std::size_t innerPlace = 0;
  for (const OutlineField* field : WithoutReplaced(FieldsOf(before), edit)) {
    std::size_t anyPlace = 0;
    std::size_t* place = Lower(field->name) == kMimeVersion ? &anyPlace : &outerPlace;
    if (!TakeFrom(*field, edit, place, &outer) && !TakeFrom(*field, edit, &innerPlace, &inner)) {
      return Named("a field is missing or altered", field->name);
    }
    outerPlace -= place == &anyPlace && anyPlace < outerPlace ? 1 : 0;
  }
  TakeFirst(kContentType, &outer);
  if (FindField(before, kMimeVersion) == nullptr) {
    TakeFirst(kMimeVersion, &outer);
  }
  if (std::string difference = DifferenceOfOthers(std::move(outer), edit); !difference.empty()) {
    return difference;
  }
  // The first part says what a message that says nothing is.
  const bool isDefaultType = inner.size() == 1 && Lower(inner.front()->name) == kContentType &&
                             FindField(before, kContentType) == nullptr;
  if (!inner.empty() && !isDefaultType) {
    return Named("a field has come", inner.front()->name);
  }
  return FindField(wrapper, kMimeVersion) == nullptr ? "the wrapper has no MIME-Version field"
                                                     : std::string();
}

std::string MissingField(const OutlinePart& message, const AppliedEdit& edit) {
  for (const FieldWish& wish : edit.fields) {
    const std::string lowerName = Lower(wish.name);
    const bool isThere =
        std::any_of(message.fields.begin(), message.fields.end(), [&](const OutlineField& field) {
          return Lower(field.name) == lowerName &&
                 IsWishedValue(field.value, wish, edit.subjectSuffix);
        });
    if (!isThere) {
      return wish.name;
    }
  }
  const bool hasSuffix =
      std::all_of(message.fields.begin(), message.fields.end(), [&edit](const OutlineField& field) {
        return Lower(field.name) != "subject" ||
               Trim(Unfolded(field.value)).ends_with(Trim(edit.subjectSuffix));
      });
  return hasSuffix ? std::string() : "Subject";
}

}  // namespace zevka::host
