// Lists the parts of a message with their media types and decoded sizes, using the slots directly.
//
//   list_parts FILE

#include <zevka/part.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "host/loader.h"

namespace {

// The value of the first Content-Type field, or the type of a part that has none.
std::string ContentType(zevka::PartObject& part) {
  part.RewindHeaders();
  for (;;) {
    // NextHeader fills its buffers to exactly these sizes, so they are asked for each field.
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    part.GetHeaderSizes(&nameSize, &valueSize);
    std::string name(nameSize + 1, '\0');
    std::string value(valueSize + 1, '\0');
    if (part.NextHeader(name.data(), value.data()) != 1) {
      return " text/plain";
    }
    if (std::strcmp(name.c_str(), "Content-Type") == 0) {
      return value.substr(0, value.find_first_of(std::string(";\0", 2)));
    }
  }
}

void List(zevka::PartObject& part, int depth) {
  const bool isMultipart = part.RewindChildren() == 1;
  std::printf("%*s%s", 2 * depth, "", ContentType(part).c_str() + 1);
  if (!isMultipart) {
    // Without a buffer the call makes the decoded body and tells its size.
    std::printf(" (%llu bytes)",
                static_cast<unsigned long long>(part.ReadDecodedBody(nullptr, 0, 0)));
  }
  std::printf("\n");
  zevka::PartObject* child = nullptr;
  while (isMultipart && part.NextChild(&child) == 1) {
    List(*child, depth + 1);
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
    const auto library = zevka::host::Library::Load("");
    zevka::host::Packer packer(library);
    const zevka::host::Message message = packer.OpenBytes(bytes.str());
    List(message.Part(), 0);
  } catch (const zevka::host::Failure& failure) {
    std::fprintf(stderr, "%s: %s\n", arguments[1], failure.what());
    return 1;
  }
}
