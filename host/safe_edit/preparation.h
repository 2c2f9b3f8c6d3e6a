// Gets a message ready for the library, where the library would not do what is wanted, and takes
// the signs of that off its result again:
//
//  - A byte order mark and the first line of an mbox entry ("From ...") are no fields, and the
//    library would take the line for the body's first. They stay outside.
//  - A part without any field begins with an empty line, which the library does not write: the body
//    would become its fields. Such parts get a field for the time being.
//  - The library takes neither a footer nor a change below a DKIM or DomainKey field. For a host
//    that signs afterwards these fields go by other names of the same length.
//
// Threads and errors: as outline.h.
#ifndef ZEVKA_HOST_SAFE_EDIT_PREPARATION_H
#define ZEVKA_HOST_SAFE_EDIT_PREPARATION_H

#include <cstddef>
#include <string>
#include <string_view>

#include "host/safe_edit/outline.h"

namespace zevka::host {

// How much of the text stands in front of the message: a byte order mark, an mbox line with its
// line end; 0 without any.
std::size_t BytesInFront(std::string_view text);

class Preparation {
 public:
  // Looks what a message needs.
  explicit Preparation(const Outline& message);

  bool IsNeeded() const { return hasSignatures_ || hasEmptyParts_; }
  // The message as the library is to have it.
  //   text  what the outline was read from
  std::string Prepared(const Outline& message, std::string_view text) const;
  // The library's result without the signs of the preparation.
  std::string Restored(const std::string& result, const OutlineLimits& limits) const;

 private:
  bool hasSignatures_ = false;
  bool hasEmptyParts_ = false;
  char letter_ = 0;          // in place of the D that the names of signatures begin with; capital
  std::string placeholder_;  // name of the field for parts without any
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_SAFE_EDIT_PREPARATION_H
