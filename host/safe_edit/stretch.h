// Stretches of a text, as outlines have them, and replacing some of them.
#ifndef ZEVKA_HOST_SAFE_EDIT_STRETCH_H
#define ZEVKA_HOST_SAFE_EDIT_STRETCH_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

// Whether the stretch is one of the text: those in a decoded embedded message are not.
bool LiesIn(std::string_view stretch, std::string_view text);

// Where a stretch of the text begins.
std::size_t OffsetIn(std::string_view stretch, std::string_view text);

// A stretch of a text and what is to stand in its place.
struct Patch {
  std::string_view place;
  std::string_view text;
  std::string_view more;  // behind `text`
};

// The text with the patches applied; one that lies inside another is passed over.
std::string Patched(std::string_view text, std::vector<Patch> patches);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_STRETCH_H
