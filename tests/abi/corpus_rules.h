// How the library reads and writes text, as far as a host can work it out from what it is shown:
// line ends, fields, boundaries, and why a second commit may
// write other bytes than the first.
#ifndef ZEVKA_TESTS_ABI_CORPUS_RULES_H
#define ZEVKA_TESTS_ABI_CORPUS_RULES_H

#include <string>
#include <string_view>
#include <vector>

#include "tests/abi/corpus_tree.h"

namespace zevka::test {

// The line end that the part's own lines are written with.
std::string EstablishedLineEnd(const Node& node);

// True when the line, its line end not included, is read as a field.
bool IsFieldLine(std::string_view line);

// A body ends with the part's line end, judged by the last read of up to 4096 bytes, or gets one.
bool LacksLineEnd(std::string_view body, std::string_view lineEnd);

// The boundary texts that the part's Content-Type fields name.
std::vector<std::string> Boundaries(const Node& node);

// The boundary texts of the whole tree.
std::vector<std::string> AllBoundaries(const Node& node);

// The rule by which two texts that read as the same tree still differ, once having been written
// before; empty when there is none. node: the tree of once.
std::string ByteRule(const Node& node, const std::string& once, const std::string& twice);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_RULES_H
