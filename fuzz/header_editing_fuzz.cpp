// Header fields under a host's hands: what is read, set and walked through is what a simple list of
// fields says; fields that nobody set keep their place and their bytes in the written message, and
// the written message has the fields of the list.
//
// The input is 16 steering bytes and the message behind them.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/support/field_list.h"
#include "fuzz/support/host_state.h"
#include "fuzz/support/law.h"
#include "fuzz/support/messages.h"
#include "fuzz/support/steering.h"
#include "fuzz/support/target.h"
#include "fuzz/support/tree.h"
#include "fuzz/support/tree_text.h"

namespace zevka::fuzz {
namespace {

constexpr const char* kNames[] = {
    "Subject",
    "X-Added",
    "Content-Type",
    "Content-Transfer-Encoding",
    "DKIM-Signature",
    "subject",
    "x-a",
    "DomainKey-Signature",
    "Content-Disposition",
    "From",
    "",
    "X_A",
    "Received",
    "X-NoCharsWrongEncoded",
    "A:",
};
constexpr const char* kValues[] = {
    "base64",
    " quoted-printable",
    "7bit",
    " text/html; charset=utf-8; boundary=other",
    "",
    " ",
    "one two three four five six seven eight nine ten eleven twelve thirteen fourteen fifteen",
    "\xC3\xA9t\xC3\xA9 =?utf-8?q?=C3=A9?= and a few more words, to be folded or not to be folded",
    "\ta",
    "=?iso-8859-1?B?4Q==?=",
};
constexpr std::size_t kMostSteps = 24;
constexpr std::size_t kLongestPiece = 300;
constexpr char kFiller = '\x55';

std::string UpToNul(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 128; });
}

std::wstring Wide(std::string_view text) {
  return {text.begin(), text.end()};
}

// One part, worked on through its slots and in the model at once.
class Editor {
 public:
  Editor(MIMEPart& part, Steering& steering, std::list<ListedField> fields)
      : part_(part), steering_(steering) {
    list_.fields = std::move(fields);
    list_.Rewind();
    part_.RewindHeaders();
    encoding_ = part_.State().kind.encoding;
  }

  void Work() {
    const std::size_t steps = steering_.Number(kMostSteps);
    for (std::size_t i = 0; i < steps; ++i) {
      Step();
    }
    WalkAll();
    Law(part_.State().kind.encoding == encoding_, "only a replaced field changes the encoding");
  }

  const FieldList& List() const { return list_; }

 private:
  void Step() {
    switch (steering_.Number(7)) {
      case 0:
        list_.Rewind();
        Law(part_.RewindHeaders() == 1, "headers are rewound");
        break;
      case 1:
      case 2:
        StepOn();
        break;
      case 3:
        AskForLineEnd();
        break;
      default:
        Set();
        break;
    }
  }

  std::string SomeName() {
    if (!list_.fields.empty() && steering_.OneIn(3)) {
      auto field = list_.fields.begin();
      std::advance(field, steering_.Number(std::min<std::size_t>(list_.fields.size() - 1, 255)));
      return field->name;
    }
    return steering_.OneIn(8) ? UpToNul(steering_.Piece(20)) : steering_.Choice(kNames);
  }

  std::string SomeValue() {
    return steering_.OneIn(2) ? UpToNul(steering_.Piece(kLongestPiece)) : steering_.Choice(kValues);
  }

  void Set() {
    const std::string name = SomeName();
    const std::string value = SomeValue();
    const int mode = static_cast<int>(steering_.Number(2)) - 1;  // -1 replaces, as any but 0 does
    const bool wide = steering_.OneIn(4) && IsAscii(name) && IsAscii(value);
    NoteEncoding(name, value, mode != 0);
    const int expected = list_.Set(name, value, mode != 0);
    const int result = wide ? part_.SetHeaderW(Wide(name).c_str(), Wide(value).c_str(), mode)
                            : part_.SetHeader(name.c_str(), value.c_str(), mode);
    Law(result == expected, "a field is taken or refused");
  }

  // Replacing an existing field of this name, above any signature, is what changes the encoding.
  void NoteEncoding(const std::string& name, const std::string& value, bool replace) {
    FieldList after = list_;
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    const bool isEncoding = lower == "content-transfer-encoding";
    if (!isEncoding || !replace || value.empty()) {
      return;
    }
    constexpr const char* kMark = "(mark)";
    after.Set(name, kMark, true);
    const bool isReplaced =
        after.fields.size() == list_.fields.size() &&
        std::any_of(after.fields.begin(), after.fields.end(),
                    [&](const ListedField& field) { return field.value == kMark; });
    if (isReplaced) {
      encoding_ = value == "base64" ? TransferEncoding::kBase64
                  : value == "7bit" ? TransferEncoding::kNone
                                    : TransferEncoding::kOther;
    }
  }

  // The next field, into buffers of just the size that is asked for.
  void StepOn() {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    Law(part_.GetHeaderSizes(&nameSize, &valueSize) == 1, "sizes are always told");
    Law(nameSize >= leastName_ && valueSize >= leastValue_, "sizes are never lowered");
    leastName_ = nameSize;
    leastValue_ = valueSize;
    const ListedField* expected = list_.Next();
    if (steering_.OneIn(4)) {
      StepOnWide(expected, nameSize, valueSize);
      return;
    }
    std::vector<char> name(nameSize, kFiller);
    std::vector<char> value(valueSize, kFiller);
    const bool withName = !steering_.OneIn(8);
    const bool withValue = withName && !steering_.OneIn(8);
    const int result =
        part_.NextHeader(withName ? name.data() : nullptr, withValue ? value.data() : nullptr);
    Law(result == (expected == nullptr ? 0 : 1), "there is a next field or not");
    if (expected == nullptr) {
      return;
    }
    if (withName) {
      CheckPadded(name, expected->name);
    }
    if (withValue) {
      CheckPadded(value, expected->value);
    }
  }

