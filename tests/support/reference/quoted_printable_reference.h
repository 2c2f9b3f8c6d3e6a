// Quoted-printable the slow way, to be compared with the coders of the library. Shares no code with
// it.
#ifndef ZEVKA_TESTS_SUPPORT_REFERENCE_QUOTED_PRINTABLE_REFERENCE_H
#define ZEVKA_TESTS_SUPPORT_REFERENCE_QUOTED_PRINTABLE_REFERENCE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zevka::reference {

// A decoder that gathers the characters of an escape in a text and looks at what it has.
class QpDecoder {
 public:
  // The line end of the message: CR LF, CR or LF.
  explicit QpDecoder(std::string_view lineEnd) : lineEnd_(lineEnd) {}

  // Decodes one chunk into at most `room` bytes.
  std::string Decode(std::string_view input, std::size_t room);
  void EndOfBody();

  // 0 text, 1 after "=", 2 after "=" and a digit, 3 soft break open.
  int State() const;

  std::uint64_t faults = 0;

 private:
  void Take(char c, std::size_t room, std::string& out);
  void Put(char c, std::size_t room, std::string& out);

  std::string lineEnd_;
  std::string escape_;  // "=", "=4", or empty
  bool open_ = false;   // a soft break waits for its LF
};

// A whole body whose hard line breaks are LF, encoded with `lineEnd`, and with one more where the
// body does not end with a line break.
std::string EncodeQp(std::string_view body, std::string_view lineEnd);

}  // namespace zevka::reference

#endif  // ZEVKA_TESTS_SUPPORT_REFERENCE_QUOTED_PRINTABLE_REFERENCE_H
