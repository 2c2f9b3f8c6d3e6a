// Readings of header values the slow way, to be compared with the library: on copies in lower case,
// without a look at any room. Shares no code with it. No text given holds a NUL.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_HEADER_VALUES_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_HEADER_VALUES_REFERENCE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zevka::reference {

std::string Lower(std::string text);
std::string WithoutComments(const std::string& text);

struct TypeMatch {
  bool matches = false;
  bool marksSigned = false;
};
TypeMatch MatchType(const std::string& value, const std::string& mediaType);

struct Name {
  bool found = false;
  std::string text;
  std::optional<std::string> charset;  // nothing: stays as it was
  std::optional<long> offset;          // nothing: stays as it was
  bool malformed = false;              // words that cannot be decoded: the charset may be anything
};
Name NameIn(const std::string& value, const std::string& parameter, const std::string& lineEnd);

// Nothing when the segments do not fit the value.
std::optional<std::string> Refold(const std::string& value,
                                  const std::vector<std::size_t>& segments,
                                  const std::string& lineEnd);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_HEADER_VALUES_REFERENCE_H
