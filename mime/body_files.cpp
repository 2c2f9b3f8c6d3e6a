#include "mime/body_files.h"

#include <string_view>

#include "fileio/file_helpers.h"

namespace zevka {
namespace {

constexpr std::string_view kFooterSuffix = "_footer";
constexpr std::size_t kLongestNameKept =
    8;  // characters; a path this short is never taken for a footer's

bool IsFooterFile(const std::string& name) {
  return name.size() > kLongestNameKept && name.ends_with(kFooterSuffix);
}

void RemoveBodies(const BodyFiles& files) {
  if (!files.encoded.empty()) {
    RemoveFile(files.encoded);
    RemoveFile(files.decoded);
  }
  if (files.sourceCopy) {
    RemoveFile(*files.sourceCopy);
  }
}

}  // namespace

void NameBodies(BodyFiles& files) {
  files.encoded.reserve(files.own->size() + 2);
  files.encoded.append(*files.own).append("_e");
  files.decoded.reserve(files.own->size() + 2);
  files.decoded.append(*files.own).append("_d");
}

void RemoveAtEnd(const BodyFiles& files, const std::optional<std::string>& footerText) {
  // KEEP(footer-file-by-name): a part's own file goes only when its name says that it is a
  // footer's. A host's message whose path ends that way goes too; every other message file is the
  // host's to remove.
  if (files.own && IsFooterFile(*files.own)) {
    RemoveFile(*files.own);
  }
  RemoveBodies(files);
  if (files.pieceOnDisk) {
    RemoveBodies(files);
  }
  // KEEP(footer-text-removed): the pending footer text is removed as if it named a file. Such a
  // file hardly ever exists; where a host made one, it counts on its going.
  if (footerText) {
    RemoveFile(*footerText);
  }
}

void RemoveOwnAndBodies(const BodyFiles& files) {
  if (!files.own) {
    return;
  }
  RemoveFile(*files.own);
  if (!files.encoded.empty()) {
    RemoveFile(files.decoded);
    RemoveFile(files.encoded);
  }
}

}  // namespace zevka
