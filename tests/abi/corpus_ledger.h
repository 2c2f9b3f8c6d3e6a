// What was found in the sample messages, as a table.
#ifndef ZEVKA_TESTS_ABI_CORPUS_LEDGER_H
#define ZEVKA_TESTS_ABI_CORPUS_LEDGER_H

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zevka::test {

// Messages by the rule that was met in them, and differences that no rule explains.
class Ledger {
 public:
  explicit Ledger(std::string title) : title_(std::move(title)) {}

  // The message that the following entries are about.
  void Start(const std::string& message);
  void Met(const std::string& rule);
  void Unexplained(const std::string& what);
  // Rules met since Start.
  const std::set<std::string>& MetNow() const { return metNow_; }
  std::size_t UnexplainedCount() const { return unexplained_.size(); }

  // The table "rule, number of messages" with the first few names, and the unexplained differences.
  // With ZEVKA_CORPUS_REPORT in the environment, all names go to a file of that folder.
  void Print() const;

 private:
  void WriteReport() const;

  std::string title_;
  std::string message_;
  std::size_t messages_ = 0;
  std::set<std::string> metNow_;
  std::map<std::string, std::set<std::string>> byRule_;
  std::vector<std::string> unexplained_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_LEDGER_H
