#include <zevka/safe_edit.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/safe_edit/field_texts.h"
#include "host/safe_edit/guard.h"
#include "host/safe_edit/leftovers.h"
#include "host/safe_edit/library_view.h"
#include "host/safe_edit/line_ends.h"
#include "host/safe_edit/outline.h"
#include "host/safe_edit/pairing.h"
#include "host/safe_edit/plan.h"
#include "host/safe_edit/preparation.h"
#include "host/safe_edit/repair.h"
#include "host/safe_edit/replace_file.h"
#include "host/safe_edit/verify.h"

namespace zevka::host {

namespace {

// Why the message comes back as it was.
struct Unchanged {
  std::vector<ReasonNote> reasons;
  std::string rejected;
};

// The part of that number in the library's tree; the number is one that the outline has, below
// multiparts only.
Part FindPart(const Message& message, const std::string& number) {
  std::vector<Part> level = message.Root().Children();
  std::size_t begin = 0;
  for (;;) {
    const std::size_t dot = std::min(number.find('.', begin), number.size());
    const std::size_t place = std::stoul(number.substr(begin, dot - begin));
    if (place == 0 || place > level.size()) {
      throw Failure("the library does not see the part " + number);
    }
    Part part = std::move(level[place - 1]);
    if (dot == number.size()) {
      return part;
    }
    level = part.Children();
    begin = dot + 1;
  }
}

// Has the library do the edit. Throws Failure when it does not.
std::string Applied(Message& message, const AppliedEdit& edit, const Wishes& wishes) {
  Part root = message.Root();
  for (std::size_t index = 0; index < edit.fields.size(); ++index) {
    const FieldWish& field = edit.fields[index];
    if (field.add) {
      root.AddField(field.name, GivenValue(field, index));
    } else {
      root.SetField(field.name, GivenValue(field, index));
    }
  }
  // All are found before one goes: numbers count the parts that are left.
  std::vector<Part> removed;
  for (const std::string& number : edit.removed) {
    removed.push_back(FindPart(message, number));
  }
  for (Part& part : removed) {
    part.Remove();
  }
  if (!edit.plainFooter.empty() && !message.SetFooter(wishes.footer)) {
    throw Failure("the library takes no footer for this message");
  }
  return message.Finish(edit.subjectSuffix);
}

// One edit of one message.
class Edit {
 public:
  Edit(const Packer& packer, std::string_view text, const Wishes& wishes,
       const EditOptions& options)
      : packer_(packer), text_(text), wishes_(wishes), options_(options) {}

  // The changed message, or nothing and the reasons.
  std::optional<std::string> Run(Unchanged* unchanged) {
    if (std::optional<ReasonNote> bad = FindBadWish(wishes_, options_)) {
      return Leave({*std::move(bad)}, unchanged);
    }
    if (text_.empty()) {
      return Leave({{Reason::kNotAMessage, "", "is empty"}}, unchanged);
    }
    if (text_.size() > options_.limits.mostBytes) {
      return Leave({{Reason::kTooLarge, "", std::to_string(text_.size()) + " bytes"}}, unchanged);
    }
    const Outline before = Outline::Read(text_, OutlineLimitsOf(options_.limits));
    if (std::vector<ReasonNote> guarded = Guarded(before); !guarded.empty()) {
      return Leave(std::move(guarded), unchanged);
    }
    Plan plan = MakePlan(before, wishes_, options_);
    if (!plan.impossible.empty()) {
      return Leave(std::move(plan.impossible), unchanged);
    }
    if (!plan.HasWork()) {
      if (plan.fulfilled.empty()) {
        plan.fulfilled.push_back({Reason::kAsWanted, "", "nothing was asked for"});
      }
      return Leave(std::move(plan.fulfilled), unchanged);
    }
    return Changed(before, plan.edit, unchanged);
  }

 private:
  static std::optional<std::string> Leave(std::vector<ReasonNote> reasons, Unchanged* unchanged) {
    unchanged->reasons = std::move(reasons);
    return std::nullopt;
  }

  std::vector<ReasonNote> Guarded(const Outline& outline) const {
    std::vector<ReasonNote> reasons = LimitReasons(text_, outline, options_.limits);
    if (reasons.empty()) {
      reasons = FindGuardedInAnyWay(text_, outline, options_);
    }
    return reasons;
  }

