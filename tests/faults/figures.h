// What a sweep counted, and the line that tells it; scripts/faults gathers these lines.
#ifndef ZEVKA_TESTS_FAULTS_FIGURES_H
#define ZEVKA_TESTS_FAULTS_FIGURES_H

#include <cstdio>
#include <map>
#include <string>

namespace zevka::test {

struct Figures {
  int injected = 0;                   // runs in which something went wrong
  int survived = 0;                   // those after which everything was as it must be
  std::map<std::string, int> losses;  // of these, with a loss that is stated, by its name
};

inline void PrintFigures(const std::string& scenario, const char* cause, const Figures& figures) {
  std::printf("faults: %s: %s: %d injected, %d survived", scenario.c_str(), cause, figures.injected,
              figures.survived);
  for (const auto& [name, count] : figures.losses) {
    std::printf(", %d %s", count, name.c_str());
  }
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_FAULTS_FIGURES_H
