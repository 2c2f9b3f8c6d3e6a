// What "zevka check" looks for in a message: whatever is broken, and whatever two readers may take
// in two ways. It reads the message by itself, through the outline and by looks at the bytes of its
// own, so that it says the same whatever the library makes of the message.
//
// A finding has a code that scripts may rely on; docs/check-codes.md tells what each means.
// CheckFindings of one code in one part are one, with a count.
//
// Being signed or encrypted is no finding. Bodies of parts with the encoding "binary" may hold any
// bytes.
//
// Threads: any. Nothing throws but for want of memory.
//
// Sources: RFC 5322 2.1.1, 2.2, 3.6 and 4; RFC 2045 4, 5, 6.4, 6.7 and 6.8; RFC 2046 5.1.1; RFC
// 2231.
#ifndef ZEVKA_HOST_CLI_CHECK_FINDINGS_H
#define ZEVKA_HOST_CLI_CHECK_FINDINGS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/safe_edit/outline.h"

namespace zevka::host {

struct CheckFinding {
  std::string code;  // as in "line-too-long"
  std::string part;  // the part's number; empty: the message as a whole
  std::uint64_t count = 0;
  std::string text;  // for people; one line of UTF-8, without the count
};

// Collects findings in the order in which each was met first.
class CheckFindings {
 public:
  // Nothing for a count of 0.
  void Add(std::string_view code, const std::string& part, std::uint64_t count,
           std::string_view text);
  std::vector<CheckFinding> Take() { return std::move(findings_); }

 private:
  std::vector<CheckFinding> findings_;
  std::map<std::pair<std::string, std::string>, std::size_t> places_;  // by part and code
};

// A part and where it stands.
struct CheckedPart {
  const OutlinePart* part = nullptr;
  std::optional<std::size_t> parent;  // its index in the list
  bool isMessage = false;             // the message itself, or one that is embedded
  std::string headerPlace;            // the number that findings in its header go by; empty: the
                                      // message
  std::string bodyPlace;              // the same for its body
};

// All parts, each behind its parent.
std::vector<CheckedPart> PartsToCheck(const Outline& outline);

// The checks, each on its own. `part` is an index in `parts`.
void CheckLines(std::string_view message, const std::vector<CheckedPart>& parts,
                CheckFindings* findings);
void CheckFields(const CheckedPart& part, CheckFindings* findings);
void CheckStructure(const std::vector<CheckedPart>& parts, std::size_t part,
                    CheckFindings* findings);
void CheckEncoding(const CheckedPart& part, CheckFindings* findings);

// All of them. An empty message has no findings.
std::vector<CheckFinding> CheckMessage(std::string_view message);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_CHECK_FINDINGS_H
