// A simple model of the header fields of a part: read from a text, set by a host, walked through.
#ifndef ZEVKA_FUZZ_SUPPORT_FIELD_LIST_H
#define ZEVKA_FUZZ_SUPPORT_FIELD_LIST_H

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <string_view>

namespace zevka::fuzz {

struct ListedField {
  std::string name;
  std::string value;
  std::string lines;  // as they stand in the text, up to the line end of the last one; empty: set
                      // by the host
};

class FieldList {
 public:
  std::list<ListedField> fields;

  // SetHeader: the result, and what it does to the list.
  int Set(const std::string& name, const std::string& value, bool replace);

  // Walking through the fields: fields that come meanwhile do not move the place.
  void Rewind() { next_ = fields.begin(); }
  // The next field; null at the end, and before the first Rewind.
  const ListedField* Next();

 private:
  std::list<ListedField>::iterator next_ = fields.end();
};

struct SplitMessage {
  std::list<ListedField> fields;
  std::string body;
};

// The header block and the body of a message; nothing for a text that the model does not know to
// read: with NULs, several kinds of line ends, an empty line in front, or lines of 4096 characters
// or more.
std::optional<SplitMessage> SplitHeader(std::string_view message);

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_FIELD_LIST_H
