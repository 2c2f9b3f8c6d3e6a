#include "mime/message_parser.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "codec/ascii.h"
#include "fileio/file_helpers.h"
#include "mime/boundaries.h"
#include "mime/classification.h"
#include "mime/mime_part.h"
#include "mime/multipart_splitter.h"
#include "mime/transfer_body.h"

namespace zevka {
namespace {

constexpr std::size_t kSourceCopyStep = 1024;  // bytes
constexpr std::size_t kSourceNameLimit = 512;  // characters
constexpr std::string_view kSourceSuffix = ".rfc822";

std::string_view UpToNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

bool IsContinuation(std::string_view line) {
  return !line.empty() && IsBlank(line.front()) && line.find('\0') == std::string_view::npos;
}

// Where the name of a field ends, or npos when the line is no field.
std::size_t NameLength(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) {
    return colon;
  }
  // KEEP(no-blank-in-name): a blank in front of the colon makes the line no field.
  if (line.substr(0, colon).find_first_of(" \t") == std::string_view::npos) {
    return colon;
  }
  // KEEP(from-line-field): the line of an mbox is split at its first colon, wherever that stands.
  const std::size_t text = line.find_first_not_of(" \t");
  return StartsWithNoCase(line.substr(text), "From ") ? colon : std::string_view::npos;
}

// Keeps the embedded message's text beside the part. A copy that cannot be made is done without.
void CopySource(PartState& part) {
  std::string name = part.files.encoded + std::string(kSourceSuffix);
  name.resize(std::min(name.size(), kSourceNameLimit));
  RemoveUnlessKept file(std::move(name));
  OpenFile from(part.files.encoded, "rb");
  OpenFile to(file.Name(), "wb");
  if (!to) {
    static_cast<void>(file.Keep());  // what stands there is somebody else's
    return;
  }
  if (!from) {
    return;
  }
  std::string spare;
  std::string_view step;
  do {
    step = from.Take(kSourceCopyStep, spare);
    if (!to.WriteTaken(from, step)) {
      return;
    }
  } while (step.size() == kSourceCopyStep);
  if (from.Failed() || !to.CloseWritten()) {
    return;
  }
  part.files.sourceCopy = file.Keep();
}

void FinishPart(PartState& part) {
  ForgetCandidates(part.boundaries);
  SettleLineEnd(part.lineEnd);
}

void TakeIn(PartState& part, PartPtr embedded) {
  AppendNode(part.children, std::move(embedded));
  CopySource(part);
  // KEEP(embedded-body-emptied): the child has its own body now; the part keeps an empty one.
  OpenFile emptied(part.files.encoded, "w");
  FinishPart(part);
}

LoadStep ReadPart(MIMEPart& part, const char* path) {
  if (!part.PrepareLoad()) {
    return LoadStep::kFailed;
  }
  return std::make_unique<MessageParser>(part.State(), path)->Load();
}

}  // namespace

bool LoadPart(MIMEPart& part, const char* path) {
  std::vector<PartPtr> embedded;  // each in the one before it, the first one in the part
  MIMEPart* last = &part;
  LoadStep step = ReadPart(part, path);
  while (step == LoadStep::kEmbedded) {
    PartState& outer = last->State();
    embedded.push_back(MakeChildPart(outer));
    last = embedded.back().get();
    step = ReadPart(*last, outer.files.encoded.c_str());
  }
  while (!embedded.empty()) {
    PartPtr inner = std::move(embedded.back());
    embedded.pop_back();
    if (step == LoadStep::kLoaded) {
      TakeIn(embedded.empty() ? part.State() : embedded.back()->State(), std::move(inner));
    }
  }
  return step == LoadStep::kLoaded;
}

MessageParser::MessageParser(PartState& part, const char* path)
    : part_(part), input_(path, "rb"), blocks_(input_), lines_(blocks_, part.lineEnd) {
  if (input_) {
    part_.files.own = path;
    part_.origin = FileHold(input_.Handle());
  }
}

