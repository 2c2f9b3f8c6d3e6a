// Boundaries the slow way, to be compared with the library: values are read on copies, candidates
// are tried one by one, and a body is split as a whole. Shares no code with the library.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_BOUNDARIES_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_BOUNDARIES_REFERENCE_H

#include <cstddef>
#include <string>
#include <vector>

namespace zevka::reference {

using Texts = std::vector<std::string>;

// Adds the delimiters, "--" and a boundary, that a Content-Type value names.
void Collect(const std::string& value, Texts& delimiters);

// The first delimiter of the list that occurs in the block, empty for none, and where it stands.
struct Choice {
  std::string delimiter;
  std::size_t at = std::string::npos;
};
Choice Choose(const Texts& delimiters, const std::string& block);

// The first place at or behind `from` where the delimiter is followed by LF, CR or '-'.
std::size_t FindNext(const std::string& delimiter, const std::string& block, std::size_t from);

struct SplitBody {
  std::string preamble;
  Texts children;
  bool closed = false;  // the closing delimiter ended the last child
};

// A body split at a delimiter that it holds, as if it were read at once.
SplitBody SplitWhole(const std::string& body, const std::string& delimiter,
                     const std::string& lineEnd);

// Whether a place where the delimiter does not count may hide one that begins inside it.
bool HidesItself(const std::string& delimiter);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_BOUNDARIES_REFERENCE_H
