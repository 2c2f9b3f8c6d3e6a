// Letters and digits for names and boundaries, from the process's one generator, seeded when the
// library is loaded.
#ifndef ZEVKA_FOOTER_RANDOM_TEXT_H
#define ZEVKA_FOOTER_RANDOM_TEXT_H

#include <cctype>
#include <cstdlib>

namespace zevka {

// KEEP(rand-mod-127): draws from rand() until the draw, modulo 127, is a letter or a digit. A host
// that seeds the generator gets the same names every time.
inline char RandomLetterOrDigit() {
  int drawn = 0;
  do {
    drawn = std::rand() % 127;
  } while (std::isalnum(drawn) == 0);
  return static_cast<char>(drawn);
}

}  // namespace zevka

#endif  // ZEVKA_FOOTER_RANDOM_TEXT_H
