#include "mime/message_writer.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "codec/ascii.h"
#include "codec/encoded_words.h"
#include "fileio/file_helpers.h"
#include "mime/block_reader.h"
#include "mime/body_encoder.h"
#include "mime/header_folding.h"
#include "mime/mime_part.h"
#include "mime/transfer_body.h"

namespace zevka {
namespace {

constexpr std::size_t kEncodedValueRoom = 2048;  // characters; a longer encoded value is cut
constexpr std::size_t kEmbeddedStep = 1024;      // bytes

bool IsCoded(TransferEncoding encoding) {
  return encoding == TransferEncoding::kQuotedPrintable || encoding == TransferEncoding::kBase64;
}

}  // namespace

bool WritePart(PartState& part, const WriteRequest& request) {
  struct Level {
    std::unique_ptr<MessageWriter> writer;
    const PartNode* node;  // what is being written; null for the part
  };
  std::vector<Level> levels;
  levels.push_back({std::make_unique<MessageWriter>(part, request), nullptr});
  if (!levels.back().writer->Begin()) {
    return false;
  }
  for (;;) {
    const PartNode* const inner = levels.back().writer->NextEmbedded();
    if (inner != nullptr) {
      PartState& state = inner->part->State();
      const WriteRequest own{state.modified, {}, request.passThrough, {}};
      levels.push_back({std::make_unique<MessageWriter>(state, own), inner});
      if (!levels.back().writer->Begin()) {
        return false;
      }
      continue;
    }
    if (!levels.back().writer->End()) {
      return false;
    }
    const PartNode* const written = levels.back().node;
    levels.pop_back();
    if (written == nullptr) {
      return true;
    }
    if (!levels.back().writer->AppendEmbedded(*written)) {
      return false;
    }
  }
}

MessageWriter::MessageWriter(PartState& part, const WriteRequest& request)
    : part_(part), request_(request), nextEmbedded_(part.children.end()) {}

bool MessageWriter::Begin() {
  SettleLineEnd(part_.lineEnd);
  if (part_.removed) {
    return true;
  }
  if (!part_.files.own) {
    return false;
  }
  output_ = OpenFile(*part_.files.own, "wb");
  if (!output_) {
    return false;
  }
  FileExpectBytes(output_.Handle(), part_.origin);
  // Nothing is pending while other files go or come: the budget may be short.
  if (!WriteHeaderBlock() || !WritePending() || !WriteBody() || !WritePending()) {
    return false;
  }
  // Before the children: the text of an embedded message is written to the name of this part's
  // body.
  RemoveFile(part_.files.decoded);
  RemoveFile(part_.files.encoded);
  if (part_.kind.isMultipart) {
    return WriteChildren();
  }
  nextEmbedded_ = part_.children.begin();
  return true;
}

const PartNode* MessageWriter::NextEmbedded() {
  while (nextEmbedded_ != part_.children.end() && nextEmbedded_->part->State().removed) {
    ++nextEmbedded_;
  }
  return nextEmbedded_ == part_.children.end() ? nullptr : &*nextEmbedded_++;
}

// KEEP(removed-part-succeeds): nothing is written, and that is success.
bool MessageWriter::End() {
  return part_.removed || (WritePending() && output_.CloseWritten());
}

// KEEP(own-line-end): also between bodies that end their lines otherwise.
bool MessageWriter::WriteLine(std::string_view first, std::string_view second,
                              std::string_view third) {
  const std::string& lineEnd = part_.lineEnd.established;
  const std::size_t length = first.size() + second.size() + third.size() + lineEnd.size();
  if (pending_.size() + length > kBlockSize && !WritePending()) {
    return false;
  }
  pending_.append(first).append(second).append(third).append(lineEnd);
  return pending_.size() < kBlockSize || WritePending();
}

// The budget counts as if each line was written by itself: writes of up to a block come to the
// same.
bool MessageWriter::WritePending() {
  const bool written = output_.Write(pending_);
  pending_.clear();
  return written;
}

bool MessageWriter::WriteHeaderBlock() {
  const bool asRead = request_.attachmentName.empty() && request_.subjectSuffix.empty();
  HeaderList::const_iterator field = part_.headers.begin();
  while (field != part_.headers.end()) {
    if (asRead && IsUnchanged(*field)) {
      if (!CopyUnchangedFields(field)) {
        return false;
      }
      continue;
    }
    const bool renamed =
        !request_.attachmentName.empty() && EqualsNoCase(field->name, "Content-Disposition");
    if (!(renamed ? RewriteDisposition(*field) : WriteField(*field))) {
      return false;
    }
    ++field;
  }
  if (!request_.attachmentName.empty()) {
    return WriteNewDisposition();
  }
  // KEEP(no-fields-no-blank-line): a part without fields begins with its body.
  return part_.headers.empty() || WriteLine({});
}

// Whether the field would be written just as it stands where the part was read from.
bool MessageWriter::IsUnchanged(const HeaderNode& field) const {
  return field.source.IsKnown() && field.source.end <= part_.origin.length &&
         LineEndBytes(field.source.style) == part_.lineEnd.established;
}

// Copies fields that stand there one behind the other, up to a block in all, and passes over them.
bool MessageWriter::CopyUnchangedFields(HeaderList::const_iterator& field) {
  const std::uint64_t begin = field->source.begin;
  std::uint64_t end = field->source.end;
  for (++field; field != part_.headers.end() && IsUnchanged(*field) && field->source.begin == end &&
                field->source.end - begin <= kBlockSize;
       ++field) {
    end = field->source.end;
  }
  return WritePending() && FileWriteHeld(output_.Handle(), part_.origin, begin, end - begin);
}

bool MessageWriter::WriteField(const HeaderNode& field) {
  const std::string_view name = std::string_view(field.name).substr(0, part_.sizes.nameSize);
  const std::string_view value = std::string_view(field.value).substr(0, part_.sizes.valueSize);
  line_.assign(name).push_back(':');
  AddValueText(name, value, field);
  // KEEP(first-string-is-subject-suffix): what a host takes for an output path ends up here.
  if (!request_.subjectSuffix.empty() && EqualsNoCase(name, "Subject")) {
    line_ += request_.subjectSuffix;
  }
  return WriteLine(line_);
}

void MessageWriter::AddValueText(std::string_view name, std::string_view value,
                                 const HeaderNode& field) {
  if (!field.segments.empty()) {
    if (!AppendRefolded(line_, value, field.segments, part_.lineEnd.established)) {
      line_ += value;
    }
  } else if (EqualsNoCase(name, "Content-Type")) {
    // KEEP(content-type-as-is): a Content-Type that the host set is neither encoded nor folded.
    line_ += value;
  } else {
    line_ += EncodeAndFold(name, value);
  }
}

std::string MessageWriter::EncodeAndFold(std::string_view name, std::string_view value) {
  const LineEndStyle style = part_.lineEnd.firstStyle;
  if (EncodeHeaderText(part_.decoding, value, {}, style) != 0) {
    // KEEP(encoded-value-cut): a longer one loses its end and its "?=".
    std::array<char, kEncodedValueRoom> encoded{};
    if (EncodeHeaderText(part_.decoding, value, encoded, style) != 0) {
      return FoldHeaderValue(name, encoded.data(), part_.lineEnd.established);
    }
  }
  return FoldHeaderValue(name, value, part_.lineEnd.established);
}

// KEEP(disposition-endless): with a new attachment name, the field is written again and again until
// a write fails, and without a file name in it the walk stays here for good.
bool MessageWriter::RewriteDisposition(const HeaderNode& field) {
  const std::string_view value = field.value;
  const std::size_t oldLength = part_.name.text ? part_.name.text->size() : 0;
  const auto offset = static_cast<std::size_t>(std::max(part_.name.offset, 0));
  const std::size_t begin = std::min(offset, value.size());
  const std::size_t end = begin + std::min(oldLength, value.size() - begin);
  const std::string before = field.name + ":" + std::string(value.substr(0, begin));
  for (;;) {
    if (part_.kind.hasFileName) {
      if (!WriteLine(before, request_.attachmentName.substr(0, oldLength), value.substr(end))) {
        return false;
      }
    } else if (output_.Failed()) {
      return false;
    }
  }
}

bool MessageWriter::WriteNewDisposition() {
  return WriteLine("Content-Disposition: attachment;") &&
         WriteLine("\tfilename=\"", request_.attachmentName, "\"") && WriteLine({});
}

bool MessageWriter::WriteBody() {
  return request_.reencode && IsCoded(part_.kind.encoding) ? EncodeBody() : CopyBody();
}

// KEEP(encoded-preamble): a multipart that names an encoding has its preamble encoded anew, also
// when it is empty.
bool MessageWriter::EncodeBody() {
  if (part_.files.encoded.empty()) {
    return false;
  }
  EnsureDecoded(part_);
  OpenFile decoded(part_.files.decoded, "rb");
  if (!decoded) {
    return false;
  }
  if (part_.kind.encoding == TransferEncoding::kBase64) {
    return EncodeBase64Body(output_, decoded, part_.lineEnd);
  }
  return EncodeQuotedPrintableBody(output_, decoded, part_.lineEnd) == 0;
}

bool MessageWriter::CopyBody() {
  const bool fromDecoded = part_.modified && !IsCoded(part_.kind.encoding);
  if (fromDecoded) {
    EnsureDecoded(part_);
  }
  // KEEP(missing-body-left-out): a body whose file is not there is no failure.
  OpenFile body(fromDecoded ? part_.files.decoded : part_.files.encoded, "rb");
  if (!body) {
    return true;
  }
  std::string spare;
  std::string_view last;
  do {
    last = body.Take(kBlockSize, spare);
    if (!output_.WriteTaken(body, last)) {
      return false;
    }
  } while (last.size() == kBlockSize);
  // KEEP(last-read-only): only what the last read gave tells whether a line end is missing; when it
  // gave nothing, none is added.
  const bool unfinished = !last.empty() && !last.ends_with(part_.lineEnd.established);
  return !body.Failed() && (!unfinished || WriteLine({}));
}

bool MessageWriter::WriteChildren() {
  for (const PartNode& child : part_.children) {
    if (!child.part->State().removed && !WriteChild(child)) {
      return false;
    }
  }
  // KEEP(closing-delimiter-always): with an empty line behind it, also for a boundary that never
  // occurred, which is written as no characters.
  return WriteLine("--", part_.boundaries.Text(), "--") && WriteLine({});
}

bool MessageWriter::WriteChild(const PartNode& child) {
  if (child.part->WriteMessage(child.part->State().modified ? 1 : 0, nullptr, request_.passThrough,
                               nullptr) == 0) {
    return false;
  }
  // KEEP(missing-child-left-out): a child's file that cannot be opened takes its delimiter along.
  OpenFile text(child.fileName, "rb");
  if (!text) {
    return true;
  }
  if (!WriteLine("--", part_.boundaries.Text()) || !AppendChildText(text)) {
    return false;
  }
  text.Close();
  RemoveFile(child.fileName);
  return true;
}

bool MessageWriter::AppendText(OpenFile& text, std::size_t step, bool& copied) {
  if (!WritePending()) {
    return false;
  }
  std::string spare;
  std::string_view taken;
  do {
    taken = text.Take(step, spare);
    copied = copied || !taken.empty();
    if (!output_.WriteTaken(text, taken)) {
      return false;
    }
  } while (taken.size() == step);
  return !text.Failed();
}

bool MessageWriter::AppendChildText(OpenFile& text) {
  bool copied = false;
  return AppendText(text, kBlockSize, copied) && (copied || WriteLine({})) && WritePending();
}

bool MessageWriter::AppendEmbedded(const PartNode& child) {
  OpenFile text(child.fileName, "rb");
  if (!text) {
    return false;
  }
  bool copied = false;
  if (!AppendText(text, kEmbeddedStep, copied)) {
    return false;
  }
  text.Close();
  RemoveFile(child.fileName);
  return true;
}

}  // namespace zevka
