// The comparison of two readings of a message, before and after a commit, that knows the rules by
// which a commit may change it and takes nothing else.
//
// What the writer is to put out for a body follows from the body and the part's line end alone, so
// a body is compared with what has to come out and not merely searched for likeness. Where a rule
// changes the shape of the tree the comparison goes on below as far as parts still correspond.
#ifndef ZEVKA_TESTS_ABI_CORPUS_COMPARISON_H
#define ZEVKA_TESTS_ABI_CORPUS_COMPARISON_H

#include <string>
#include <utility>
#include <vector>

#include "tests/abi/corpus_ledger.h"
#include "tests/abi/corpus_tree.h"

namespace zevka::test {

class Comparison {
 public:
  explicit Comparison(Ledger& ledger) : ledger_(&ledger) {}

  // Notes every rule met and every difference that none explains.
  // before: the part as first read; after: as read from what the commit wrote, at that depth.
  void Compare(const Node& before, const Node& after, int depth);

  // Pieces of Compare, for trees in which the top part was changed on purpose.
  void CompareFields(const std::vector<Field>& before, const std::vector<Field>& after);
  void CompareChildren(const Node& before, const Node& after, int depth);
  void CompareEmbedded(const Node& before, const Node& after);
  bool BecameFields(const Node& before, const Node& after);
  // body: what the part's encoded body has to hold before the writer looks at its last line.
  void CompareBody(const Node& before, const Node& after, const std::string& body);

  void SetPlace(std::string place) { place_ = std::move(place); }
  // The line end of the multipart around the part.
  void SetParentLineEnd(std::string lineEnd) { parentLineEnd_ = std::move(lineEnd); }

 private:
  bool FellBelowDepthLimit(const Node& before, const Node& after, int depth);
  bool SplitsOnceClosed(const Node& before, const Node& after, int depth);
  void CompareDecoded(const Node& before, const Node& after);
  void Differ(const std::string& what) { ledger_->Unexplained(place_ + ": " + what); }

  Ledger* ledger_;
  std::string place_ = "message";
  std::string parentLineEnd_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_COMPARISON_H
