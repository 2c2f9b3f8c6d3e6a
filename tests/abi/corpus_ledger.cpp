#include "tests/abi/corpus_ledger.h"

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace zevka::test {

void Ledger::Start(const std::string& message) {
  message_ = message;
  metNow_.clear();
  ++messages_;
}

void Ledger::Met(const std::string& rule) {
  metNow_.insert(rule);
  byRule_[rule].insert(message_);
}

void Ledger::Unexplained(const std::string& what) {
  unexplained_.push_back(message_ + ": " + what);
}

void Ledger::Print() const {
  constexpr std::size_t kNamesShown = 3;
  constexpr std::size_t kDifferencesShown = 40;
  std::cout << title_ << ": " << messages_ << " messages, " << unexplained_.size()
            << " unexplained\n";
  for (const auto& [rule, names] : byRule_) {
    std::cout << "  " << names.size() << "\t" << rule << " (";
    std::size_t shown = 0;
    for (const std::string& name : names) {
      if (shown == kNamesShown) {
        std::cout << " ...";
        break;
      }
      std::cout << (shown++ == 0 ? "" : " ") << name;
    }
    std::cout << ")\n";
  }
  for (std::size_t i = 0; i < unexplained_.size() && i < kDifferencesShown; ++i) {
    std::cout << "  UNEXPLAINED " << unexplained_[i] << "\n";
  }
  WriteReport();
}

void Ledger::WriteReport() const {
  const char* folder = std::getenv("ZEVKA_CORPUS_REPORT");
  if (folder == nullptr) {
    return;
  }
  std::ofstream report(std::string(folder) + "/" + title_ + ".tsv");
  for (const auto& [rule, names] : byRule_) {
    for (const std::string& name : names) {
      report << rule << "\t" << name << "\n";
    }
  }
  for (const std::string& difference : unexplained_) {
    report << "UNEXPLAINED\t" << difference << "\n";
  }
}

}  // namespace zevka::test
