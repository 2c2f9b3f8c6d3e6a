#include "fuzz/support/tree.h"

#include <algorithm>
#include <utility>

#include "codec/ascii.h"

namespace zevka::fuzz {
namespace {

std::vector<Field> FieldsOf(const PartState& state) {
  std::vector<Field> fields;
  for (const HeaderNode& node : state.headers) {
    fields.push_back({node.name, node.value, {node.segments.begin(), node.segments.end()}});
  }
  return fields;
}

void TakeKind(const PartState& state, Tree& tree) {
  tree.encoding = state.kind.encoding;
  tree.isMultipart = state.kind.isMultipart;
  tree.isEmbeddedMessage = state.kind.isEmbeddedMessage;
  tree.isSignedByDomain = state.signatures.domain;
  tree.isSignedByProtocol = state.signatures.protocol;
  tree.displayName = state.name.text.value_or("");
  tree.displayCharset = state.name.charset;
  if (state.boundaries.IsChosen()) {
    tree.delimiter = state.boundaries.chosen;
  }
  tree.lineEnd = state.lineEnd.established;
  tree.firstStyle = state.lineEnd.firstStyle;
  tree.isModified = state.modified;
  tree.isRemoved = state.removed;
}

std::string FieldDifference(const Tree& left, const Tree& right) {
  for (std::size_t i = 0; i < std::min(left.fields.size(), right.fields.size()); ++i) {
    if (left.fields[i].name != right.fields[i].name) {
      return "name of field " + std::to_string(i);
    }
    if (left.fields[i].value != right.fields[i].value) {
      return "value of field " + std::to_string(i);
    }
    if (left.fields[i].lineEnds != right.fields[i].lineEnds) {
      return "folding of field " + std::to_string(i);
    }
  }
  return left.fields.size() == right.fields.size() ? "" : "number of fields";
}

std::string KindDifference(const Tree& left, const Tree& right) {
  const std::pair<bool, const char*> looks[] = {
      {left.encoding == right.encoding, "encoding"},
      {left.isMultipart == right.isMultipart, "is a multipart"},
      {left.isEmbeddedMessage == right.isEmbeddedMessage, "is an embedded message"},
      {left.isSignedByDomain == right.isSignedByDomain, "signed by a domain"},
      {left.isSignedByProtocol == right.isSignedByProtocol, "signed by its protocol"},
      {left.displayName == right.displayName, "display name"},
      {left.displayCharset == right.displayCharset, "charset of the name"},
      {left.delimiter == right.delimiter, "delimiter"},
      {left.lineEnd == right.lineEnd, "line end"},
      {left.firstStyle == right.firstStyle, "first line end"},
      {left.isModified == right.isModified, "modified"},
      {left.isRemoved == right.isRemoved, "removed"},
      {left.encoded == right.encoded, "encoded body"},
      {left.decoded == right.decoded, "decoded body"},
  };
  for (const auto& [same, what] : looks) {
    if (!same) {
      return what;
    }
  }
  return "";
}

}  // namespace

std::string BodyOf(MIMEPart& part,
                   std::uint64_t (MIMEPart::*read)(void*, std::uint64_t, std::int64_t)) {
  std::string body((part.*read)(nullptr, 0, 0), '\0');
  const std::uint64_t count = body.empty() ? 0 : (part.*read)(body.data(), body.size(), 0);
  body.resize(count);
  return body;
}

Tree TreeOf(MIMEPart& part, Decode decode) {
  const PartState& state = part.State();
  Tree tree;
  const bool wanted = decode == Decode::kAll || (decode == Decode::kModified && state.modified);
  if (wanted && !state.removed) {
    tree.decoded = BodyOf(part, &MIMEPart::ReadDecodedBody);
  }
  if (!state.removed) {
    tree.encoded = BodyOf(part, &MIMEPart::ReadEncodedBody);
  }
  tree.fields = FieldsOf(state);
  TakeKind(state, tree);
  for (const PartNode& child : state.children) {
    tree.children.push_back(TreeOf(*child.part, decode));
  }
  return tree;
}

void ForgetFirstStyles(Tree& tree) {
  tree.firstStyle = LineEndStyle::kUnknown;
  for (Tree& child : tree.children) {
    ForgetFirstStyles(child);
  }
}

const Field* FindField(const Tree& tree, std::string_view name) {
  const auto found = std::find_if(tree.fields.begin(), tree.fields.end(), [&](const Field& field) {
    return EqualsNoCase(field.name, name);
  });
  return found == tree.fields.end() ? nullptr : &*found;
}

std::string Difference(const Tree& left, const Tree& right) {
  std::string difference = FieldDifference(left, right);
  if (difference.empty()) {
    difference = KindDifference(left, right);
  }
  if (difference.empty() && left.children.size() != right.children.size()) {
    difference = "number of children";
  }
  for (std::size_t i = 0; difference.empty() && i < left.children.size(); ++i) {
    difference = Difference(left.children[i], right.children[i]);
    if (!difference.empty()) {
      difference = std::to_string(i) + "." + difference;
    }
  }
  return difference;
}

}  // namespace zevka::fuzz
