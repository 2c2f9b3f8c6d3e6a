#include "fuzz/support/tree_footer.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>
#include <vector>

#include "codec/ascii.h"
#include "tests/support/reference/base64_reference.h"

namespace zevka::fuzz {
namespace {

constexpr std::size_t kStreamLine = 76;  // characters of a base64 line in a footer part
constexpr int kDrawnLetters = 16;

bool IsPlain(std::string_view footer) {
  return std::all_of(footer.begin(), footer.end(), [](char c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 32 && c <= 126);
  });
}

// The value of the Content-Type without its leading blanks; null when there is no such field.
bool TypeBeginsWith(const Tree& message, std::string_view type, bool withoutField) {
  const Field* const field = FindField(message, "Content-Type");
  if (field == nullptr) {
    return withoutField;
  }
  std::string_view value = field->value;
  value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
  return StartsWithNoCase(value, type);
}

// The lines of a plain footer, each with the message's line end; otherwise its base64.
std::string FooterLines(std::string_view footer, const std::string& lineEnd) {
  if (!IsPlain(footer)) {
    std::string text = reference::EncodeBase64BreakBehind(footer, kStreamLine, "\n");
    return text + lineEnd;
  }
  std::string text;
  std::string line;
  for (std::size_t at = 0; at < footer.size(); ++at) {
    if (footer[at] != '\r' && footer[at] != '\n') {
      line += footer[at];
      continue;
    }
    at += footer.substr(at, 2) == "\r\n" ? std::size_t{1} : std::size_t{0};
    text += line + lineEnd;
    line.clear();
  }
  return line.empty() ? text : text + line + lineEnd;
}

Field ReadField(std::string name, std::string value) {
  const std::size_t length = value.size();
  return {std::move(name), std::move(value), {length}};
}

Tree FooterPart(std::string_view footer, const Tree& message) {
  Tree part;
  part.fields = {
      ReadField("Content-Type", " text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"")};
  if (!IsPlain(footer)) {
    part.fields.push_back(ReadField("Content-Transfer-Encoding", " base64"));
    part.encoding = TransferEncoding::kBase64;
  }
  part.fields.push_back(ReadField("Content-Disposition", " inline; filename=\"Quernstaple.txt\""));
  part.encoded = FooterLines(footer, message.lineEnd) + message.lineEnd;
  part.displayName = "Quernstaple.txt";
  part.lineEnd = message.lineEnd;
  return part;
}

bool DescribesContent(const Field& field) {
  return EqualsNoCase(field.name, "Content-Type") ||
         EqualsNoCase(field.name, "Content-Transfer-Encoding") ||
         EqualsNoCase(field.name, "Content-Disposition");
}

Tree Wrapped(Tree message, Tree footer, const std::string& boundary) {
  const std::string& lineEnd = message.lineEnd;
  Tree wrapper;
  wrapper.fields = {
      ReadField("Content-Type", " multipart/mixed; boundary=\"" + boundary + "\""),
      ReadField("Mime-Version", " 1.0"),
  };
  wrapper.encoded = "This is a multipart message in MIME format," + lineEnd +
                    "containing the original message body" + lineEnd +
                    "and a footer added by Quernstaple" + lineEnd + lineEnd;
  wrapper.isMultipart = true;
  wrapper.displayName = "body";
  wrapper.delimiter = "--" + boundary;
  wrapper.lineEnd = lineEnd;
  wrapper.firstStyle = lineEnd == "\r\n" ? LineEndStyle::kCrLf
                       : lineEnd == "\r" ? LineEndStyle::kCr
                                         : LineEndStyle::kLf;
  if (std::none_of(message.fields.begin(), message.fields.end(), DescribesContent)) {
    message.fields.push_back(ReadField("Content-Type", " text/plain"));
  }
  std::vector<Field> kept;
  for (Field& field : message.fields) {
    if (DescribesContent(field)) {
      kept.push_back(std::move(field));
    } else if (!EqualsNoCase(field.name, "Mime-Version")) {
      wrapper.fields.push_back(std::move(field));
    }
  }
  message.fields = std::move(kept);
  wrapper.children.push_back(std::move(message));
  wrapper.children.push_back(std::move(footer));
  return wrapper;
}

}  // namespace

bool RefusesFooter(const Tree& message) {
  return std::any_of(message.fields.begin(), message.fields.end(), [](const Field& field) {
    return EqualsNoCase(field.name, "DKIM-Signature") ||
           EqualsNoCase(field.name, "DomainKey-Signature") ||
           (EqualsNoCase(field.name, "Content-Type") &&
            (FindNoCase(field.value, "application/x-pkcs7-mime") != std::string::npos ||
             FindNoCase(field.value, "application/x-pkcs7-signature") != std::string::npos));
  });
}

std::string NextBoundary(unsigned int seed) {
  std::srand(seed);
  std::string boundary = "=-zq-boundary-";
  for (int letters = 0; letters < kDrawnLetters;) {
    const int drawn = std::rand() % 127;
    if (std::isalnum(drawn) != 0) {
      boundary += static_cast<char>(drawn);
      ++letters;
    }
  }
  std::srand(seed);
  return boundary;
}

Tree WithFooter(Tree message, std::string_view footer, const std::string& boundary) {
  if (IsPlain(footer) && TypeBeginsWith(message, "text/plain", true)) {
    message.decoded = message.decoded.value_or("") + message.lineEnd +
                      FooterLines(footer, message.lineEnd) + message.lineEnd;
    message.isModified = true;
    return message;
  }
  Tree part = FooterPart(footer, message);
  if (message.isMultipart && TypeBeginsWith(message, "multipart/mixed", false)) {
    part.isSignedByDomain = message.isSignedByDomain;
    part.isSignedByProtocol = message.isSignedByProtocol;
    message.isModified = true;
    message.children.push_back(std::move(part));
    return message;
  }
  return Wrapped(std::move(message), std::move(part), boundary);
}

}  // namespace zevka::fuzz
