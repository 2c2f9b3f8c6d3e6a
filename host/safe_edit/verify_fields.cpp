#include "host/safe_edit/verify_fields.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string_view>

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

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

std::set<std::string> WishedNames(const AppliedEdit& edit) {
  std::set<std::string> names;
  for (const FieldWish& wish : edit.fields) {
    names.insert(Lower(wish.name));
  }
  return names;
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
  const std::set<std::string> wished = WishedNames(edit);
  for (const OutlineField* field : now) {
    if (wished.count(Lower(field->name)) == 0) {
      return Named("a field has come", field->name);
    }
  }
  return {};
}

std::string DifferenceOfWrappedFields(const OutlinePart& before, const OutlinePart& wrapper,
                                      const OutlinePart& firstPart, const AppliedEdit& edit) {
  // Each side keeps the order of the fields that it took; a field stands on one side only.
  Fields outer = FieldsOf(wrapper);
  Fields inner = FieldsOf(firstPart);
  for (const OutlineField* field : WithoutReplaced(FieldsOf(before), edit)) {
    const Fields one = {field};
    if (TakeKept(one, edit, &outer) != nullptr && TakeKept(one, edit, &inner) != nullptr) {
      return Named("a field is missing or altered", field->name);
    }
  }
  std::set<std::string> expected = WishedNames(edit);
  expected.insert({std::string(kMimeVersion), std::string(kContentType)});
  for (const OutlineField* field : outer) {
    if (expected.count(Lower(field->name)) == 0) {
      return Named("a field has come", field->name);
    }
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
          // Other than ASCII values stand as encoded words.
          return Lower(field.name) == lowerName &&
                 (!IsAscii(wish.value) || SameValue(field.value, wish.value));
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
