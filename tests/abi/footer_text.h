// What the library writes when a footer travels as a part, byte by byte.
#ifndef ZEVKA_TESTS_ABI_FOOTER_TEXT_H
#define ZEVKA_TESTS_ABI_FOOTER_TEXT_H

#include <cctype>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zevka::test {

constexpr std::string_view kBoundaryPrefix = "=-zq-boundary-";
constexpr std::size_t kBoundaryRandom = 16;

// The footer part for a plain text: its lines must be given with their line ends.
inline std::string PlainFooterPart(std::string_view lines) {
  return "Content-Type: text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"\r\n"
         "Content-Disposition: inline; filename=\"Quernstaple.txt\"\r\n\r\n" +
         std::string(lines) + "\r\n";
}

// The footer part for any other text: its base64 lines, the last one with the line end.
inline std::string EncodedFooterPart(std::string_view lines) {
  return "Content-Type: text/plain; name=\"Quernstaple.txt\"; charset=\"utf-8\"\r\n"
         "Content-Transfer-Encoding: base64\r\n"
         "Content-Disposition: inline; filename=\"Quernstaple.txt\"\r\n\r\n" +
         std::string(lines) + "\r\n";
}

// The whole wrapped message, with BOUNDARY for the boundary.
inline std::string Wrapped(std::string_view envelope, std::string_view message,
                           std::string_view footerPart) {
  return "Content-Type: multipart/mixed; boundary=\"BOUNDARY\"\r\n"
         "Mime-Version: 1.0\r\n" +
         std::string(envelope) +
         "\r\n"
         "This is a multipart message in MIME format,\r\n"
         "containing the original message body\r\n"
         "and a footer added by Quernstaple\r\n"
         "\r\n"
         "--BOUNDARY\r\n" +
         std::string(message) + "--BOUNDARY\r\n" + std::string(footerPart) +
         "--BOUNDARY--\r\n"
         "\r\n";
}

// The drawn boundary of a wrapped message; throws when it is not of the right form.
inline std::string BoundaryOf(std::string_view message) {
  const std::size_t at = message.find(kBoundaryPrefix);
  if (at == std::string_view::npos) {
    throw std::runtime_error("no boundary in the message");
  }
  const std::string boundary(message.substr(at, kBoundaryPrefix.size() + kBoundaryRandom));
  for (const char letter : boundary.substr(kBoundaryPrefix.size())) {
    if (std::isalnum(static_cast<unsigned char>(letter)) == 0) {
      throw std::runtime_error("not only letters and digits: " + boundary);
    }
  }
  return boundary;
}

// The message with BOUNDARY in the place of its drawn boundary, when it has one.
inline std::string WithoutBoundary(std::string message) {
  if (message.find(kBoundaryPrefix) == std::string::npos) {
    return message;
  }
  const std::string boundary = BoundaryOf(message);
  const std::string_view stand = "BOUNDARY";
  for (std::size_t at = message.find(boundary); at != std::string::npos;
       at = message.find(boundary, at + stand.size())) {
    message.replace(at, boundary.size(), stand);
  }
  return message;
}

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_FOOTER_TEXT_H
