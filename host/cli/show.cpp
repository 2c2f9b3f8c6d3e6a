// zevka show FILE...: the parts of each message as a tree.
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/commands.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

// Each level of embedded messages keeps its own copy of all deeper ones open.
constexpr int kMostEmbedded = 24;

struct Place {
  std::size_t indent = 2;
  std::string number;     // the part's; for a message that of the part that it is embedded in
  bool isMessage = true;  // not a child
  int messagesAround = 0;
};

void ShowPart(Packer& packer, PartObject& part, const Place& place);

// One line: number, media type, name and, for a leaf, encoding and size.
void ShowLine(PartObject& part, std::size_t indent, const std::string& number,
              std::optional<std::size_t> sizeBytes) {
  const std::vector<Field> fields = Fields(part);
  std::string line(indent, ' ');
  if (!number.empty()) {
    line += number + "  ";
  }
  line += Printable(MediaType(fields));
  if (const std::string name = DisplayName(part); !name.empty()) {
    line += " \"" + Printable(name) + "\"";
  }
  if (sizeBytes) {
    line += ", " + Printable(EncodingName(fields)) + ", " + std::to_string(*sizeBytes) + " bytes";
  }
  Print(line + "\n");
}

void ShowEmbedded(Packer& packer, const std::string& text, const Place& place) {
  if (place.messagesAround > kMostEmbedded) {
    Print(std::string(place.indent, ' ') + "(messages inside this one are not shown)\n");
    return;
  }
  if (text.empty()) {
    return;
  }
  const Message message = packer.OpenBytes(text);
  ShowPart(packer, message.Part(), place);
}

void ShowPart(Packer& packer, PartObject& part, const Place& place) {
  const std::vector<PartObject*> children = Children(part);
  if (!children.empty()) {
    ShowLine(part, place.indent, place.isMessage ? "" : place.number, std::nullopt);
    for (std::size_t index = 0; index < children.size(); ++index) {
      ShowPart(packer, *children[index],
               {place.indent + 2, ChildNumber(place.number, index), false, place.messagesAround});
    }
    return;
  }
  const std::string number = place.isMessage ? ChildNumber(place.number, 0) : place.number;
  const std::optional<std::string> embedded = EmbeddedText(packer, part);
  ShowLine(part, place.indent, number, embedded ? embedded->size() : DecodedSizeBytes(part));
  if (embedded) {
    ShowEmbedded(packer, *embedded, {place.indent + 2, number, true, place.messagesAround + 1});
  }
}

void Show(Packer& packer, const InputFile& file) {
  const DiskFile disk = ReadFile(file.absolute);
  const Message message = packer.OpenBytes(disk.bytes);
  const std::string signatures = SignatureKinds(packer, message.Part());
  Print(Printable(file.given) + ": " + std::to_string(disk.bytes.size()) + " bytes, " +
        LineEndName(message.Part()) + ", " +
        (signatures.empty() ? "not signed" : "signed (" + signatures + ")") + "\n");
  ShowPart(packer, message.Part(), {});
}

}  // namespace

void RunShow(Session& session, const ShowOptions& options) {
  session.ForEach(options.files, Show);
}

}  // namespace zevka::host
