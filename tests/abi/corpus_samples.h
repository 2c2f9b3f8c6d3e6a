// The folder of sample mail, message by message, as stored or with its line ends made anew.
//
// The folder is no part of the project: ZEVKA_CORPUS names it, and the tests on it are skipped
// where it is absent. ZEVKA_CORPUS_STEP in the environment takes every n-th message only (builds
// with the address sanitizer take every 4th by themselves).
#ifndef ZEVKA_TESTS_ABI_CORPUS_SAMPLES_H
#define ZEVKA_TESTS_ABI_CORPUS_SAMPLES_H

#include <string>
#include <string_view>
#include <vector>

namespace zevka::test {

// How the line ends of a message are to be.
enum class Form { kAsStored, kLf, kCrLf, kCr };

inline constexpr Form kAllForms[] = {Form::kAsStored, Form::kLf, Form::kCrLf, Form::kCr};

const char* FormName(Form form);

// Every CR LF, lone CR and lone LF of the text becomes lineEnd.
std::string InLineEnds(std::string_view text, std::string_view lineEnd);

// The text in that form.
std::string InForm(std::string_view text, Form form);

struct Sample {
  std::string path;   // inside the folder
  std::string bytes;  // in the form asked for
};

bool HaveSamples();

// One message of n is taken.
int SampleStep();

// The messages of the folder's index; empty when there is no folder.
std::vector<Sample> LoadSamples(Form form);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_SAMPLES_H
