// zevka headers FILE: the fields of a message, one a line.
#include <string>

#include "host/cli/commands.h"
#include "host/kit/disk.h"
#include "host/kit/part_reading.h"
#include "host/kit/text.h"

namespace zevka::host {

namespace {

// Tabs are harmless and stay; everything else that steers a terminal is spelled out.
std::string PrintableValue(const std::string& value) {
  std::string text;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = value.find('\t', start);
    text += Printable(value.substr(start, tab - start));
    if (tab == std::string::npos) {
      return text;
    }
    text += '\t';
    start = tab + 1;
  }
}

void ShowHeaders(Packer& packer, const InputFile& file) {
  const DiskFile disk = ReadFile(file.absolute);
  const Message message = packer.OpenBytes(disk.bytes);
  for (const Field& field : Fields(message.Part())) {
    Print(Printable(field.name) + ":" + PrintableValue(field.value) + "\n");
  }
}

}  // namespace

void RunHeaders(Session& session, const HeadersOptions& options) {
  session.ForFile(options.file, ShowHeaders);
}

}  // namespace zevka::host
