// The boundary of a multipart: which values a Content-Type names, which of them the body uses, and
// where its delimiters stand.
//
// A Content-Type may name several boundaries, as sections of one value or as repeated parameters.
// All are candidates, in the order found, and the body decides: the first candidate in that order
// that occurs in the block being searched is chosen and stays chosen.
//
// Departs from RFC 2046 5.1.1: a delimiter is found anywhere in a line; after the first one, it
// counts only when a line end or '-' follows directly.
#ifndef ZEVKA_MIME_BOUNDARIES_H
#define ZEVKA_MIME_BOUNDARIES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mime/boundary_search.h"
#include "mime/known_texts.h"

namespace zevka {

struct BoundarySet {
  std::vector<std::string> candidates;  // each "--" and a boundary value; no value twice
  KnownTexts known;                     // the same, to be looked up
  BoundarySearch search;                // made for the first search among several
  std::string chosen;                   // the candidate in use; empty until the body was searched
  std::string closing;                  // chosen and "--"

  bool IsChosen() const { return !chosen.empty(); }
  // The chosen boundary's value, without its leading "--"; empty when none was chosen.
  std::string_view Text() const;
};

// Adds the boundaries that a Content-Type value names.
void CollectBoundaries(BoundarySet& set, std::string_view value);

// The position of a delimiter in a block, or npos. The first search chooses the boundary and
// accepts any occurrence; later ones look for the chosen delimiter followed by LF, '-' or CR, or,
// with closing set, for the closing delimiter whatever follows.
std::size_t FindBoundary(BoundarySet& set, std::string_view block, bool closing);

// Drops all but what was chosen. To be called when the body was searched.
void ForgetCandidates(BoundarySet& set);

// The length of the longest candidate that a search can find, in bytes.
std::size_t LongestCandidate(const BoundarySet& set);

}  // namespace zevka

#endif  // ZEVKA_MIME_BOUNDARIES_H