  std::optional<std::string> Changed(const Outline& before, const AppliedEdit& edit,
                                     Unchanged* unchanged) const {
    const Preparation preparation(before);
    const bool isPrepared = preparation.IsNeeded();
    const std::string prepared = isPrepared ? preparation.Prepared(before, text_) : std::string();
    std::optional<std::string> result =
        Written(isPrepared ? std::string_view(prepared) : text_, edit, unchanged);
    if (!result) {
      return std::nullopt;
    }
    if (isPrepared) {
      result = preparation.Restored(*result, ResultLimits());
    }
    if (HaveStandIns(edit.fields)) {
      result = WithFieldTexts(edit.fields, Outline::Read(*result, ResultLimits()), *result);
    }
    std::optional<Outline> after = Outline::Read(*result, ResultLimits());
    const auto pair = [&] {
      return PairParts(before, *after, !edit.plainFooter.empty(), edit.removed);
    };
    Pairing pairing = pair();
    if (std::optional<std::string> repaired = Repaired(pairing, *after, *result)) {
      pairing = Pairing();
      after.reset();
      result = std::move(repaired);
      after = Outline::Read(*result, ResultLimits());
      pairing = pair();
    }
    std::optional<ReasonNote> difference = FindDifference(pairing, *after, *result, edit);
    if (!difference && edit.removed.empty() && HasStrayReturn(text_)) {
      // It is in a line for some readers, and ends one for the outline; now there is none.
      difference = {Reason::kVerifyFailed, "", "a CR among other line ends was altered"};
    }
    if (difference) {
      if (difference->reason == Reason::kVerifyFailed) {
        unchanged->rejected = *std::move(result);
      }
      return Leave({*std::move(difference)}, unchanged);
    }
    return result;
  }

  // What the library makes of the message.
  std::optional<std::string> Written(std::string_view text, const AppliedEdit& edit,
                                     Unchanged* unchanged) const {
    std::optional<Message> message;
    try {
      message.emplace(packer_.OpenBytes(text));
    } catch (const Failure& failure) {
      return Leave({{Reason::kNotAMessage, "", failure.what()}}, unchanged);
    }
    try {
      std::vector<ReasonNote> guarded =
          GuardedByLibrary(*message, options_.guardTransportSignatures);
      if (!guarded.empty()) {
        return Leave(std::move(guarded), unchanged);
      }
      return Applied(*message, edit, wishes_);
    } catch (const Failure& failure) {
      return Leave({{Reason::kRefused, "", failure.what()}}, unchanged);
    }
  }

  // A footer adds two parts and a level at most.
  OutlineLimits ResultLimits() const {
    OutlineLimits limits = OutlineLimitsOf(options_.limits);
    limits.mostParts += 2;
    limits.mostDepth += 1;
    return limits;
  }

  const Packer& packer_;
  std::string_view text_;
  const Wishes& wishes_;
  const EditOptions& options_;
};

// A file beyond the limit is not even read.
std::optional<EditResult> TooLargeFile(const std::string& path, const EditOptions& options) {
  std::error_code failed;
  const std::uintmax_t sizeBytes = std::filesystem::file_size(path, failed);
  if (failed || sizeBytes <= options.limits.mostBytes) {
    return std::nullopt;  // what fails here fails again, with a reason, when it is read
  }
  EditResult result;
  result.reasons.push_back({Reason::kTooLarge, "", std::to_string(sizeBytes) + " bytes"});
  return result;
}

}  // namespace

EditResult SafeEdit(const Packer& packer, std::string_view message, const Wishes& wishes,
                    const EditOptions& options) {
  Unchanged unchanged;
  EditResult result;
  const std::size_t inFront = BytesInFront(message);
  if (std::optional<std::string> changed =
          Edit(packer, message.substr(inFront), wishes, options).Run(&unchanged)) {
    result.changed = true;
    result.bytes = *std::move(changed);
    result.bytes.insert(0, message.substr(0, inFront));
  } else {
    result.bytes = message;
    result.reasons = std::move(unchanged.reasons);
    result.rejected = std::move(unchanged.rejected);
  }
  return result;
}

EditResult SafeEditFile(const Packer& packer, const std::string& path, const Wishes& wishes,
                        const EditOptions& options) {
  if (std::optional<EditResult> large = TooLargeFile(path, options)) {
    return *std::move(large);
  }
  const OriginalFile original = ReadOriginal(path);
  if (options.removeLeftovers) {
    RemoveLeftovers(std::filesystem::path(original.path).parent_path().string());
  }
  EditResult result = SafeEdit(packer, original.bytes, wishes, options);
  if (result.changed) {
    ReplaceFile(original, result.bytes);
  }
  result.bytes.clear();
  return result;
}

}  // namespace zevka::host
