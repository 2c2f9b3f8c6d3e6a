// Every file name that a part derives from its own path, and when each file is removed.
//
//   path            the part's own text: the message file, or a child's text while it is loaded
//   path_e, path_d  its body as it stands in the message, and decoded (on first use)
//   path_e.rfc822   a copy of an embedded message's text
//   path_b          the old message while a new one is written (save_message)
//   path_0, path_1  the texts of children (multipart_splitter)
//
// A body file is named here once and never renamed. The names live as long as the part.
#ifndef ZEVKA_MIME_BODY_FILES_H
#define ZEVKA_MIME_BODY_FILES_H

#include <optional>
#include <string>

namespace zevka {

// KEEP(part-files-take-their-names): a disk file that has one of these names is overwritten and
// removed.
struct BodyFiles {
  std::optional<std::string> own;         // the part's own path; none before loading
  std::string encoded;                    // path_e; empty until the body was extracted
  std::string decoded;                    // path_d; empty until the body was extracted
  std::optional<std::string> sourceCopy;  // path_e.rfc822, for an embedded message only
  bool pieceOnDisk = false;  // a commit of one failed: a piece may lie under its memory file
};

// Names the two body files after files.own, which must be set.
void NameBodies(BodyFiles& files);

// Removes what a part leaves behind when it ends: both bodies and the source copy, its own file
// only when that is a footer's, and a file that has the pending footer text for a name.
//   footerText  the footer that was not applied, or none
void RemoveAtEnd(const BodyFiles& files, const std::optional<std::string>& footerText);

// Removes the part's own file and both bodies, whether they exist or not. Nothing without an own
// path.
void RemoveOwnAndBodies(const BodyFiles& files);

}  // namespace zevka

#endif  // ZEVKA_MIME_BODY_FILES_H