LoadStep MessageParser::Load() {
  if (!IsOpen() || !blocks_.ReadFirst()) {
    return LoadStep::kFailed;
  }
  ReadHeaderBlock();
  if (!part_.name.text) {
    part_.name.text = "body";
  }
  FixBodyStart();
  if (part_.kind.encoding == TransferEncoding::kUnset) {
    part_.kind.encoding = TransferEncoding::kNone;
  }
  NameBodies(part_.files);
  if (!ExtractBody()) {
    return LoadStep::kFailed;
  }
  if (part_.kind.isEmbeddedMessage && !part_.kind.isMultipart) {
    return LoadStep::kEmbedded;
  }
  FinishPart(part_);
  return LoadStep::kLoaded;
}

// KEEP(last-line-is-body): a line without a line end begins no field; a message that stops in such
// a line has it as its body.
void MessageParser::ReadHeaderBlock() {
  lastResult_ = lines_.ReadHeaderLine();
  while (lastResult_ == LineResult::kLine && lines_.InHeaderBlock()) {
    if (!ReadField()) {
      return;
    }
  }
}

// The name and the first line of the value go to `field`; false when the line is no field.
bool MessageParser::RecogniseField(HeaderNode& field) {
  const std::string_view line = UpToNul(lines_.Line());
  const std::size_t length = NameLength(line);
  if (length == std::string_view::npos) {
    return false;
  }
  field.name.assign(line.substr(0, length));
  value_.assign(line.substr(length + 1));
  field.segments.push_back(static_cast<SegmentNode>(value_.size()));
  // A field whose first line is empty is written with a space there.
  if (!value_.empty() && line.size() == lines_.Line().size()) {
    field.source = {static_cast<std::uint64_t>(lines_.LineStart()),
                    static_cast<std::uint64_t>(lines_.LineBehind()), part_.lineEnd.lastStyle};
  }
  return true;
}

// Takes one field, whose first line is the current line. False when the line is no field.
bool MessageParser::ReadField() {
  HeaderNode& field = part_.headers.emplace_back();
  if (!RecogniseField(field)) {
    part_.headers.pop_back();
    return false;
  }
  const std::int64_t fieldStart = lines_.LineStart();
  lastResult_ = lines_.ReadHeaderLine();
  if (lines_.CutDoubledLineEnd()) {
    part_.sizes.Cover(field.name.size(), value_.size());
    pushedBackField_ = fieldStart;
    part_.headers.pop_back();
    return false;
  }
  ReadContinuations(field);
  field.value.assign(value_);
  StoreField(field);
  return true;
}

void MessageParser::ReadContinuations(HeaderNode& field) {
  while (lines_.InHeaderBlock() && lastResult_ != LineResult::kEnd &&
         IsContinuation(lines_.Line())) {
    value_ += lines_.Line();
    field.segments.push_back(static_cast<SegmentNode>(value_.size()));
    const bool goesOn = lastResult_ == LineResult::kLine &&
                        field.source.style == part_.lineEnd.lastStyle &&
                        field.source.end == static_cast<std::uint64_t>(lines_.LineStart());
    field.source.end = goesOn ? static_cast<std::uint64_t>(lines_.LineBehind()) : 0;
    lastResult_ = lines_.ReadHeaderLine();
  }
}

void MessageParser::StoreField(HeaderNode& field) {
  part_.sizes.Cover(field.name.size(), field.value.size());
  ClassifyHeader(part_, field.name, field.value);
  // KEEP(own-field-dropped): the count of wrong characters is the library's own and is made anew.
  if (EqualsNoCase(field.name, "X-NoCharsWrongEncoded")) {
    part_.headers.pop_back();
  }
}

// The body begins with the line that was read last and is no part of the header block. Nothing is
// lost: not the line that ended a header block without a blank line, and not the fields when there
// are none to store.
void MessageParser::FixBodyStart() {
  if (pushedBackField_) {
    part_.bodyStart = *pushedBackField_;
  } else if (part_.headers.empty()) {
    part_.bodyStart = 0;
  } else {
    part_.bodyStart = lines_.LineStart();
  }
  if (part_.headers.size() == 1) {
    ReduceRepeatedRun(part_.lineEnd.established);
  }
}

bool MessageParser::ExtractBody() {
  if (!part_.kind.isMultipart) {
    TransferBody(part_, &input_, true, false);
    input_.Close();
    return true;
  }
  MultipartSplitter splitter(part_, input_);
  return splitter.ExtractPreamble() && (!part_.boundaries.IsChosen() || splitter.SplitChildren());
}

}  // namespace zevka
