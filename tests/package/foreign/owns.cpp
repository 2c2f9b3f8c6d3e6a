// A host with the kit, which owns what the library hands out: marks a message.
#include <zevka/host.h>

#include <cstdio>

int main(int count, char** words) {
  using namespace zevka::host;
  if (count != 3) {
    return 2;
  }
  try {
    const Library library = Library::Load(words[1]);
    const Packer packer(library);
    Message message = packer.Open(words[2]);
    message.Root().SetField("X-Checked", "yes");
    message.Commit();
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", words[2], failure.what());
    return 1;
  }
}
