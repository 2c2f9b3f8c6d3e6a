// A slow, plain model of writing a message: the text that a tree of parts must become, byte for
// byte, and the tree that this text must be read as. Shares with the library what has models of its
// own: the encoding and folding of a field that the host set.
#ifndef ZEVKA_FUZZ_SUPPORT_TREE_TEXT_H
#define ZEVKA_FUZZ_SUPPORT_TREE_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "fuzz/support/tree.h"

namespace zevka::fuzz {

// The message as it must be written.
//   tree           modified parts need their decoded bodies
//   subjectSuffix  see CommitMessage
// Result: nothing for a tree with a body that the model cannot encode: quoted-printable of a text
// that has other line ends than its message.
std::optional<std::string> TextOf(const Tree& tree, std::string_view subjectSuffix = {});

// The tree that the text of a tree must be read as: folded values are joined, bodies have the line
// ends that were put behind them, what was removed is gone. Nothing is decoded in it.
// Result: nothing where the text may say something else than the tree, by what is meant:
//  - its line ends are not all of one kind, or a part ends its lines otherwise than the message;
//  - it has NULs, a line of a header block has 4095 characters or more, or a field from an mbox is
//    not the first one any more;
//  - a part without fields has a body whose first line may be a field;
//  - a multipart names several boundaries or one that never occurred, has no children, more than
//    1000, or lies too deep, or its delimiter occurs elsewhere in its text;
//  - an embedded message was given a body of its own;
//  - the host set fields that change what the part is, or values with line ends.
std::optional<Tree> ReadBack(const Tree& tree, std::string_view subjectSuffix = {});

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_TREE_TEXT_H
