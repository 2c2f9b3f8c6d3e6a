// zevka set-header [--add] NAME VALUE FILE: replaces or adds one header field of a message, in its
// own file.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/commands.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"
#include "host/safe_edit/working_copy.h"

namespace zevka::host {

namespace {

bool IsFieldName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-';
  });
}

// One line of text: a line end would begin another field.
bool IsFieldValue(const std::string& value) {
  return !Trim(value).empty() && IsUtf8(value) &&
         std::none_of(value.begin(), value.end(), [](char character) {
           const auto byte = static_cast<unsigned char>(character);
           return (byte < ' ' && byte != '\t') || byte == 0x7F;
         });
}

bool HasField(const std::vector<Field>& fields, const std::string& name) {
  return FieldValue(fields, Lower(name)).has_value();
}

// Sets the field. The library does nothing, and says so to nobody, when the field stands below a
// signature.
void SetField(Message& message, const SetHeaderOptions& options) {
  if (message->SetHeader(options.name.c_str(), options.value.c_str(), options.add ? 0 : 1) != 1) {
    throw Failure("the field was refused");
  }
  const std::vector<Field> fields = Fields(message.Part());
  if (std::none_of(fields.begin(), fields.end(), [&options](const Field& field) {
        return Lower(field.name) == Lower(options.name) && Trim(field.value) == Trim(options.value);
      })) {
    throw SignedMessage("the field stands below a signature, not changed");
  }
}

void SetInFile(Packer& packer, const InputFile& file, const SetHeaderOptions& options) {
  const DiskFile disk = ReadFile(file.absolute);
  const auto edit = [&](Message& message) { SetField(message, options); };
  const auto verify = [&](std::string_view result) {
    if (!HasField(Fields(packer.OpenBytes(result).Part()), options.name)) {
      throw Failure("the field could not be set");
    }
    RequireSameLeaves(packer, disk.bytes, result, false);
  };
  EditFile(packer, file.absolute, edit, verify);
  Print(Printable(file.given) + ": field set\n");
}

}  // namespace

void RunSetHeader(Session& session, const SetHeaderOptions& options) {
  if (!IsFieldName(options.name)) {
    session.Report(options.name, "no field name (letters, digits and '-')", kExitUsage);
  } else if (!IsFieldValue(options.value)) {
    session.Report(options.name, "the value is empty or no line of text in UTF-8", kExitUsage);
  } else {
    session.ForFile(options.file, [&options](Packer& packer, const InputFile& file) {
      SetInFile(packer, file, options);
    });
  }
}

}  // namespace zevka::host
