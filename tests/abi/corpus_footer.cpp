#include "tests/abi/corpus_footer.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>

#include "tests/abi/corpus_rules.h"

namespace zevka::test {
namespace {

constexpr const char* kNonAsciiBase64[] = {
    "R2VwcsO8ZnQ6IGtlaW5lIFNjaMOkZGxpbmdlIGdlZnVuZGVuLiDDnGJlciA2MCBCeXRlcyBsYW5n", "LCBnZXdpc3Mu"};

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

const Field* FirstNamed(const std::vector<Field>& fields, std::string_view lowerName) {
  const auto found = std::find_if(fields.begin(), fields.end(), [&](const Field& field) {
    return Lower(field.first) == lowerName;
  });
  return found == fields.end() ? nullptr : &*found;
}

bool RefusesFooter(const Node& message) {
  return std::any_of(message.fields.begin(), message.fields.end(), [](const Field& field) {
    const std::string name = Lower(field.first);
    const std::string value = Lower(field.second);
    const bool sealed = value.find("application/x-pkcs7-mime") != std::string::npos ||
                        value.find("application/x-pkcs7-signature") != std::string::npos;
    return name == "dkim-signature" || name == "domainkey-signature" ||
           (name == "content-type" && sealed);
  });
}

// The value of the first Content-Type begins so, blanks before it left out.
bool TypeBegins(const Node& message, std::string_view type) {
  const Field* field = FirstNamed(message.fields, "content-type");
  if (field == nullptr) {
    return false;
  }
  const std::size_t start = field->second.find_first_not_of(" \t");
  return start != std::string::npos && Lower(field->second.substr(start, type.size())) == type;
}

bool IsContentField(const Field& field) {
  const std::string name = Lower(field.first);
  return name == "content-type" || name == "content-transfer-encoding" ||
         name == "content-disposition";
}

}  // namespace

Road RoadOf(const Node& message, bool plainFooter) {
  if (RefusesFooter(message)) {
    return Road::kRefused;
  }
  const bool plainText =
      FirstNamed(message.fields, "content-type") == nullptr || TypeBegins(message, "text/plain");
  if (plainFooter && plainText) {
    return Road::kInline;
  }
  return message.multipart && TypeBegins(message, "multipart/mixed") ? Road::kLastChild
                                                                     : Road::kWrapper;
}

bool IsEncodedBody(const Node& message) {
  bool encoded = false;
  for (const Field& field : message.fields) {
    if (Lower(field.first) == "content-transfer-encoding") {
      const std::string value = Lower(field.second);
      encoded = value.find("quoted-printable") != std::string::npos ||
                value.find("base64") != std::string::npos;
    }
  }
  return encoded;
}

std::vector<Field> WithMarkers(const Node& message) {
  std::vector<Field> fields = message.fields;
  std::copy_if(message.markers.begin(), message.markers.end(), std::back_inserter(fields),
               [](const Field& field) { return field.first == "X-WrongBodyEncoding"; });
  return fields;
}

Node FooterPart(const std::string& lineEnd, bool plain) {
  Node part;
  part.fields.emplace_back("Content-Type",
                           " text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"");
  if (!plain) {
    part.fields.emplace_back("Content-Transfer-Encoding", " base64");
  }
  part.fields.emplace_back("Content-Disposition", " inline; filename=\"Quernstaple.txt\"");
  part.firstLineEnd = lineEnd;
  part.name = "Quernstaple.txt";
  part.encoded =
      plain ? "Scanned" + lineEnd + "OK" + lineEnd + lineEnd
            : std::string(kNonAsciiBase64[0]) + "\n" + kNonAsciiBase64[1] + lineEnd + lineEnd;
  part.decoded = plain ? part.encoded : kNonAsciiFooter;
  return part;
}

bool IsEncodedAnewInOtherLineEnds(const Node& before, const Node& after,
                                  const std::string& expected) {
  const std::size_t at = before.encoded.find_first_of("\r\n");
  if (before.markers.empty() || after.decoded == expected || at == std::string::npos) {
    return false;
  }
  const std::string inBody =
      before.encoded.substr(at, 2) == "\r\n" ? "\r\n" : before.encoded.substr(at, 1);
  const std::string inFields = EstablishedLineEnd(before);
  std::string changed = expected;
  for (std::size_t i = changed.find(inFields); i != std::string::npos;
       i = changed.find(inFields, i + inBody.size())) {
    changed.replace(i, inFields.size(), inBody);
  }
  return inBody != inFields && after.decoded == changed;
}

Node WrappedMessage(const Node& message) {
  Node inside = message;
  inside.firstLineEnd = EstablishedLineEnd(message);
  std::erase_if(inside.fields, [](const Field& field) { return !IsContentField(field); });
  if (inside.fields.empty()) {
    inside.fields.emplace_back("Content-Type", " text/plain");
  }
  return inside;
}

std::vector<Field> EnvelopeFields(const Node& message) {
  std::vector<Field> fields = message.fields;
  std::erase_if(fields, [](const Field& field) {
    return IsContentField(field) || Lower(field.first) == "mime-version";
  });
  return fields;
}

}  // namespace zevka::test
