// A plain model of footers: what a message becomes when it is committed with one.
#ifndef ZEVKA_FUZZ_SUPPORT_TREE_FOOTER_H
#define ZEVKA_FUZZ_SUPPORT_TREE_FOOTER_H

#include <string>
#include <string_view>

#include "fuzz/support/tree.h"

namespace zevka::fuzz {

// Whether the fields of a message refuse a footer.
bool RefusesFooter(const Tree& message);

// The boundary that the library draws next when the process's random numbers begin with `seed`;
// they begin with it afterwards.
std::string NextBoundary(unsigned int seed);

// The message with its footer: appended to its text, as its last child, or wrapped together with
// it.
//   message   with its decoded body
//   boundary  of the wrapper, when it takes one
Tree WithFooter(Tree message, std::string_view footer, const std::string& boundary);

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_TREE_FOOTER_H
