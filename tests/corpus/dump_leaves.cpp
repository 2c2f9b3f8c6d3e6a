// Prints the parts of messages as the library reads them, one JSON object a line, for a comparison
// with another reader. Uses the built library only, as a host does.
//
//   dump_leaves FILE...
//   {"file": "...", "opened": true, "parts": [{"path": "m.0", "type": "text/plain", "multipart":
//   false, "embeds": false, "body": "68690d0a"}, ...]}
//
// path: "m" for the message, ".N" for the N-th part of a multipart, ".e" for an embedded message.
// type: media type of the first Content-Type field, lower case; empty without one.
// body: the decoded body in hexadecimal digits, so that the reader can also tell how it differs.
#include <cctype>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"

namespace zevka::test {
namespace {

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
    }
    const auto byte = static_cast<unsigned char>(c);
    out += byte >= 0x20 && byte < 0x7F ? c : '?';
  }
  return out + '"';
}

std::string Hex(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += kDigits[byte >> 4U];
    out += kDigits[byte & 15U];
  }
  return out;
}

std::string Lower(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

std::string MediaType(PartObject* part) {
  for (const auto& [name, value] : Host::Headers(part)) {
    if (Lower(name) == "content-type") {
      const std::size_t start = value.find_first_not_of(" \t");
      const std::size_t end = value.find_first_of("; \t", start);
      return start == std::string::npos ? "" : Lower(value.substr(start, end - start));
    }
  }
  return "";
}

class Dump {
 public:
  explicit Dump(const Host& host) : host_(&host) {}

  std::string Line(const char* file) {
    parts_.clear();
    const std::string bytes = DiskBytes(file);
    PartObject* message = bytes.empty() ? nullptr : host_->Open(bytes);
    const bool opened = message != nullptr;
    if (opened) {
      const Message open(*host_, message);
      Add(message, "m");
    }
    return std::string("{\"file\": ") + Quoted(file) +
           ", \"opened\": " + (opened ? "true" : "false") + ", \"parts\": [" + parts_ + "]}\n";
  }

 private:
  void Add(PartObject* part, const std::string& path) {
    std::string source(513, '\0');
    const bool embeds = (*host_)->QueryControl(kQuerySourceFile, part, source.data()) == 1;
    const bool multipart = part->RewindChildren() == 1;
    parts_ += parts_.empty() ? "" : ", ";
    parts_ += "{\"path\": \"" + path + "\", \"type\": " + Quoted(MediaType(part)) +
              ", \"multipart\": " + (multipart ? "true" : "false") +
              ", \"embeds\": " + (embeds ? "true" : "false") + ", \"body\": \"" +
              Hex(Host::Decoded(part)) + "\"}";
    std::size_t index = 0;
    for (PartObject* child : Host::Children(part)) {
      Add(child, path + "." + std::to_string(index++));
    }
    const std::string text = embeds ? ReadFile(*host_, source.c_str()) : "";
    if (!text.empty()) {
      const Message embedded(*host_, text);
      Add(embedded.get(), path + ".e");
    }
  }

  const Host* host_;
  std::string parts_;
};

int Run(const std::vector<const char*>& files) {
  const Host host;
  Dump dump(host);
  for (const char* file : files) {
    const std::string line = dump.Line(file);
    std::fwrite(line.data(), 1, line.size(), stdout);
  }
  return std::fflush(stdout);
}

}  // namespace
}  // namespace zevka::test

int main(int argc, char** argv) {
  try {
    return zevka::test::Run(std::vector<const char*>(argv + 1, argv + argc));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "dump_leaves: %s\n", error.what());
    return 1;
  }
}
