#include "mime/save_message.h"

#include <string>

#include "fileio/file_helpers.h"
#include "mime/part_state.h"

namespace zevka {

SaveOutcome SaveMessage(MIMEPart& message, const char* subjectSuffix, const char* passThrough,
                        const char* attachmentName) {
  const PartState& part = message.State();
  if (!part.files.own) {
    return SaveOutcome::kNotStarted;
  }
  const std::string name = *part.files.own;
  const std::string backup = name + "_b";
  if (!RenameFile(name, backup)) {
    return SaveOutcome::kNotStarted;
  }
  if (message.WriteMessage(part.modified ? 1 : 0, subjectSuffix, passThrough, attachmentName) ==
      0) {
    RemoveFiles(part);
    RemoveFile(name);
    RenameFile(backup, name);
    return SaveOutcome::kNotWritten;
  }
  RemoveFile(backup);
  return SaveOutcome::kWritten;
}

}  // namespace zevka
