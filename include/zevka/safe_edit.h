// Safe edits: one call takes the bytes of a message and what is wanted of it, and gives the bytes
// of the changed message, or the very same bytes and the reason why. The library beneath is a set
// of sharp tools; this call keeps these promises with them:
//
//  - Unchanged means byte-identical: what was not changed comes back as it was, not written anew.
//  - Signed or encrypted mail is never modified: S/MIME, OpenPGP (MIME and inline), DKIM, DomainKey
//    and ARC, wherever in the message they stand. Only the guard for the last three can be
//    switched off, by a host that signs afterwards.
//  - No footer comes twice: a field with the footer's digest marks the message, and a footer that
//    stands at the end of the text counts too.
//  - Every result is read again by a checker that shares no code with the library's parser. All
//    parts and fields of the original must be there; if not, the original comes back
//    ("verify-failed").
//
// Needs the host kit (host.h) and, like it, uses only the public interface of the library.
//
// Threads: any number of edits may run at once, also with one packer.
// Errors: results are told by Outcome and reasons. Nothing throws but std::bad_alloc.
#ifndef ZEVKA_SAFE_EDIT_H
#define ZEVKA_SAFE_EDIT_H

#include <zevka/host.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

// Why a message came back as it was. The names that ReasonName gives are stable.
enum class Reason {
  // Guarded: nothing was tried.
  kSmimeSigned,      // "smime-signed": multipart/signed with S/MIME, or a detached signature (.p7s)
  kSmimeOpaque,      // "smime-opaque": signed content inside application/pkcs7-mime
  kSmimeEncrypted,   // "smime-encrypted": enveloped content, also any .p7m that does not tell
  kPgpSigned,        // "pgp-signed": multipart/signed with OpenPGP
  kPgpEncrypted,     // "pgp-encrypted": multipart/encrypted with OpenPGP
  kPgpInline,        // "pgp-inline": an OpenPGP block in a text
  kSignedMultipart,  // "signed-multipart": multipart/signed or /encrypted of another or no protocol
  kDkim,             // "dkim": a DKIM-Signature field
  kDomainKey,        // "domainkey": a DomainKey-Signature field
  kArc,  // "arc": an ARC-Seal, ARC-Message-Signature or ARC-Authentication-Results field
  // Beyond a limit.
  kTooLarge,        // "too-large"
  kLongHeaderLine,  // "long-header-line"
  kTooManyParts,    // "too-many-parts"
  kTooDeep,         // "too-deep": multiparts and messages inside each other
  // Nothing to do.
  kFooterMarked,   // "footer-marked": the marker field has this footer's digest
  kFooterPresent,  // "footer-present": the text ends with this footer
  kAsWanted,       // "as-wanted": everything asked for is there already, or nothing was asked for
  // Not possible.
  kNotAMessage,  // "not-a-message": empty, or the library does not open it
  kNoSuchPart,   // "no-such-part": a part to remove is not there
  kBadWish,      // "bad-wish": a wish that cannot be written: a field's name, a line end in a value
  kRefused,      // "refused": the library did not do what was asked
  kVerifyFailed,  // "verify-failed": the result did not hold what the original held
};

// The stable name of a reason, as in "smime-signed".
std::string_view ReasonName(Reason reason);
// Whether the reason is one of the guard's.
bool IsGuarded(Reason reason);
// Whether the message is as it was asked to be: kFooterMarked, kFooterPresent and kAsWanted.
bool IsAsWanted(Reason reason);

struct ReasonNote {
  Reason reason;
  std::string part;    // number of the part that gave the reason, as in "1.2"; empty: the message
  std::string detail;  // for people; one line of UTF-8, may be empty
};

// A field to set.
struct FieldWish {
  std::string name;   // letters, digits and '-'
  std::string value;  // one line of UTF-8; other than ASCII characters become encoded words
  bool add = false;   // false: replaces the first field of that name, if there is one
};

// What is wanted. Everything is optional; all wishes are fulfilled, or none.
struct Wishes {
  std::string footer;                    // UTF-8, lines ended by LF or CR LF; empty: none
  std::vector<FieldWish> fields;         // set in this order
  std::vector<std::string> removeParts;  // numbers of parts below the message, as in "2" or "1.3"
  std::string subjectSuffix;             // appended to each Subject of the message; ASCII, one line
};

struct EditLimits {
  std::size_t mostBytes = std::size_t{100} * 1024 * 1024;
  std::size_t mostHeaderLineBytes = 4095;  // line end not counted, in every header block
  std::size_t mostParts = 10000;           // embedded messages and their parts included
  std::size_t mostDepth = 100;
};

struct EditOptions {
  EditLimits limits;
  // DKIM, DomainKey and ARC. False for a host that signs the result itself: the old signatures stay
  // in the message and break.
  bool guardTransportSignatures = true;
  std::string markerField = "X-Zevka-Footer";  // letters, digits and '-'
  // SafeEditFile only: removes what interrupted runs left in the file's folder. A host that works
  // through a folder may do so with its first file and spare the others.
  bool removeLeftovers = true;
};

struct EditResult {
  bool changed = false;
  std::string bytes;                // the message to pass on; the original's bytes unless changed
  std::vector<ReasonNote> reasons;  // why it was not changed; at least one then, none when it was
  std::string rejected;  // with kVerifyFailed: the result that was not good enough, for a look
};

// Changes a message as wished, or tells why not.
EditResult SafeEdit(const Packer& packer, std::string_view message, const Wishes& wishes,
                    const EditOptions& options = {});

// What the guard and the limits say of a message, without changing it; empty: it may be changed.
std::vector<ReasonNote> GuardReasons(std::string_view message, const EditOptions& options = {});

// The value of the marker field for a footer: "sha256=" and 64 hexadecimal digits.
std::string FooterDigest(std::string_view footer);

// SafeEdit on a file, in place. The result is written to a new file in the same folder (for a
// message of a Maildir, in its tmp folder), brought to disk, given owner, mode and times of the old
// one as far as that is permitted, and put in its place in one step. Whatever happens on the way,
// the old or the new message is there, whole. What an interrupted run left is removed by the next
// one in that folder.
//   path  a regular file or a link to one; hard links to it keep the old message
// Throws Failure when the file cannot be read or replaced; it is then as it was. result.bytes is
// empty: the message is in the file.
EditResult SafeEditFile(const Packer& packer, const std::string& path, const Wishes& wishes,
                        const EditOptions& options = {});

}  // namespace zevka::host

#endif  // ZEVKA_SAFE_EDIT_H
