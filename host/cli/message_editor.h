// Changes messages as one command wants them changed, and knows which ones it has changed before:
// so an interrupted batch may be run again.
//
// A footer marks its message, and a field that has its value needs no setting. Fields that are
// added beside others would be added again, and numbers of parts mean other parts once one has
// gone; so a message that has all fields that are to be added counts as done.
//
// Threads: Edit and EarlierResult may be called by several threads at once. Nothing throws but for
// want of memory.
#ifndef ZEVKA_HOST_CLI_MESSAGE_EDITOR_H
#define ZEVKA_HOST_CLI_MESSAGE_EDITOR_H

#include <zevka/safe_edit.h>

#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

// What a command wants of each message.
struct ChangeTask {
  Wishes wishes;
  EditOptions options;
  std::string command;      // its name
  bool mayRunAgain = true;  // on messages that it has changed
  std::string doneText;     // what is said of a message that was changed, as in "footer added"
};

class MessageEditor {
 public:
  // Both outlive the editor.
  MessageEditor(const Packer& packer, const ChangeTask& task) : packer_(packer), task_(task) {}

  EditResult Edit(std::string_view message);

  // Edit's result for the message, without its bytes, if `result` is what became of it before;
  // nothing when it is anything else.
  std::optional<EditResult> EarlierResult(std::string_view message, std::string_view result);

 private:
  bool HasAddedFields(std::string_view message) const;
  bool IsSameMessage(std::string_view message, std::string_view result) const;

  const Packer& packer_;
  const ChangeTask& task_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_MESSAGE_EDITOR_H
