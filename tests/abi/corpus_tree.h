// A message as a host reads it, copied out of the library part by part, so that two readings can be
// held against each other after the messages are gone.
//
// An embedded message is no child for the host; its text is opened again from the source copy that
// the library keeps, as a message of its own.
#ifndef ZEVKA_TESTS_ABI_CORPUS_TREE_H
#define ZEVKA_TESTS_ABI_CORPUS_TREE_H

#include <string>
#include <utility>
#include <vector>

#include "tests/abi/host.h"

namespace zevka::test {

using Field = std::pair<std::string, std::string>;

struct Node {
  std::vector<Field> fields;   // before any body was decoded
  std::vector<Field> markers;  // fields that decoding the body added
  std::string firstLineEnd;    // the answer to NextHeader(nullptr, buffer)
  std::string name;            // display name
  bool multipart = false;      // RewindChildren says so
  std::string encoded;         // body as it stands in the message
  std::string decoded;         // body decoded
  std::vector<Node> children;  // of a multipart
  bool hasSourceCopy = false;  // the part holds an embedded message
  std::string sourceCopy;      // its text
  std::vector<Node> embedded;  // its tree: one node, or none when the text does not open
};

// Reads everything of an open message or part.
Node ReadTree(const Host& host, PartObject* part);

// Reads all fields and names in wide form and gives a line for each that is not what the narrow
// form says; empty when all agree.
std::string WideDifferences(PartObject* part);

// Has every body of the tree written to disk and gives a line for each body file whose bytes are
// not those of the node.
std::string BodyFileDifferences(PartObject* part, const Node& node);

// Every name that the library may use beside that of the message while it is open or is finished.
std::vector<std::string> DerivedNames(const Node& node, const std::string& fileName);

// All field texts and bodies of the node and of what is below it.
std::string Haystack(const Node& node);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_CORPUS_TREE_H
