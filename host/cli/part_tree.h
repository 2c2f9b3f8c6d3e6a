// The parts of a message as plain data, with those of the messages embedded in it, and the way from
// a part's number to the part.
//
// Numbers are those of mail protocols: the parts of a multipart message are 1, 2 ...; a message
// with a single body has it as 1; parts of part 2 are 2.1, 2.2 ..., whether part 2 is a multipart
// or an embedded message. A message that is a multipart has no number of its own.
//
// Errors: Failure when an embedded message cannot be read.
// Threads: as the kit's messages.
//
// Sources: RFC 9051 6.4.5 (numbers).
#ifndef ZEVKA_HOST_CLI_PART_TREE_H
#define ZEVKA_HOST_CLI_PART_TREE_H

#include <zevka/host.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {

enum class PartKind { kLeaf, kMultipart, kEmbedded };

struct TreePart {
  std::string number;  // empty for a message that is a multipart
  PartKind kind = PartKind::kLeaf;
  std::string mediaType;
  std::string name;  // may hold any bytes
  std::string encoding;
  // Of a multipart 0; of an embedded message both are the length of its text.
  std::uint64_t encodedBytes = 0;
  std::uint64_t decodedBytes = 0;
  bool isCut = false;  // an embedded message that was not looked into, as it is too deep
  // Of a multipart its parts; of an embedded message one, the message's root, if it is not empty.
  std::vector<TreePart> parts;
};

TreePart ReadTree(const Packer& packer, const Message& message);

// The number of a child, from its parent's (empty for the message itself) and its place from 0 on.
std::string ChildNumber(const std::string& parent, std::size_t index);

// Digits, with dots between them, as in "1.2"; no zeros in front.
bool IsPartNumber(std::string_view number);

// Calls `use` with the part of that number, while its message is open. Result: false when there is
// none.
bool WithPart(const Packer& packer, const Message& message, std::string_view number,
              const std::function<void(const Part&)>& use);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_PART_TREE_H
