// What would change, for people: two texts compared by lines, in the unified format. Usual cases
// come out as other tools for it print them, and can be applied by them.
//
// Lines end with LF. A CR in front of it is not shown when all lines of both texts have one;
// otherwise it is spelled out, as it may be the whole difference. Tabs stay; every other character
// that could steer a terminal, and every byte that is not UTF-8, is spelled out as Printable does,
// so such a line is for reading only.
//
// Equal lines at both ends and lines that only one text has cost linear time. What is left is
// compared in bounded time; texts too different for that are shown as replaced as a whole between
// their equal ends: longer than need be, but right.
//
// Threads: no shared state. Nothing throws but for want of memory.
// Sources: E. Myers, An O(ND) Difference Algorithm and Its Variations, Algorithmica 1 (1986),
// section 3.
#ifndef ZEVKA_HOST_CLI_UNIFIED_DIFF_H
#define ZEVKA_HOST_CLI_UNIFIED_DIFF_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zevka::host {

struct DiffOptions {
  std::size_t contextLines = 3;  // equal lines shown round each change
  bool colours = false;          // marks heads, removed and added lines by terminal colours
};

// The difference in unified format; empty when the texts are equal.
//   oldLabel, newLabel  stand in the two lines of the head, made printable
std::string UnifiedDiff(std::string_view oldText, std::string_view newText,
                        std::string_view oldLabel, std::string_view newLabel,
                        const DiffOptions& options = {});

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_UNIFIED_DIFF_H
