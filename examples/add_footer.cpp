// A filter as a mail gate has it: reads a message from standard input, adds a footer, writes the
// result to standard output. The message lives in memory only. A signed message passes unchanged.
//
//   add_footer FOOTER < message > result

#include <zevka/host.h>

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using namespace zevka::host;

std::string WithFooter(const std::string& bytes, const std::string& footer) {
  const Packer packer(Library::Load());
  Message message = packer.OpenBytes(bytes);
  // What takes no footer is not even written anew: the message is discarded.
  return message.SetFooter(footer) ? message.Finish() : bytes;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fputs("usage: add_footer FOOTER < message > result\n", stderr);
    return 2;
  }
  std::ostringstream input;
  input << std::cin.rdbuf();
  const std::string bytes = input.str();
  std::string result = bytes;
  int status = 0;
  try {
    result = WithFooter(bytes, arguments[1]);
  } catch (const Failure& failure) {
    // Better the message without a footer than none.
    std::fprintf(stderr, "add_footer: %s\n", failure.what());
    status = 1;
  }
  if (!std::cout.write(result.data(), static_cast<std::streamsize>(result.size())).flush()) {
    std::fputs("add_footer: cannot write the result\n", stderr);
    return 1;
  }
  return status;
}
