// A filter that takes executable attachments out of a message: by their media type, or by any name
// that a mail reader may show for them. Reads from standard input, writes the result to standard
// output and tells on standard error what was removed. A message that carries one inside an
// embedded message loses the embedded message as a whole. Signed and encrypted mail passes as it
// is.
//
//   strip_executables < message > result
//
// Exit status: 0 nothing executable is in the result, 1 something had to stay or went wrong.

#include <zevka/safe_edit.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace zevka::host;

constexpr std::array<std::string_view, 13> kTypes = {
    "application/bat",
    "application/hta",
    "application/java-archive",
    "application/javascript",
    "application/vnd.microsoft.portable-executable",
    "application/x-dosexec",
    "application/x-executable",
    "application/x-ms-shortcut",
    "application/x-msdos-program",
    "application/x-msdownload",
    "application/x-msi",
    "application/x-sh",
    "text/javascript",
};
constexpr std::array<std::string_view, 24> kSuffixes = {
    ".bat", ".chm", ".cmd", ".com", ".cpl", ".dll", ".exe", ".hta", ".jar", ".js",  ".jse", ".lnk",
    ".msc", ".msi", ".msp", ".pif", ".ps1", ".reg", ".scr", ".vb",  ".vbe", ".vbs", ".wsf", ".wsh"};

struct Found {
  std::string number;
  std::string what;  // one line for people
};

bool HasExecutableSuffix(std::string name) {
  for (char& character : name) {
    character =
        character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
  }
  // Some systems open "x.exe. " as "x.exe".
  while (!name.empty() && (name.back() == '.' || static_cast<unsigned char>(name.back()) <= ' ')) {
    name.pop_back();
  }
  return std::any_of(kSuffixes.begin(), kSuffixes.end(),
                     [&name](std::string_view suffix) { return name.ends_with(suffix); });
}

// Names come from strangers: nothing in them steers the terminal.
std::string Visible(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char character) {
        return static_cast<unsigned char>(character) < ' ' || character == 0x7F;
      },
      '?');
  return text;
}

// What makes the part itself executable; empty when nothing does.
std::string WhyExecutable(const Part& part) {
  for (const std::string& name : part.Names()) {
    if (HasExecutableSuffix(name)) {
      return Visible(name);
    }
  }
  const std::string type = part.MediaType();
  return std::find(kTypes.begin(), kTypes.end(), type) == kTypes.end() ? std::string() : type;
}

// Adds the part, or those below it, that must go.
void Search(const Packer& packer, const Part& part, const std::string& number,
            std::vector<Found>* found) {
  if (const std::string why = WhyExecutable(part); !why.empty()) {
    found->push_back({number, why});
    return;
  }
  if (const auto text = part.EmbeddedText(); text && !text->empty()) {
    std::vector<Found> inside;
    const Message embedded = packer.OpenBytes(*text);
    Search(packer, embedded.Root(), "", &inside);
    if (!inside.empty()) {
      found->push_back({number, "a message with " + inside.front().what});
    }
    return;
  }
  int index = 0;
  for (const Part& child : part.Children()) {
    std::string childNumber = number;
    childNumber += number.empty() ? "" : ".";
    childNumber += std::to_string(++index);
    Search(packer, child, childNumber, found);
  }
}

// The message without them. `stayed` is set when something executable is left in it.
std::string Strip(const Packer& packer, const std::string& bytes, bool* stayed) {
  std::vector<Found> found;
  Search(packer, packer.OpenBytes(bytes).Root(), "", &found);
  if (found.empty()) {
    return bytes;
  }
  Wishes wishes;
  for (const Found& part : found) {
    // The message itself has no number; "1" is refused where it has no parts.
    wishes.removeParts.push_back(part.number.empty() ? "1" : part.number);
  }
  const EditResult result = SafeEdit(packer, bytes, wishes);
  *stayed = !result.changed;
  for (const Found& part : found) {
    std::fprintf(stderr, "%s %s: %s\n", result.changed ? "removed" : "left",
                 part.number.empty() ? "the message itself" : part.number.c_str(),
                 part.what.c_str());
  }
  for (const ReasonNote& note : result.reasons) {
    std::fprintf(stderr, "because: %s\n", std::string(ReasonName(note.reason)).c_str());
  }
  return result.bytes;
}

}  // namespace

int main() {
  std::ostringstream input;
  input << std::cin.rdbuf();
  const std::string bytes = input.str();
  std::string result = bytes;
  bool stayed = true;
  try {
    const Packer packer(Library::Load());
    stayed = false;
    result = Strip(packer, bytes, &stayed);
  } catch (const Failure& failure) {
    std::fprintf(stderr, "strip_executables: %s\n", failure.what());
    stayed = true;
  }
  if (!std::cout.write(result.data(), static_cast<std::streamsize>(result.size())).flush()) {
    std::fputs("strip_executables: cannot write the result\n", stderr);
    return 1;
  }
  return stayed ? 1 : 0;
}