  static void CheckPadded(const std::vector<char>& buffer, const std::string& text) {
    Law(text.size() <= buffer.size(), "a field fits the size that was told");
    std::vector<char> padded(text.begin(), text.end());
    padded.resize(buffer.size(), '\0');
    Law(buffer == padded, "a field is given as it is, padded to the size");
  }

  void StepOnWide(const ListedField* expected, std::uint32_t nameSize, std::uint32_t valueSize) {
    std::wstring name(nameSize + 1, L'\x55');
    std::wstring value(valueSize + 1, L'\x55');
    const int result = part_.NextHeaderW(name.data(), value.data());
    Law(result == (expected == nullptr ? 0 : 1), "there is a next wide field or not");
    if (expected != nullptr && IsAscii(expected->name) && IsAscii(expected->value)) {
      Law(name.c_str() == Wide(expected->name), "the wide name is the same");
      Law(value.c_str() == Wide(expected->value), "the wide value is the same");
    }
  }

  void AskForLineEnd() {
    std::array<char, 2> text = {kFiller, kFiller};
    Law(part_.NextHeader(nullptr, text.data()) == 0, "the question for the line end gives 0");
    Law(text[0] == '\r' || text[0] == '\n', "the line end is told");
  }

  void WalkAll() {
    list_.Rewind();
    part_.RewindHeaders();
    for (std::size_t i = 0; i <= list_.fields.size(); ++i) {
      StepOn();
    }
  }

  MIMEPart& part_;
  Steering& steering_;
  FieldList list_;
  TransferEncoding encoding_ = TransferEncoding::kUnset;
  std::uint32_t leastName_ = 256;
  std::uint32_t leastValue_ = 1024;
};

std::list<ListedField> FieldsSeen(const MIMEPart& part) {
  std::list<ListedField> fields;
  for (const HeaderNode& node : part.State().headers) {
    fields.push_back({node.name, node.value, ""});
  }
  return fields;
}

// The part that the steering leads to, the message itself or one below it.
MIMEPart& SomePart(MIMEPart& message, Steering& steering) {
  MIMEPart* part = &message;
  while (part->RewindChildren() == 1 && !part->State().children.empty() && !steering.OneIn(3)) {
    PartObject* child = nullptr;
    for (std::size_t i = steering.Number(3) + 1; i > 0 && part->NextChild(&child) == 1; --i) {
    }
    part = static_cast<MIMEPart*>(child);
  }
  return *part;
}

// The fields of the message, read by the model where it can.
std::list<ListedField> FieldsOfMessage(MIMEPart& message, std::string_view bytes) {
  const std::optional<SplitMessage> split = SplitHeader(bytes);
  if (!split) {
    return FieldsSeen(message);
  }
  const Tree tree = TreeOf(message, Decode::kNone);
  Law(tree.isMultipart || tree.isEmbeddedMessage || tree.encoded == split->body,
      "the body begins where the header block ends");
  return split->fields;
}

// What stands in the list with its lines stands in the text in that order, byte for byte; a first
// line without text gets a space.
void CheckUntouched(const FieldList& list, const std::string& text, const std::string& lineEnd) {
  std::size_t at = 0;
  for (const ListedField& field : list.fields) {
    if (field.lines.empty()) {
      continue;
    }
    std::string lines = field.lines;
    const std::size_t colon = field.name.size() + 1;
    if (colon == lines.size() || lines.compare(colon, lineEnd.size(), lineEnd) == 0) {
      lines.insert(colon, " ");
    }
    const std::size_t found = text.find(lines + lineEnd, at);
    Law(found != std::string::npos, "a field that nobody set keeps its place and its bytes");
    at = found + lines.size();
  }
}

void CheckReadAgain(const Tree& tree, const std::string& text) {
  const std::optional<Tree> expected = ReadBack(tree);
  if (!expected) {
    return;
  }
  OpenedMessage again(text);
  Law(static_cast<bool>(again), "the edited message opens");
  Tree read = TreeOf(again.Part(), Decode::kNone);
  ForgetFirstStyles(read);
  const std::string difference = Difference(*expected, read);
  Law(difference.empty(), "the edited message is read as its tree: " + difference);
}

void CheckOneInput(std::string_view input) {
  const HostState before;
  {
    Steering steering(input);
    OpenedMessage message(steering.Message());
    if (!message) {
      return;
    }
    MIMEPart& part = SomePart(message.Part(), steering);
    const bool isWhole = &part == &message.Part();
    Editor editor(part, steering,
                  isWhole ? FieldsOfMessage(part, steering.Message()) : FieldsSeen(part));
    editor.Work();
    const Tree tree = TreeOf(message.Part(), Decode::kNone);
    const std::optional<std::string> text = message.Close(true);
    Law(text.has_value() && text == TextOf(tree), "the edited message is written as its tree says");
    if (isWhole) {
      CheckUntouched(editor.List(), *text, tree.lineEnd);
    }
    CheckReadAgain(tree, *text);
  }
  before.CheckAllIsBack();
}

}  // namespace
}  // namespace zevka::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const zevka::fuzz::ProportionalTime time(size);
  zevka::fuzz::CheckOneInput({reinterpret_cast<const char*>(data), size});
  return 0;
}
