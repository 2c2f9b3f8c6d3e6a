#include "host/cli/message_editor.h"

#include <algorithm>
#include <vector>

#include "host/kit/encoded_words.h"
#include "host/kit/text.h"
#include "host/safe_edit/field_values.h"
#include "host/safe_edit/outline.h"

namespace zevka::host {

namespace {

bool HasField(const OutlinePart& message, const FieldWish& wish) {
  const std::string name = Lower(wish.name);
  return std::any_of(message.fields.begin(), message.fields.end(), [&](const OutlineField& field) {
    return Lower(field.name) == name && (SameValue(field.value, wish.value) ||
                                         SameValue(WordsInUtf8(Unfolded(field.value)), wish.value));
  });
}

EditResult Unchanged(Reason reason, std::string_view detail) {
  EditResult result;
  result.reasons.push_back({reason, {}, std::string(detail)});
  return result;
}

}  // namespace

bool MessageEditor::HasAddedFields(std::string_view message) const {
  const std::vector<FieldWish>& fields = task_.wishes.fields;
  const auto isAdded = [](const FieldWish& wish) { return wish.add; };
  if (std::none_of(fields.begin(), fields.end(), isAdded)) {
    return false;
  }
  const Outline outline = Outline::Read(message);
  return std::all_of(fields.begin(), fields.end(), [&](const FieldWish& wish) {
    return !wish.add || HasField(outline.Message(), wish);
  });
}

EditResult MessageEditor::Edit(std::string_view message) {
  if (HasAddedFields(message)) {
    EditResult result = Unchanged(Reason::kAsWanted, "the field is there already");
    result.bytes = message;
    return result;
  }
  return SafeEdit(packer_, message, task_.wishes, task_.options);
}

// Fields of the message that the edit had no reason to touch, all in the result, in their order.
bool MessageEditor::IsSameMessage(std::string_view message, std::string_view result) const {
  const Outline before = Outline::Read(message);
  const Outline after = Outline::Read(result);
  const std::vector<OutlineField>& there = after.Message().fields;
  auto place = there.begin();
  for (const OutlineField& field : before.Message().fields) {
    const std::string name = Lower(field.name);
    const std::vector<FieldWish>& wishes = task_.wishes.fields;
    const bool isTouched =
        name.starts_with("content-") || name == "mime-version" || name == "subject" ||
        std::any_of(wishes.begin(), wishes.end(),
                    [&](const FieldWish& wish) { return Lower(wish.name) == name; });
    if (!isTouched) {
      place = std::find_if(place, there.end(), [&](const OutlineField& other) {
        return Lower(other.name) == name && SameValue(other.value, field.value);
      });
      if (place == there.end()) {
        return false;
      }
      ++place;
    }
  }
  return true;
}

std::optional<EditResult> MessageEditor::EarlierResult(std::string_view message,
                                                       std::string_view result) {
  const bool wasCopied = message == result;
  EditResult again = Edit(result);
  again.bytes.clear();
  const bool isDone =
      !again.changed && std::all_of(again.reasons.begin(), again.reasons.end(),
                                    [](const ReasonNote& note) { return IsAsWanted(note.reason); });
  if (wasCopied ? !again.changed : isDone && IsSameMessage(message, result)) {
    return again;
  }
  return std::nullopt;
}

}  // namespace zevka::host
