#include "mime/line_end.h"

#include <algorithm>
#include <string_view>

namespace zevka {
namespace {

bool RepeatsBlock(std::string_view run, std::size_t blockLength) {
  return run.substr(blockLength) == run.substr(0, run.size() - blockLength);
}

}  // namespace

void SettleLineEnd(LineEnd& lineEnd) {
  std::string& run = lineEnd.established;
  if (run == "\r" || run == "\n" || run == "\r\n") {
    return;
  }
  const bool doubled = run.size() > 1 && run[0] == run[1] && (run[0] == '\r' || run[0] == '\n');
  if (doubled) {
    run.resize(1);
  } else {
    run = "\r\n";
  }
}

std::size_t ReduceRepeatedRun(std::string& run) {
  const std::size_t length = run.size();
  if (length < 2) {
    return 0;
  }
  for (std::size_t count = length / 2; count >= 2; --count) {
    const std::size_t blockLength = length / count;
    if (length % count == 0 && RepeatsBlock(run, blockLength)) {
      // KEEP(run-shifted): the block is taken from the second byte on, so two CR LF become LF CR,
      // which settles to CR LF like any odd line end.
      run = run.substr(1, blockLength);
      return blockLength;
    }
  }
  return length;
}

char* LineEndText(LineEndStyle style, char* buf, std::size_t room) {
  const std::string_view text = LineEndBytes(style);
  if (room < text.size()) {
    return nullptr;
  }
  return std::copy(text.begin(), text.end(), buf);
}

}  // namespace zevka
