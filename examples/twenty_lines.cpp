#include <zevka/host.h>

#include <cstdio>

int main(int argumentCount, char** arguments) {
  using namespace zevka::host;
  if (argumentCount != 3) {
    std::fputs("usage: twenty_lines FILE FOOTER\n", stderr);
    return 2;
  }
  try {
    const Packer packer(Library::Load());
    Message message = packer.Open(arguments[1]);
    message.Root().SetField("X-Checked", "yes");
    message.SetFooter(arguments[2]);
    message.Commit();
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", arguments[1], failure.what());
    return 1;
  }
}
