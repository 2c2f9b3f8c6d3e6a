#include <cstdio>

#include "host/loader.h"

int main(int argumentCount, char** arguments) {
  using namespace zevka::host;
  if (argumentCount != 3) {
    std::fputs("usage: twenty_lines FILE FOOTER\n", stderr);
    return 2;
  }
  try {
    const Library library = Library::Load("");
    Packer packer(library);
    Message message = packer.Open(arguments[1]);
    message->SetHeader("X-Checked", "yes", 1);
    message->SetFooterText(arguments[2]);
    message.Commit();
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", arguments[1], failure.what());
    return 1;
  }
}
