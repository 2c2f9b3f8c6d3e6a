#include "tests/abi/corpus_samples.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/abi/message.h"

namespace zevka::test {
namespace {

std::filesystem::path Index() {
  return std::filesystem::path(ZEVKA_CORPUS) / "INDEX.tsv";
}

}  // namespace

const char* FormName(Form form) {
  switch (form) {
    case Form::kAsStored:
      return "AsStored";
    case Form::kLf:
      return "Lf";
    case Form::kCrLf:
      return "CrLf";
    case Form::kCr:
      return "Cr";
  }
  return "";
}

std::string InLineEnds(std::string_view text, std::string_view lineEnd) {
  std::string out;
  out.reserve(text.size() + text.size() / 16);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' && text[i] != '\n') {
      out += text[i];
      continue;
    }
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      ++i;
    }
    out += lineEnd;
  }
  return out;
}

std::string InForm(std::string_view text, Form form) {
  switch (form) {
    case Form::kLf:
      return InLineEnds(text, "\n");
    case Form::kCrLf:
      return InLineEnds(text, "\r\n");
    case Form::kCr:
      return InLineEnds(text, "\r");
    case Form::kAsStored:
      break;
  }
  return std::string(text);
}

bool HaveSamples() {
  return std::filesystem::exists(Index());
}

int SampleStep() {
  if (const char* step = std::getenv("ZEVKA_CORPUS_STEP"); step != nullptr && std::atoi(step) > 0) {
    return std::atoi(step);
  }
#ifdef __SANITIZE_ADDRESS__
  return 4;
#else
  return 1;
#endif
}

std::vector<Sample> LoadSamples(Form form) {
  std::vector<Sample> samples;
  std::ifstream index(Index());
  std::string line;
  std::getline(index, line);
  for (int number = 0; std::getline(index, line); ++number) {
    if (number % SampleStep() != 0) {
      continue;
    }
    const std::string path = line.substr(0, line.find('\t'));
    const std::string bytes = DiskBytes((std::filesystem::path(ZEVKA_CORPUS) / path).string());
    samples.push_back({path, InForm(bytes, form)});
  }
  return samples;
}

}  // namespace zevka::test
