// Texts that hold many messages, one after the other: mbox. The views that a reader gives cover the
// text without a gap, so that entries that nobody changed are copied as they stand; only a changed
// message goes through MessageOf and Replaced.
//
//   From sender@example.org Thu Jan  1 00:00:00 1970     separator
//   Subject: an entry                                    message
//
//   >From the beginning                                  a quoted line of it
//                                                        the empty line that the box adds
//   From other@example.org Thu Jan  1 00:00:10 1970      the next separator
//
// Line ends are LF or CR LF, also mixed, and stay. Content-Length is not used: programs that change
// a message leave it wrong, and a wrong length loses mail. So a box that trusts in it alone, and
// quotes nothing, splits where a message quotes a whole separator after an empty line.
//
// Threads: all of this is free of shared state. Nothing throws but for want of memory.
// Sources: RFC 4155, appendix A; the quoting that can be taken back is the one known as mboxrd.
#ifndef ZEVKA_HOST_KIT_MBOX_H
#define ZEVKA_HOST_KIT_MBOX_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

// Views into the box: separator, message and gap follow each other without a byte between them.
struct MboxEntry {
  std::string_view separator;  // the whole line with its line end
  std::string_view message;    // as it stands in the box, quoted
  std::string_view gap;        // the empty line behind it; empty only at the end of the box
};

// Reads the entries of a box. The box must outlive the reader and the views.
//
//   MboxReader reader(box);
//   std::string copy(reader.Preamble());
//   while (const auto entry = reader.Next()) {
//     copy.append(Raw(*entry));  // or Replaced(*entry, changed)
//   }
class MboxReader {
 public:
  explicit MboxReader(std::string_view box);

  // What stands in front of the first separator: nothing in a good box, all of it in a text that is
  // no box.
  std::string_view Preamble() const { return box_.substr(0, preambleBytes_); }

  // The next entry, in the order of the box; nothing behind the last one.
  std::optional<MboxEntry> Next();

 private:
  std::string_view box_;
  std::size_t preambleBytes_;
  std::size_t next_;  // where the next separator begins
};

// True when the first line that is not empty is a separator.
bool LooksLikeMbox(std::string_view text);

// True for a line "From SENDER DATE", with or without its line end. The date has weekday, month,
// day, hh:mm and a year of four digits, with a zone before or behind the year, or in the order of a
// message's Date field; the sender may hold blanks or be missing; "remote from HOST" may follow.
// Text that merely begins with "From " has no such end.
bool IsMboxSeparator(std::string_view line);

// The bytes of the entry as they stand in the box.
std::string_view Raw(const MboxEntry& entry);

// One '>' off each line that begins with "From " behind one or more of them.
std::string Unquoted(std::string_view message);
// One '>' on each line that begins with "From " behind any number of them. Takes Unquoted back if
// no line of the text began with a bare "From ".
std::string Quoted(std::string_view message);

// The message of an entry as it was before it came into the box: unquoted. When a line of it begins
// with a bare "From ", the box quotes by another rule, or not at all; the bytes come as they stand
// then, as nobody can tell which '>' was the box's.
std::string MessageOf(const MboxEntry& entry);

// The bytes of the entry with another message in it, quoted the way the entry is. A message without
// a line end at its end is given one when an entry may follow.
// Result: the same bytes as Raw(entry) for a message that came from MessageOf(entry) and was not
// changed; lines that were not changed are the same in any case.
std::string Replaced(const MboxEntry& entry, std::string_view message);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_KIT_MBOX_H
