// Lists the parts of a message with their media types and decoded sizes.
//
//   list_parts FILE

#include <zevka/host.h>

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using namespace zevka::host;

void List(const Part& part, int depth) {
  std::printf("%*s%s", 2 * depth, "", part.MediaType().c_str());
  if (!part.IsMultipart()) {
    std::printf(" (%" PRIu64 " bytes)", part.BodySizeBytes());
  }
  std::printf("\n");
  for (const Part& child : part.Children()) {
    List(child, depth + 1);
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  std::ifstream file(argumentCount == 2 ? arguments[1] : "", std::ios::binary);
  if (!file) {
    std::fputs("usage: list_parts FILE\n", stderr);
    return 2;
  }
  std::ostringstream bytes;
  bytes << file.rdbuf();
  try {
    const Packer packer(Library::Load());
    const Message message = packer.OpenBytes(bytes.str());
    List(message.Root(), 0);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", arguments[1], failure.what());
    return 1;
  }
}
