// The coders of a mail library on flat buffers, with nothing of a message around them. Each program
// codecs_NAME links one file NAME_codecs.cpp with the driver (codecs_main.cpp).
#ifndef ZEVKA_BENCH_PEERS_CODERS_H
#define ZEVKA_BENCH_PEERS_CODERS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace zevka::bench {

// What is decoded and encoded.
struct Material {
  std::string base64;           // lines of 76 characters
  std::string quotedPrintable;  // a text
  std::string noise;
  std::string text;  // what the quoted-printable text means
};

struct Coder {
  const char* what;                  // "base64-decode" ...
  const std::string* input;          // of the material
  std::function<std::size_t()> run;  // codes all of the input once; the bytes it made
};

struct Coders {
  std::string library;
  std::vector<Coder> coders;
};

// The coders of the library, at work on the material, which outlives them.
//   room  where they may write, more than any of them makes
Coders MakeCoders(const Material& material, std::string& room);

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_PEERS_CODERS_H
