// A filter as a mail gate has it: reads a message from standard input, adds a footer, writes the
// result to standard output. The message lives in memory only. A signed message passes unchanged.
//
//   add_footer FOOTER < message > result

#include <zevka/packer.h>

#include <cstdio>
#include <string>

#include "host/loader.h"

namespace {

std::string ReadAll(std::FILE* file) {
  std::string bytes;
  for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

std::string WithFooter(const std::string& bytes, const char* footer) {
  const auto library = zevka::host::Library::Load("");
  zevka::host::Packer packer(library);
  zevka::host::Message message = packer.OpenBytes(bytes);
  // SetFooterText refuses a signed message without a word. Asked before, the message is not even
  // rewritten.
  if (packer->QueryControl(zevka::kQuerySigned, &message.Part()) == 1) {
    return bytes;
  }
  message->SetFooterText(footer);
  return message.Finish();
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fputs("usage: add_footer FOOTER < message > result\n", stderr);
    return 2;
  }
  const std::string bytes = ReadAll(stdin);
  std::string result;
  int status = 0;
  try {
    result = WithFooter(bytes, arguments[1]);
  } catch (const zevka::host::Failure& failure) {
    // Better the message without a footer than none.
    std::fprintf(stderr, "add_footer: %s\n", failure.what());
    result = bytes;
    status = 1;
  }
  if (std::fwrite(result.data(), 1, result.size(), stdout) != result.size() ||
      std::fflush(stdout) != 0) {
    std::fputs("add_footer: cannot write the result\n", stderr);
    return 1;
  }
  return status;
}
