// A message laid beside what a commit wrote for it, byte by byte. Bytes that only one of them has
// are each put down to a rule of the writer; a byte that no rule accounts for ends the alignment.
//
// The alignment sees what the tree does not show: line ends of fields, blank lines, delimiter
// lines, epilogues.
#ifndef ZEVKA_TESTS_ABI_CORPUS_ALIGNMENT_H
#define ZEVKA_TESTS_ABI_CORPUS_ALIGNMENT_H

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::test {

class Alignment {
 public:
  // boundaries: the boundary texts of the whole message.
  Alignment(std::string_view text, std::string_view written, std::vector<std::string> boundaries)
      : text_(text), written_(written), boundaries_(std::move(boundaries)) {}

  // True when every byte is accounted for.
  bool Run();

  // The rules that were needed.
  const std::set<std::string>& Rules() const { return rules_; }
  // Where Run stopped, for a message.
  std::string Place() const;

 private:
  bool Step();
  bool StepAtClosing();
  bool StepAtEmptyClosing();
  bool StepInText();
  bool StepInWritten();
  bool BehindDelimiter() const;
  std::string_view TextHere() const { return text_.substr(inText_); }
  std::string_view WrittenHere() const { return written_.substr(inWritten_); }

  std::string_view text_;
  std::string_view written_;
  std::vector<std::string> boundaries_;
  std::size_t inText_ = 0;
  std::size_t inWritten_ = 0;
  std::set<std::string> rules_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_ALIGNMENT_H
