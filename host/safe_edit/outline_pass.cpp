#include "host/safe_edit/outline_pass.h"

namespace zevka::host {

namespace {

constexpr std::string_view kDashes = "--";

}  // namespace

std::optional<OpenBoundaries::Match> OpenBoundaries::Find(std::string_view line) const {
  if (!line.starts_with(kDashes)) {
    return std::nullopt;
  }
  line = line.substr(kDashes.size(), line.find_last_not_of(" \t") + 1 - kDashes.size());
  std::optional<Match> match;
  if (const std::optional<std::size_t> level = Innermost(line)) {
    match = {*level, false};
  }
  if (line.ends_with(kDashes)) {
    line.remove_suffix(kDashes.size());
    const std::optional<std::size_t> level = Innermost(line);
    if (level && (!match || *level > match->level)) {
      match = {*level, true};
    }
  }
  return match;
}

std::optional<std::size_t> OpenBoundaries::Innermost(std::string_view boundary) const {
  if (boundary.empty() || boundary.size() > longestBytes_) {
    return std::nullopt;
  }
  const auto found = levels_.find(boundary);
  return found == levels_.end() ? std::nullopt : std::optional(found->second.back());
}

void OutlinePass::Read(OutlinePart* message) {
  levels_.push_back({.part = message});
  Lines lines(text_);
  Line line;
  std::size_t end = text_.size();
  while (!NothingMatters() && lines.Next(&line)) {
    Take(line);
    if (budget_->exceeded != OutlineLimit::kNone) {
      end = line.begin;
      break;
    }
    lineEndBegin_ = line.end;
  }
  CloseDownTo(0, end);
}

// A line that ends a header block may be a delimiter that the block just made known, or belong to
// the header block of an embedded message.
void OutlinePass::Take(const Line& line) {
  while (!TakeDelimiter(line) && levels_.back().inHeader && !TakeHeaderLine(line)) {
  }
}

bool OutlinePass::TakeDelimiter(const Line& line) {
  const auto match = boundaries_.Find(Slice(line.begin, line.end));
  if (!match) {
    return false;
  }
  CloseDownTo(match->level + 1, lineEndBegin_);
  Level& level = levels_.back();
  OutlinePart& part = *level.part;
  const bool isFirst = part.kind != OutlineKind::kMultipart;
  if (match->isClosing) {
    if (!isFirst) {
      part.isClosed = true;
      level.epilogueBegin = line.next;
      level.isAwaited = false;
      boundaries_.Close(part.boundary);
    }
    return true;
  }
  if (isFirst) {
    part.kind = OutlineKind::kMultipart;
    part.preamble = Slice(level.headerEnd, std::max(level.headerEnd, lineEndBegin_));
  }
  Push(line.next, part.mediaType == "multipart/digest" ? "message/rfc822" : "text/plain");
  return true;
}

// False when the line is no part of the header block.
bool OutlinePass::TakeHeaderLine(const Line& line) {
  const std::string_view content = Slice(line.begin, line.end);
  Level& level = levels_.back();
  OutlinePart& part = *level.part;
  const bool isFirst = part.fields.empty();
  if (content.empty()) {
    const bool isAtHead = levels_.size() == 1 && isFirst && part.brokenLines.empty();
    if (way_ == OutlineWay::kUsual || !isAtHead) {
      EndHeader(line.next);
    }
    return true;
  }
  if (content.front() == ' ' || content.front() == '\t') {
    Continue(line);
    return true;
  }
  if (const FieldHead head = HeadOf(content); head.nameBytes > 0) {
    TakeField(line, head);
    return true;
  }
  level.inField = false;
  const bool isFirstBroken = part.brokenLines.empty();
  if (isFirstBroken) {
    part.brokenLines = Slice(line.begin, line.next);
  }
  const bool isMailboxLine = content.starts_with("From ") || content.starts_with(">From ");
  if (way_ == OutlineWay::kOther || (isFirst && isFirstBroken && isMailboxLine)) {
    return true;
  }
  EndHeader(line.begin);
  return false;
}

void OutlinePass::TakeField(const Line& line, const FieldHead& head) {
  levels_.back().inField = true;
  levels_.back().part->fields.push_back({
      .whole = Slice(line.begin, line.next),
      .name = text_.substr(line.begin, head.nameBytes),
      .value = Slice(line.begin + head.valueBegin, line.end),
  });
}

void OutlinePass::Continue(const Line& line) {
  OutlinePart& part = *levels_.back().part;
  if (levels_.back().inField) {
    OutlineField& field = part.fields.back();
    const auto offset = [this](std::string_view piece) {
      return static_cast<std::size_t>(piece.data() - text_.data());
    };
    field.whole = Slice(offset(field.whole), line.next);
    field.value = Slice(offset(field.value), line.end);
  } else if (part.brokenLines.empty()) {
    part.brokenLines = Slice(line.begin, line.next);
  }
}

void OutlinePass::EndHeader(std::size_t end) {
  Level& level = levels_.back();
  OutlinePart& part = *level.part;
  level.inHeader = false;
  level.headerEnd = end;
  SettleType(&part, level.defaultType, way_);
  if (!part.boundary.empty()) {
    boundaries_.Open(part.boundary, levels_.size() - 1);
    level.isAwaited = true;
  } else if (HoldsMessage(part)) {
    part.kind = OutlineKind::kEmbedded;
    if (ReadsInside(level)) {
      Push(end, "text/plain");
    }
  }
}

// Whether the embedded message is to be read as it stands. Base64 is also claimed by mistake, for a
// message that is not encoded: one begins with a field then.
bool OutlinePass::ReadsInside(const Level& level) const {
  if (way_ == OutlineWay::kOther || !IsTransferEncoded(*level.part)) {
    return true;
  }
  const std::size_t begin = text_.find_first_not_of("\r\n", level.headerEnd);
  if (level.part->encoding != "base64" || begin == std::string_view::npos) {
    return false;
  }
  const std::size_t end = std::min(text_.find_first_of("\r\n", begin), text_.size());
  return HeadOf(Slice(begin, end)).nameBytes > 0;
}

void OutlinePass::Push(std::size_t begin, std::string_view defaultType) {
  if (budget_->parts >= budget_->limits.mostParts) {
    budget_->exceeded = OutlineLimit::kParts;
    return;
  }
  if (depth_ + levels_.size() > budget_->limits.mostDepth) {
    budget_->exceeded = OutlineLimit::kDepth;
    return;
  }
  ++budget_->parts;
  OutlinePart& child = levels_.back().part->children.emplace_back();
  levels_.push_back({.part = &child, .begin = begin, .defaultType = defaultType});
}

void OutlinePass::CloseDownTo(std::size_t size, std::size_t end) {
  while (levels_.size() > size) {
    CloseTop(end);
  }
}

// The part on top ends there, or, when it has not even begun there, where it begins.
void OutlinePass::CloseTop(std::size_t end) {
  Level& level = levels_.back();
  OutlinePart& part = *level.part;
  end = std::max(end, level.begin);
  if (level.inHeader) {
    level.headerEnd = end;
    SettleType(&part, level.defaultType, way_);
  }
  level.headerEnd = std::min(level.headerEnd, end);
  part.whole = Slice(level.begin, end);
  part.header = Slice(level.begin, level.headerEnd);
  part.body = Slice(level.headerEnd, end);
  if (!part.fields.empty()) {
    std::string_view& last = part.fields.back().whole;
    const auto lastBegin = static_cast<std::size_t>(last.data() - text_.data());
    last = Slice(lastBegin, std::min(lastBegin + last.size(), end));
  }
  if (part.isClosed) {
    part.epilogue = Slice(std::min(level.epilogueBegin, end), end);
  }
  if (level.isAwaited) {
    boundaries_.Close(part.boundary);
  }
  const bool isEmptyMessage =
      part.children.empty() ? part.body.empty() : part.children.front().whole.empty();
  if (part.kind == OutlineKind::kEmbedded && isEmptyMessage) {
    part.kind = OutlineKind::kLeaf;
    part.children.clear();
  }
  levels_.pop_back();
}

}  // namespace zevka::host
